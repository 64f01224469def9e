// What a user types on the serial console of a board.

#include "host/console_input.hpp"
#include "base/unique_fd.hpp"
#include "host/board_directory.hpp"

#include <cerrno>
#include <cstring>
#include <fcntl.h>

namespace dravik::sim {

typing_result type_on_console(const std::string &board, std::string_view text, std::string &error) {
  const unique_fd port{open_in_board(board, "dev/ttyS0.in", O_WRONLY)};
  if (port && ::write(port.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size()))
    return typing_result::done;
  const bool has_no_reader = errno == ENXIO;
  error = has_no_reader ? "console: no application has the serial port open"
                        : "console: not typed: " + std::string{std::strerror(errno)};
  return has_no_reader ? typing_result::no_reader : typing_result::failed;
}

} // namespace dravik::sim
