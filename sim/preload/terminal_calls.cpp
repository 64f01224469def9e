// The calls that query and configure a terminal. The C library does not implement them by ioctl().

#include "preload/device.hpp"
#include "preload/next.hpp"
#include "preload/serial_port.hpp"

#include <unistd.h>

using namespace dravik::sim;

SIM_DEFINE(int, isatty, (int descriptor)) {
  return is_serial_port(descriptor) ? 1 : SIM_NEXT(isatty)(descriptor);
}

SIM_DEFINE(int, tcgetattr, (int descriptor, termios *settings)) {
  if (is_serial_port(descriptor))
    return as_c_result(read_line_settings(*settings));
  if (is_serial_terminal(descriptor) && as_c_result(read_line_settings(*settings)) != 0)
    return -1;
  return SIM_NEXT(tcgetattr)(descriptor, settings);
}

SIM_DEFINE(int, tcsetattr, (int descriptor, int when, const termios *settings)) {
  if (is_serial_port(descriptor)) {
    if (when == TCSAFLUSH)
      discard_input(descriptor);
    return as_c_result(change_line_settings(*settings));
  }
  if (is_serial_terminal(descriptor) && as_c_result(change_line_settings(*settings)) != 0)
    return -1;
  return SIM_NEXT(tcsetattr)(descriptor, when, settings);
}

SIM_DEFINE(int, tcflush, (int descriptor, int which)) {
  if (!is_serial_port(descriptor))
    return SIM_NEXT(tcflush)(descriptor, which);
  return which == TCOFLUSH ? 0 : discard_input(descriptor);
}

// Output is sent immediately: there is nothing to wait for, to suspend or to flush.

SIM_DEFINE(int, tcdrain, (int descriptor)) {
  return is_serial_port(descriptor) ? 0 : SIM_NEXT(tcdrain)(descriptor);
}

SIM_DEFINE(int, tcflow, (int descriptor, int action)) {
  return is_serial_port(descriptor) ? 0 : SIM_NEXT(tcflow)(descriptor, action);
}

SIM_DEFINE(int, tcsendbreak, (int descriptor, int duration)) {
  return is_serial_port(descriptor) ? 0 : SIM_NEXT(tcsendbreak)(descriptor, duration);
}
