// Recording of a board's sound: sound/played.wav, 48 kHz, 16 bits, stereo.
#pragma once

#include "base/unique_fd.hpp"

#include <cstddef>
#include <cstdint>
#include <span>

namespace dravik::sim {

constexpr uint32_t recorded_rate_hz = 48000;

/// Channels per frame and frames per second.
struct sound_format {
  uint32_t rate_hz = recorded_rate_hz;
  uint32_t channels = 2;
};

/// Appends to the file, which is valid after each addition.
class recording {
public:
  /// Lock the file. Return 0 or a negative error number.
  int open() noexcept;

  void set_format(const sound_format &format) noexcept { format_ = format; }

  /// Add complete frames, each sample multiplied by `gain`. Mono is recorded on both sides. At
  /// another rate each frame is repeated.
  void add(std::span<const int16_t> samples, double gain) noexcept;

  /// Add silence up to a time, in nanoseconds from the start of the recording.
  void add_silence_until(int64_t time_ns) noexcept;

  /// Note the time at which the next frame is played, in nanoseconds of the monotonic clock.
  void note_start(int64_t time_ns) const noexcept;

private:
  struct frame {
    int16_t left, right;
  };
  uint64_t end_of_written() const noexcept { return written_ * recorded_rate_hz / format_.rate_hz; }
  void append(std::span<const frame> frames) noexcept;
  void write_header() noexcept;

  unique_fd file_;
  sound_format format_;
  uint64_t written_ = 0; ///< frames since the open
  uint64_t length_ = 0;  ///< frames in the file
};

} // namespace dravik::sim
