// The board's own text files, as the simulated devices use
// them: settings, ordered faults, the events that they record.
#pragma once

#include "board/board_table.hpp"

#include <cstddef>
#include <string_view>
#include <sys/types.h>

namespace dravik::sim {

/// A text file of the board, read whole at the start of its
/// life; empty when there is none. Holds up to 8 KiB.
class board_text {
public:
  explicit board_text(const char *inside) noexcept;
  operator std::string_view() const noexcept { return {text_, length_}; }

private:
  size_t length_ = 0;
  char text_[8192];
};

/// Opens a file of the board past the path map and the rules for devices; closed by exec. Negative when it
/// cannot.
int open_board_file(const char *inside, int flags) noexcept;

/// Makes a directory of the board, where there is none yet.
void make_board_directory(const char *inside) noexcept;

/// Writes a text file of the board anew.
void write_board_text(const char *inside, std::string_view text) noexcept;

/// The bytes of a file of the board from `position` on. Gives how many there are, at most `size`; negative
/// when there is no such file.
ssize_t read_board_bytes(const char *inside, off_t position, void *bytes, size_t size) noexcept;

/// Writes over a part of a file of the board in one go, so that nobody sees half of it. False when that
/// fails.
bool write_board_bytes(const char *inside, off_t position, const void *bytes, size_t size) noexcept;

/// Writes to the end of a file of the board.
void append_to_board_file(const char *inside, std::string_view text) noexcept;

/// Makes a file of the board this long, past the rules for devices.
[[nodiscard]] bool set_board_file_length(const char *inside, off_t length) noexcept;

/// Return the error number that `faults` specifies for a request on a path, 0 for none.
int injected_fault(request_name request, std::string_view path) noexcept;

/// The same for a fault that happens once: remove its line. Return whether there is one.
[[nodiscard]] bool take_injected_fault(request_name request, std::string_view path) noexcept;

/// Appends a line to the board's `events`, whole even when several threads and processes record at once.
[[gnu::format(printf, 1, 2)]] void record_event(const char *format, ...) noexcept;

} // namespace dravik::sim
