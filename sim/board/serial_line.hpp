// What a board keeps of its serial port, whoever serves it: the settings of the line, and events of what was
// sent.
#pragma once

#include <cstdint>
#include <string_view>
#include <termios.h>

namespace dravik::sim {

/// The settings that were kept last; those of a port that nobody has set up yet when there are none.
termios kept_line_settings() noexcept;

/// Another speed is an event. False when they cannot be kept.
bool keep_line_settings(const termios &settings) noexcept;

/// Bytes per second that the line carries with the settings that were kept last; 0 where board.conf does not
/// ask for the pace of a line.
uint32_t line_bytes_per_second() noexcept;

/// An event for each line that says something.
void record_sent_lines(std::string_view text) noexcept;

} // namespace dravik::sim
