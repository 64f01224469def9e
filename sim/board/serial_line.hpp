// State of the serial port that the board stores: configuration of the line, and events of its output.
#pragma once

#include <cstdint>
#include <string_view>
#include <termios.h>

namespace dravik::sim {

/// Return the last configuration, or that after power-on.
termios kept_line_settings() noexcept;

/// Store a configuration. A change of speed is an event. Return false on failure.
bool keep_line_settings(const termios &settings) noexcept;

/// Return the bytes per second of the line with its last configuration, 0 unless
/// board.conf requests serial_pace=line.
uint32_t line_bytes_per_second() noexcept;

/// Record an event per line that is not empty.
void record_sent_lines(std::string_view text) noexcept;

} // namespace dravik::sim
