// What the drivers of the board report in text files.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace dravik::sim::reports {

constexpr uint32_t adc_channels = 4;
constexpr uint32_t largest_code = 0x3FF;
constexpr uint32_t temperature_channel = 1;

/// The text of the converter's report with another code for a channel; lines that are missing are added.
///
/// The library counts three digits only on a line of twelve characters with its end, which leaves no place
/// for the end: a NUL stands before it.
std::string with_adc_code(std::string_view report, uint32_t channel, uint32_t code);

constexpr const char *monitor = "Basic EDID\nManufacturer: simulated\nPreferred timing: 1280x720\n";

} // namespace dravik::sim::reports
