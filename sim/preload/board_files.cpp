// The board's own text files, as the simulated devices use them.

#include "preload/board_files.hpp"
#include "base/unique_fd.hpp"
#include "board/settings_text.hpp"
#include "preload/path_map.hpp"
#include "preload/preserve_errno.hpp"

#include <cstdarg>
#include <cstdio>
#include <sys/syscall.h>

namespace dravik::sim {
namespace {

struct named_error {
  std::string_view name;
  int number;
};

constexpr named_error known_errors[] = {
    {"EACCES", EACCES}, {"EBUSY", EBUSY},   {"EFAULT", EFAULT}, {"EINTR", EINTR},   {"EINVAL", EINVAL},
    {"EIO", EIO},       {"EMFILE", EMFILE}, {"ENODEV", ENODEV}, {"ENOENT", ENOENT}, {"ENOMEM", ENOMEM},
    {"ENOSPC", ENOSPC}, {"ENOTTY", ENOTTY}, {"ENXIO", ENXIO},   {"EPERM", EPERM},   {"EROFS", EROFS},
};

int error_number(std::string_view name) noexcept {
  for (const named_error &error : known_errors)
    if (error.name == name)
      return error.number;
  return EIO;
}

// Past the rules of this library's own definitions.
ssize_t read_plainly(int descriptor, void *bytes, size_t size) noexcept {
  return ::syscall(SYS_read, descriptor, bytes, size);
}
ssize_t write_plainly(int descriptor, const void *bytes, size_t size) noexcept {
  return ::syscall(SYS_write, descriptor, bytes, size);
}

} // namespace

int open_board_file(const char *inside, int flags) noexcept {
  const char *board = board_directory();
  char path[longest_path];
  if (board == nullptr ||
      std::snprintf(path, sizeof path, "%s/%s", board, inside) >= static_cast<int>(longest_path))
    return -1;
  return static_cast<int>(::syscall(SYS_openat, AT_FDCWD, path, flags | O_CLOEXEC, 0644));
}

board_text::board_text(const char *inside) noexcept {
  const preserve_errno unchanged;
  const unique_fd file{open_board_file(inside, O_RDONLY)};
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
  return file && ::syscall(SYS_ftruncate, file.get(), length) == 0;
}

int ordered_fault(std::string_view request, std::string_view path) noexcept {
  const board_text faults{"faults"};
  std::string_view rest = faults;
  while (true) {
    std::string_view line = take_line(rest);
    if (line.empty())
      return 0;
    if (take_word(line) == request && take_word(line) == path)
      return error_number(take_word(line));
  }
}

void record_event(const char *format, ...) noexcept {
  const preserve_errno unchanged;
  char line[512];
  va_list arguments;
  va_start(arguments, format);
  const int length = std::vsnprintf(line, sizeof line - 1, format, arguments);
  va_end(arguments);
  const size_t kept = std::min(static_cast<size_t>(std::max(length, 0)), sizeof line - 2);
  line[kept] = '\n';
  append_to_board_file("events", {line, kept + 1});
}

} // namespace dravik::sim
