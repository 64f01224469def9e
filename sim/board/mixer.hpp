// The mixer of the sound card: sound/mixer has a line for each control that was set, "numid 1 = 113".
#pragma once

#include <cstdint>
#include <string_view>

namespace dravik::sim {

/// What the speaker makes of a sample: 1 plays it as it is, 0 is silence.
/// From the text of `sound/mixer`; a control that was not set is at its loudest.
double speaker_gain(std::string_view mixer) noexcept;

} // namespace dravik::sim
