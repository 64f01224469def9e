// The recording of a board's sound: sound/played.wav, 48 kHz, 16 bits, two channels.
#pragma once

#include "base/unique_fd.hpp"

#include <cstddef>
#include <cstdint>
#include <span>

namespace dravik::sim {

constexpr uint32_t recorded_rate_hz = 48000;

/// Frames of one or two samples, so many a second.
struct sound_format {
  uint32_t rate_hz = recorded_rate_hz;
  uint32_t channels = 2;
};

/// Each one goes on at the end of the file. The file is whole after each addition.
class recording {
public:
  /// Takes the file for this one alone; gives 0 or a negative error number.
  int open() noexcept;

  void set_format(const sound_format &format) noexcept { format_ = format; }

  /// Adds whole frames, each sample as loud as `gain` says. A single channel comes to both sides. At another
  /// rate each frame is held for as long as it lasts.
  void add(std::span<const int16_t> samples, double gain) noexcept;

  /// Adds silence up to a time, in nanoseconds from the recording's begin.
  void add_silence_until(int64_t time_ns) noexcept;

private:
  struct frame {
    int16_t left, right;
  };
  uint64_t end_of_taken() const noexcept { return taken_ * recorded_rate_hz / format_.rate_hz; }
  void append(std::span<const frame> frames) noexcept;
  void write_header() noexcept;

  unique_fd file_;
  sound_format format_;
  uint64_t taken_ = 0;  ///< frames since the open
  uint64_t length_ = 0; ///< frames in the file
};

} // namespace dravik::sim
