// Reports of the board's drivers in text files.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace dravik::sim::reports {

constexpr uint32_t adc_channels = 4;
constexpr uint32_t largest_code = 0x3FF;
constexpr uint32_t temperature_channel = 1;

/// Return the ADC driver's report with another code for a channel; missing lines are added.
///
/// The library reads three digits only from a line of twelve characters including its end. That leaves no
/// space for the line end, so a NUL precedes it.
std::string with_adc_code(std::string_view report, uint32_t channel, uint32_t code);

/// Return the code of a channel in a report; 0 if there is none.
uint32_t adc_code(std::string_view report, uint32_t channel) noexcept;

constexpr const char *monitor = "Basic EDID\nManufacturer: simulated\nPreferred timing: 1280x720\n";

} // namespace dravik::sim::reports
