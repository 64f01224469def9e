// Settings and injected faults of the sound card.

#include "sound/sound_settings.hpp"
#include "board/board_files.hpp"
#include "board/settings_text.hpp"

#include <algorithm>

namespace dravik::sim {
namespace {

constexpr uint32_t shortest_buffer_bytes = 512; // two of the shortest periods
constexpr uint32_t longest_buffer_bytes = 65536;

} // namespace

sound_settings read_card_settings() noexcept {
  const board_text text{"board.conf"};
  sound_settings settings;
  settings.keeps_time = value_of(text, "sound_clock") != "none";
  settings.records_speaker = value_of(text, "sound_record") != "samples";
  settings.buffer_bytes = std::clamp(number_of(text, "sound_buffer", longest_buffer_bytes),
                                     shortest_buffer_bytes, longest_buffer_bytes);
  settings.least_periods = value_of(text, "sound_periods") == "1" ? 1 : 2;
  settings.rejects_48000 = injected_fault("rate", sound_card_name) != 0;
  settings.has_one_period = injected_fault("equal-periods", sound_card_name) != 0;
  return settings;
}

} // namespace dravik::sim
