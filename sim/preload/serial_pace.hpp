// Speed of the serial line with serial_pace=line in board.conf: the port has the buffer of a driver, which
// empties at the speed of the line.
#pragma once

#include <cstddef>
#include <sys/types.h>

namespace dravik::sim {

/// Whether `descriptor` is the board's terminal, and its speed is simulated.
bool is_paced_terminal(int descriptor) noexcept;

/// Send bytes as the line accepts them. Return their number, or a negative error number. Short or -EAGAIN
/// on a non-blocking descriptor; blocks otherwise.
ssize_t send_at_pace(int descriptor, const char *data, size_t size,
                     ssize_t (*send)(int descriptor, const char *data, size_t size)) noexcept;

} // namespace dravik::sim
