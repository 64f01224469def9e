// Translation of application paths to paths in the directory of the board.
#pragma once

#include "board/board_links.hpp"
#include "board/board_table.hpp"
#include "board/chosen_board.hpp"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <string_view>

namespace dravik::sim {

/// Return the kind of an absolute path without `//`, `.` and `..`, as an application names it.
file_kind kind_of(const char *path) noexcept;

/// Return the application's name of a path in the board's directory, null for any other
/// path. Points into `host_path`.
const char *name_on_board(const char *host_path) noexcept;

/// The path to be used instead of the application's: in the directory of the board for paths of the board,
/// otherwise unchanged. Allocates nothing; exists on the stack during a call.
class board_path {
public:
  explicit board_path(const char *path, int directory = AT_FDCWD,
                      last_link last = last_link::followed) noexcept;
  /// Every call with a path on a card that was pulled fails with EIO.
  ~board_path() {
    if (is_unreachable_)
      errno = EIO;
  }
  board_path(const board_path &) = delete;
  board_path &operator=(const board_path &) = delete;

  operator const char *() const noexcept { return path_; }
  file_kind kind() const noexcept { return kind_; }
  /// The application's path without `//`, `.` and `..`; only for a path of the board.
  const char *name() const noexcept { return name_; }

protected:
  /// If only the host's /tmp has the file, use that one.
  void see_host_file() noexcept;

private:
  void map(const char *board, const char *path, int directory, last_link last) noexcept;

  const char *path_;
  const char *name_ = nullptr;
  file_kind kind_ = file_kind::none;
  bool is_unreachable_ = false;
  char text_[longest_path]; // not initialised until it is needed
};

/// The same for a call that does not follow a link.
class link_path : public board_path {
public:
  explicit link_path(const char *path, int directory = AT_FDCWD) noexcept
      : board_path(path, directory, last_link::kept) {}
};

/// The same for a call that changes nothing: files that exist only in the host's /tmp are visible to it.
class seen_path : public board_path {
public:
  explicit seen_path(const char *path, int directory = AT_FDCWD,
                     last_link last = last_link::followed) noexcept
      : board_path(path, directory, last) {
    see_host_file();
  }
};

/// The application's name of an open file; null if it is not of the board.
class descriptor_name {
public:
  explicit descriptor_name(int descriptor) noexcept;
  operator const char *() const noexcept { return name_; }
  operator std::string_view() const noexcept { return name_ != nullptr ? name_ : ""; }

private:
  const char *name_ = nullptr;
  char text_[longest_path];
};

} // namespace dravik::sim
