// Mixer of the sound card: sound/mixer has a line per control that was set, "numid 1 = 113".
#pragma once

#include <cstdint>
#include <string_view>

namespace dravik::sim {

/// Return the gain of the speaker from the text of `sound/mixer`: 1 plays samples unchanged, 0 is silence.
/// Controls that were not set do not attenuate.
double speaker_gain(std::string_view mixer) noexcept;

} // namespace dravik::sim
