// The arguments of a step, taken from the left.
#pragma once

#include "scenario/steps.hpp"
#include "scenario/tokens.hpp"

#include <span>

namespace dravik::sim::scenario {

/// Each function takes arguments only if they are as required, otherwise it sets the error and returns false.
class arguments {
public:
  arguments(std::span<const token> tokens, size_t end_column, problem &error)
      : tokens_(tokens), end_column_(end_column), error_(error) {}

  bool is_at_end() const noexcept { return tokens_.empty(); }
  bool is_text_next() const noexcept { return !tokens_.empty() && tokens_.front().is_quoted; }
  /// The next argument; empty at the end.
  std::string_view next_word() const noexcept {
    return tokens_.empty() ? std::string_view{} : tokens_.front().text;
  }
  /// Take a word if it is the next argument; no error if it is not.
  bool accept(std::string_view word);

  bool take_word(const char *what, std::string &word);
  /// In quotes, not empty.
  bool take_text(const char *what, std::string &text);
  bool take_time(milliseconds &time);
  bool take_level(double &decibels);
  bool take_number(const char *what, uint32_t least, uint32_t most, uint32_t &number);
  bool take_picture(std::string &file);
  /// Of a file of the board.
  bool take_path(std::string &path);
  bool take_size(uint64_t &bytes);
  /// "in X,Y WIDTHxHEIGHT" if there is one.
  bool take_part(std::optional<rectangle> &part);
  bool take_end();

  /// Report an error at the argument that was taken last, or at the next one.
  bool reject_last(std::string text) { return fail(last_column_, std::move(text)); }
  bool reject_next(const std::string &required);

private:
  bool fail(size_t column, std::string text);
  const token *next(const char *what, bool is_quoted);
  void pass();

  std::span<const token> tokens_;
  size_t end_column_;
  size_t last_column_ = 1;
  problem &error_;
};

} // namespace dravik::sim::scenario
