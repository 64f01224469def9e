// The card behind the plugin: a buffer that is heard at the pace of a clock.
//
// Frames are counted from the last prepare on: those `taken_` from the application, those `heard_` of them,
// those `kept_` in the recording. Results are as in the kernel: a count, or a negative error number.
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
  /// Tells what was heard and what was dropped.
  void close() noexcept;

  const sound_settings &settings() const noexcept { return settings_; }
  /// Becomes readable at the end of each period.
  int period_timer() const noexcept { return timer_.get(); }
  /// Makes it wait for the next period.
  void read_period_timer() const noexcept;

  int configure(const sound_format &format, uint64_t period_frames, uint64_t buffer_frames) noexcept;
  int prepare() noexcept;
  void start() noexcept;
  /// Drops what has not been heard yet.
  void stop() noexcept;

  /// Takes frames into the buffer. There is room for them: the application keeps to position().
  int64_t take(const int16_t *samples, size_t frames) noexcept;

  /// How many frames have been heard; -EPIPE after an underrun. While the
  /// card is `draining`, it may run out of frames.
  int64_t position(bool draining) noexcept;

private:
  void set_timer(int64_t first_ns, int64_t period_ns) noexcept;
  uint64_t due_frames() const noexcept;
  void end_by_underrun() noexcept;
  void store(const int16_t *samples, size_t frames) noexcept;
  void keep_heard() noexcept;
  int ordered(request_name request) const noexcept;

  sound_settings settings_;
  unique_fd timer_;
  recording recording_;
  sound_format format_;
  uint64_t period_frames_ = 0;
  uint64_t buffer_frames_ = 0; ///< 0 until the card is configured
  bool running_ = false;
  bool starved_ = false; ///< by order
  int64_t start_ns_ = 0;
  uint64_t taken_ = 0;
  uint64_t heard_ = 0;
  uint64_t kept_ = 0;
  uint64_t all_heard_ = 0; ///< since the open
  uint64_t all_dropped_ = 0;
  int16_t buffer_[longest_buffer_samples];
};

} // namespace dravik::sim
