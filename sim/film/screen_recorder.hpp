// The frames that a board's screen shows, with their times.
#pragma once

#include "base/unique_fd.hpp"
#include "base/unique_file.hpp"
#include "host/frame_history.hpp"

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>

namespace dravik::sim {

/// Looks at the screen on a thread of its own, and stores what changes in a file.
class screen_recorder {
public:
  using clock = std::chrono::steady_clock;

  explicit screen_recorder(std::string board) : board_(std::move(board)) {}
  ~screen_recorder() { stop(); }
  screen_recorder(const screen_recorder &) = delete;
  screen_recorder &operator=(const screen_recorder &) = delete;

  /// Begin with what the screen shows now; changes are stored on the file system of a directory. Return false and
  /// set `error` on failure.
  [[nodiscard]] bool start(const std::string &directory, std::string &error);
  void stop();

  /// Why the recording ended before stop(); empty if it did not.
  const std::string &error() const noexcept { return error_; }
  clock::time_point begin() const noexcept { return begin_; }

  // After stop():
  /// The first frame is next again.
  void rewind();
  /// Change `shown` to what the screen showed at a time, which must not be before that of the call before.
  [[nodiscard]] bool show(clock::time_point time, screen_image &shown);

private:
  struct change {
    int64_t time_ns; ///< after the begin
    uint32_t areas;
  };

  void work();
  bool look();
  bool store(clock::time_point time);
  bool store_area(const frame_history::area &part);
  bool read_area(screen_image &shown);
  bool read_change();

  std::string board_;
  std::string error_;
  unique_file file_;
  screen_image fresh_;
  frame_history frames_;
  uint32_t width_ = 0, height_ = 0, bytes_per_pixel_ = 0;
  clock::time_point begin_;
  clock::time_point last_look_;

  bool has_next_ = false;
  change next_ = {};

  std::mutex mutex_;
  std::condition_variable stopping_;
  bool is_stopping_ = false;
  std::thread thread_;
};

} // namespace dravik::sim
