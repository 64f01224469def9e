// What a text file of a board has gained since a scenario began.
#pragma once

#include "host/followed_file.hpp"

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>

namespace dravik::sim::scenario {

class followed_text {
public:
  followed_text(std::string board, std::string inside);

  /// Read what is new.
  void look();

  /// Find a text after the one that was found last, and remember its end.
  bool find_next(std::string_view text);
  /// Whether a text is after the one that was found last.
  bool has(std::string_view text) const { return text_.find(text, found_end_) != std::string::npos; }
  /// The place at which the next text begins, and whether a text has come after such a place.
  uint64_t end() const noexcept { return dropped_ + text_.size(); }
  bool has_since(uint64_t place, std::string_view text) const {
    return text_.find(text, static_cast<size_t>(place - std::min(place, dropped_))) != std::string::npos;
  }
  bool has_ever(std::string_view text) const { return text_.find(text) != std::string::npos; }

  /// The last line that is not blank.
  std::string last_line() const;
  /// The line with a text: the first one after the text that was found last, or the first one of all.
  std::string line_with(std::string_view text, bool is_of_all) const;

private:
  static constexpr size_t most_bytes = 16 << 20; ///< to be kept
  static constexpr size_t block_bytes = 1 << 16;

  followed_file file_;
  std::string text_;
  uint64_t dropped_ = 0; ///< bytes before the text
  size_t found_end_ = 0;
};

} // namespace dravik::sim::scenario
