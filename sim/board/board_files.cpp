// Text files of a board for the simulated devices.

#include "board/board_files.hpp"
#include "base/unique_fd.hpp"
#include "board/board_links.hpp"
#include "board/chosen_board.hpp"
#include "board/fault_errors.hpp"
#include "board/preserve_errno.hpp"
#include "board/settings_text.hpp"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/syscall.h>

namespace dravik::sim {
namespace {

constexpr size_t longest_order = 256; ///< in bytes, of a line that is removed

int error_number(std::string_view name) noexcept {
  for (const fault_error &error : fault_errors)
    if (error.name == name)
      return error.number;
  return EIO;
}

// System calls: the preload library interposes the functions.
ssize_t read_plainly(int descriptor, void *bytes, size_t size) noexcept {
  return ::syscall(SYS_read, descriptor, bytes, size);
}
ssize_t write_plainly(int descriptor, const void *bytes, size_t size) noexcept {
  return ::syscall(SYS_write, descriptor, bytes, size);
}

/// Return the line of `faults` for a request, empty if there is none.
std::string_view find_order(std::string_view faults, std::string_view request,
                            std::string_view path) noexcept {
  while (true) {
    const std::string_view line = take_line(faults);
    std::string_view words = line;
    if (line.empty() || (take_word(words) == request && take_word(words) == path))
      return line;
  }
}

/// Set the path of a file of the board. Return false if there is no board, or if the path is too long.
bool name_board_file(const char *inside, char (&path)[longest_path]) noexcept {
  const char *board = board_directory();
  return board != nullptr &&
         std::snprintf(path, sizeof path, "%s/%s", board, inside) < static_cast<int>(sizeof path) &&
         follow_board_links(path, std::strlen(board), last_link::followed);
}

} // namespace

int open_board_file(const char *inside, int flags) noexcept {
  char path[longest_path];
  const bool is_found = name_board_file(inside, path) && ((flags & O_PATH) != 0 || !is_host_device(path));
  return is_found
             ? static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags | O_CLOEXEC | O_LARGEFILE, 0644))
             : -1;
}

void make_board_directory(const char *inside) noexcept {
  const preserve_errno unchanged;
  char path[longest_path];
  if (name_board_file(inside, path))
    ::syscall(SYS_mkdirat, AT_FDCWD, path, 0755);
}

board_text::board_text(const char *inside) noexcept {
  const preserve_errno unchanged;
  const unique_fd file{open_board_file(inside, O_RDONLY | O_NONBLOCK)};
  while (file && length_ < sizeof text_) {
    const ssize_t count = read_plainly(file.get(), text_ + length_, sizeof text_ - length_);
    if (count <= 0)
      return;
    length_ += static_cast<size_t>(count);
  }
}

void write_board_text(const char *inside, std::string_view text) noexcept {
  const preserve_errno unchanged;
  const unique_fd file{open_board_file(inside, O_WRONLY | O_CREAT | O_TRUNC)};
  if (file)
    write_plainly(file.get(), text.data(), text.size());
}

ssize_t read_board_bytes(const char *inside, off_t position, void *bytes, size_t size) noexcept {
  const preserve_errno unchanged;
  const unique_fd file{open_board_file(inside, O_RDONLY)};
  return file && ::lseek(file.get(), position, SEEK_SET) == position ? read_plainly(file.get(), bytes, size)
                                                                     : -1;
}

bool write_board_bytes(const char *inside, off_t position, const void *bytes, size_t size) noexcept {
  const preserve_errno unchanged;
  const unique_fd file{open_board_file(inside, O_WRONLY | O_CREAT)};
  return file && ::lseek(file.get(), position, SEEK_SET) == position &&
         write_plainly(file.get(), bytes, size) == static_cast<ssize_t>(size);
}

void append_to_board_file(const char *inside, std::string_view text) noexcept {
  const preserve_errno unchanged;
  const unique_fd file{open_board_file(inside, O_WRONLY | O_CREAT | O_APPEND)};
  if (file)
    write_plainly(file.get(), text.data(), text.size());
}

bool set_board_file_length(const char *inside, off_t length) noexcept {
  const unique_fd file{open_board_file(inside, O_WRONLY)};
  return file && ::syscall(SYS_ftruncate, file.get(), static_cast<long>(length)) == 0;
}

int injected_fault(request_name request, std::string_view path) noexcept {
  const board_text faults{"faults"};
  std::string_view order = find_order(faults, request.text, path);
  if (order.empty())
    return 0;
  take_word(order);
  take_word(order);
  return error_number(take_word(order));
}

/// Overwritten with spaces, so that lines that are added meanwhile are not moved.
bool take_injected_fault(request_name request, std::string_view path) noexcept {
  const preserve_errno unchanged;
  const board_text faults{"faults"};
  const std::string_view order = find_order(faults, request.text, path);
  const unique_fd file{order.empty() ? -1 : open_board_file("faults", O_WRONLY)};
  if (!file)
    return false;
  char nothing[longest_order];
  std::memset(nothing, ' ', sizeof nothing);
  const auto place = static_cast<off_t>(order.data() - std::string_view{faults}.data());
  return ::lseek(file.get(), place, SEEK_SET) == place &&
         write_plainly(file.get(), nothing, std::min(order.size(), sizeof nothing)) > 0;
}

void record_event(const char *format, ...) noexcept {
  const preserve_errno unchanged;
  char line[512];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(line, sizeof line - 1, format, arguments);
  va_end(arguments);
  const size_t kept = std::min(static_cast<size_t>(std::max(length, 0)), sizeof line - 2);
  std::replace_if(
      line, line + kept, [](char character) { return character == '\n' || character == '\0'; }, ' ');
  line[kept] = '\n';
  append_to_board_file("events", {line, kept + 1});
}

} // namespace dravik::sim
