// The sound card: a buffer that is played in real time.
//
// Frames are counted from the last prepare on: `written_` by the application, `played_`, and
// `recorded_` in the file. Results are counts or negative error numbers, as in the kernel.
#pragma once

#include "base/unique_fd.hpp"
#include "board/board_table.hpp"
#include "sound/recording.hpp"
#include "sound/sound_settings.hpp"

#include <cstddef>
#include <cstdint>

namespace dravik::sim {

constexpr size_t longest_buffer_samples = 32768;

class sound_card {
public:
  int open() noexcept;
  /// Record the numbers of played and dropped frames.
  void close() noexcept;

  const sound_settings &settings() const noexcept { return settings_; }
  /// Readable at the end of each period.
  int period_timer() const noexcept { return timer_.get(); }
  /// Reset it until the next period.
  void read_period_timer() const noexcept;

  int configure(const sound_format &format, uint64_t period_frames, uint64_t buffer_frames) noexcept;
  int prepare() noexcept;
  void start() noexcept;
  /// Drop the frames that were not played yet.
  void stop() noexcept;

  /// Add frames to the buffer. They must fit: the application keeps to position().
  int64_t write(const int16_t *samples, size_t frames) noexcept;

  /// Return the number of frames played, -EPIPE after an underrun. While
  /// `draining`, the buffer may run empty.
  int64_t position(bool draining) noexcept;

private:
  void set_timer(int64_t first_ns, int64_t period_ns) noexcept;
  uint64_t due_frames() const noexcept;
  void end_by_underrun() noexcept;
  void store(const int16_t *samples, size_t frames) noexcept;
  void record_played() noexcept;
  int ordered(request_name request) const noexcept;

  sound_settings settings_;
  unique_fd timer_;
  recording recording_;
  sound_format format_;
  uint64_t period_frames_ = 0;
  uint64_t buffer_frames_ = 0; ///< 0 until the card is configured
  bool running_ = false;
  bool starved_ = false; ///< injected
  int64_t start_ns_ = 0;
  uint64_t written_ = 0;
  uint64_t played_ = 0;
  uint64_t recorded_ = 0;
  uint64_t all_played_ = 0; ///< since the open
  uint64_t all_dropped_ = 0;
  int16_t buffer_[longest_buffer_samples];
};

} // namespace dravik::sim
