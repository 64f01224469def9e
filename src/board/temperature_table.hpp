// Curve of the thermistor.
#pragma once

#include <cstdint>

namespace dravik::board {

/// Return thousandths of a degree Celsius; a fixed value for codes outside the table.
int32_t temperature_of_code(uint32_t code) noexcept;

} // namespace dravik::board
