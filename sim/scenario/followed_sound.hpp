// What the speaker of a board has played since a scenario began.
#pragma once

#include "host/followed_file.hpp"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace dravik::sim::scenario {

/// Reads the recording, which gains the frames of a period after they were played.
class followed_sound {
public:
  using clock = std::chrono::steady_clock;

  explicit followed_sound(std::string board);

  /// Read what is new.
  void look();

  /// From now on, earlier sound and earlier silence is ignored.
  void begin();
  /// From now on, earlier sound is not found.
  void begin_search();

  /// Find a sound after begin() and begin_search(); from then on, levels are those from its start on.
  bool find_sound();
  /// Whether nothing was played for a time, after begin().
  bool is_silent_for(std::chrono::milliseconds time) const;

  /// Whether there was a sound since the start of the one that was found last, or since begin().
  bool has_sound() const { return peak() >= least_sound; }
  /// The greatest sample of the same time, in dB of the full scale.
  double level_decibels() const;

private:
  static constexpr uint16_t least_sound = 33; ///< of 32768: -60 dB
  static constexpr uint32_t block_frames = 480;

  void add(std::string_view bytes);
  void add_frame(uint16_t level);
  uint16_t peak() const;

  followed_file file_;
  std::string rest_; ///< of a frame that is not complete
  uint32_t restarts_ = 0;
  std::vector<uint16_t> peaks_; ///< of blocks
  uint32_t frames_in_block_ = block_frames;
  size_t begin_ = 0;    ///< block from which on a sound is searched for
  size_t measured_ = 0; ///< block from which on levels are measured
  uint64_t quiet_frames_ = 0;
  clock::time_point last_gain_;
  clock::time_point last_sound_;
};

} // namespace dravik::sim::scenario
