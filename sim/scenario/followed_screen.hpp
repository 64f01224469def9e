// The screen of a board: whether it changes, and whether it is as pictures show it.
#pragma once

#include "scenario/screen_picture.hpp"

#include <chrono>
#include <string>

namespace dravik::sim::scenario {

class followed_screen {
public:
  using clock = std::chrono::steady_clock;

  /// Expected pictures are in `directory`; shots and differences are saved in `output`, below that of the
  /// scenario or anywhere else.
  followed_screen(std::string board, std::string directory, std::string output)
      : board_(std::move(board)), directory_(std::move(directory)), output_(std::move(output)) {}

  /// Return false and set error() on failure.
  bool look();
  const std::string &error() const noexcept { return error_; }

  /// From now on, a change is one from what the screen shows now.
  void begin();
  bool has_changed(const std::optional<rectangle> &part) const { return !is_same(shown_, reference_, part); }

  void begin_stillness() { still_ = {}; }
  /// Whether the last looks, for a time, have shown the same.
  bool is_still_for(std::chrono::milliseconds time, const std::optional<rectangle> &part);

  enum class verdict : uint8_t { same, different, missing, incomparable };
  /// Select the picture of the next compare(). Return false and set error() if it exists, but cannot be read.
  [[nodiscard]] bool expect(const expected_picture &picture);
  verdict compare();
  /// Why the last compare() was not `same`. Saves what the screen shows, and the difference.
  std::string explain();

  // Return false and set error() on failure.
  /// Replace the expected picture by what the screen shows.
  [[nodiscard]] bool renew();
  /// Of the expected picture.
  std::string path() const { return directory_ + "/" + wanted_.file; }
  [[nodiscard]] bool save_shot(const std::string &file);

private:
  bool is_of_screen() const { return expected_.width == shown_.width && expected_.height == shown_.height; }
  png::picture shown_part() const;
  png::picture expected_part() const;
  bool save(const png::picture &picture, const std::string &path);
  std::string explain_difference();

  std::string board_;
  std::string directory_;
  std::string output_;
  std::string error_;
  screen_image shown_;
  screen_image reference_;
  screen_image still_;
  clock::time_point still_since_;

  expected_picture wanted_;
  png::picture expected_; ///< without pixels if it does not exist
  verdict verdict_ = verdict::missing;
};

} // namespace dravik::sim::scenario
