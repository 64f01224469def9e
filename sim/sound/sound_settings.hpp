// Settings and injected faults of the sound card.
#pragma once

#include <cstdint>

namespace dravik::sim {

/// Name of the sound card in ALSA, `faults` and `events`.
constexpr const char *sound_card_name = "sound";

struct sound_settings {
  bool keeps_time = true;        ///< or plays immediately
  bool records_speaker = true;   ///< or every sample written, unchanged
  uint32_t buffer_bytes = 65536; ///< maximum
  bool rejects_48000 = false;
  uint32_t least_periods = 2;  ///< per buffer
  bool has_one_period = false; ///< as long as the buffer, regardless of the request
};

/// Read them from the files of the board.
sound_settings read_card_settings() noexcept;

} // namespace dravik::sim
