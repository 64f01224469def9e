// The thermistor's curve.
#pragma once

#include <cstdint>

namespace dravik::board {

/// Thousandths of a degree Celsius; fixed values for codes off the curve.
int32_t temperature_of_code(uint32_t code) noexcept;

} // namespace dravik::board
