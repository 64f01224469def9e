// Mixer of the sound card.

#include "board/mixer.hpp"
#include "board/settings_text.hpp"

#include <algorithm>

namespace dravik::sim {
namespace {

constexpr uint32_t unity_gain = 113; ///< volume of the speaker, in steps of 1 dB; 0 is silence
constexpr uint32_t loudest = 127;
constexpr double decibel = 1.1220184543019633; ///< the twentieth root of ten

double gain_of(uint32_t level) noexcept {
  double gain = 1;
  for (uint32_t step = level; step < unity_gain; ++step)
    gain /= decibel;
  for (uint32_t step = unity_gain; step < std::min(level, loudest); ++step)
    gain *= decibel;
  return gain;
}

} // namespace

double speaker_gain(std::string_view mixer) noexcept {
  const uint32_t level = number_of(mixer, "numid 1", unity_gain);
  const bool output_stage = number_of(mixer, "numid 5", 1) != 0;
  const bool output_switch = value_of(mixer, "numid 77") != "off";
  return level != 0 && output_stage && output_switch ? gain_of(level) : 0;
}

} // namespace dravik::sim
