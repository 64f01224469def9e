// ALSA by script. A program that compiles scripted_alsa.cpp interposes the library's calls of ALSA:
// there is no device, each call is recorded with its arguments, and the script determines its result.
#pragma once

#include "support/bytes.hpp"

#include <deque>
#include <functional>
#include <map>
#include <string>

namespace dravik::test {

struct scripted_alsa {
  // The script.
  std::map<std::string, int> results;  ///< by the call's name without "snd_pcm_"; 0 for the others
  std::deque<long> write_results;      ///< of the next writes; after them everything is taken
  std::function<void()> on_write = {}; ///< what happens meanwhile
  unsigned long period_frames = 1024;
  unsigned long buffer_frames = 4096;
  int state = 4;         ///< SND_PCM_STATE_XRUN
  unsigned channels = 2; ///< until a stream is set up

  // The record. A stream is called "pcm" while it is the open one, "hw", "sw" and "status" are its records,
  // as long as they were handed over zeroed.
  std::vector<std::string> calls;
  struct written {
    const void *data;
    unsigned long frames;
    bytes content; ///< of all frames, taken or not
  };
  std::vector<written> writes;

  /// How many of the calls begin with this.
  size_t count(std::string_view call) const;
};

extern scripted_alsa alsa;

/// Start over: nothing is open, recorded or scripted.
void reset_alsa();

} // namespace dravik::test
