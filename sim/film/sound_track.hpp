// What the speaker of a board played, as the sound track of a film.
#pragma once

#include "base/unique_fd.hpp"
#include "host/followed_file.hpp"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace dravik::sim {

/// A sound that began at a known time.
struct sound_start {
  uint64_t frame;  ///< of the recording
  int64_t time_ns; ///< of CLOCK_MONOTONIC
};

/// From the lines of sound/starts; lines of any other form are skipped.
std::vector<sound_start> read_sound_starts(std::string_view text);

class sound_track {
public:
  using clock = std::chrono::steady_clock;

  /// To be made before the film begins.
  explicit sound_track(std::string board);

  /// Write the sound from `begin` on, for a time, into a file: samples of 16 bits, stereo, 48 kHz. Return false and
  /// set `error` on failure.
  [[nodiscard]] bool write(const unique_fd &to, clock::time_point begin, clock::duration length,
                           std::string &error);

private:
  bool copy(const unique_fd &recording, const sound_start &from, uint64_t end, const unique_fd &to,
            int64_t begin_ns, int64_t frames) const;

  std::string board_;
  followed_file starts_;
  std::string text_; ///< of the starts
};

} // namespace dravik::sim
