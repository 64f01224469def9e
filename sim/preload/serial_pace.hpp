// The pace of the serial line, where board.conf asks for it with serial_pace=line: the port accepts what fits
// in the buffer of a driver, which empties at the speed of the line.
#pragma once

#include <cstddef>
#include <sys/types.h>

namespace dravik::sim {

/// Whether `descriptor` is of the terminal that the board has for its port, and its line has a pace.
bool is_paced_terminal(int descriptor) noexcept;

/// Hands bytes on as the line accepts them: what is sent, or a negative error number. A descriptor that does
/// not block gets a short count, or -EAGAIN; any other waits until all are accepted.
ssize_t send_at_pace(int descriptor, const char *data, size_t size,
                     ssize_t (*send)(int descriptor, const char *data, size_t size)) noexcept;

} // namespace dravik::sim
