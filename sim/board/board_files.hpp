// Text files of a board for the simulated devices: settings, injected faults, recorded events.
#pragma once

#include "board/board_table.hpp"

#include <cstddef>
#include <string_view>
#include <sys/types.h>

namespace dravik::sim {

/// A text file of the board, read by the constructor: at most 8 KiB; empty if there is no file.
class board_text {
public:
  explicit board_text(const char *inside) noexcept;
  operator std::string_view() const noexcept { return {text_, length_}; }

private:
  size_t length_ = 0;
  char text_[8192];
};

/// Open a file of the board, without the path map and the rules for devices; exec
/// closes it. Return -1 on failure.
int open_board_file(const char *inside, int flags) noexcept;

/// Create a directory of the board. Does nothing if it exists.
void make_board_directory(const char *inside) noexcept;

/// Write a text file of the board, truncated first.
void write_board_text(const char *inside, std::string_view text) noexcept;

/// Read bytes of a file of the board from `position` on. Return their number, -1 if there is no such file.
ssize_t read_board_bytes(const char *inside, off_t position, void *bytes, size_t size) noexcept;

/// Overwrite a part of a file of the board in one call, so that readers see all of it or
/// nothing. Return false on failure.
bool write_board_bytes(const char *inside, off_t position, const void *bytes, size_t size) noexcept;

/// Append to a file of the board.
void append_to_board_file(const char *inside, std::string_view text) noexcept;

/// Set the length of a file of the board, without the rules for devices.
[[nodiscard]] bool set_board_file_length(const char *inside, off_t length) noexcept;

/// Return the error number that `faults` specifies for a request on a path, 0 for none.
int injected_fault(request_name request, std::string_view path) noexcept;

/// The same for a fault that happens once: remove its line. Return whether there is one.
[[nodiscard]] bool take_injected_fault(request_name request, std::string_view path) noexcept;

/// Append a line to `events`, in one piece even if several threads and processes do so at the same time.
[[gnu::format(printf, 1, 2)]] void record_event(const char *format, ...) noexcept;

} // namespace dravik::sim
