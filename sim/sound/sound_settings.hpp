// What a board's settings and ordered faults make of its sound card.
#pragma once

#include <cstdint>

namespace dravik::sim {

/// What applications, `faults` and `events` call the card.
constexpr const char *sound_card_name = "sound";

struct sound_settings {
  bool keeps_time = true;        ///< or takes everything at once
  bool records_speaker = true;   ///< or every sample that was written, as it was
  uint32_t buffer_bytes = 65536; ///< the longest buffer
  bool refuses_48000 = false;
  uint32_t least_periods = 2;  ///< per buffer
  bool has_one_period = false; ///< as long as the buffer, whatever is asked for
};

/// As the board's files say now.
sound_settings read_card_settings() noexcept;

} // namespace dravik::sim
