// The thermistor's curve.
#pragma once

#include <cstdint>

namespace dravik::board {

inline constexpr uint32_t first_code = 64; ///< the ADC code of the table's first entry
inline constexpr uint32_t last_code = 767;
inline constexpr int32_t above_curve = 117000;
inline constexpr int32_t below_curve = -1000;

/// Thousandths of a degree Celsius; fixed values for codes off the curve.
int32_t temperature_of_code(uint32_t code) noexcept;

} // namespace dravik::board
