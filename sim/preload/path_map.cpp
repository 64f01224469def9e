// Translation of application paths to paths in the directory of the board.

#include "preload/path_map.hpp"
#include "base/unique_fd.hpp"
#include "board/preserve_errno.hpp"
#include "board/settings_text.hpp"
#include "preload/card_names.hpp"
#include "preload/card_view.hpp"
#include "preload/process_board.hpp"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstring>
#include <string_view>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

/// Input of the serial port; applications open it by the port's name.
constexpr std::string_view serial_input = entry_of("/dev/ttyS0.in").path;
constexpr size_t serial_port_length = entry_of("/dev/ttyS0").path.size();

/// For a path that exceeds longest_path: every call fails with ENAMETOOLONG.
struct overlong_path {
  constexpr overlong_path() noexcept { std::fill_n(text, PATH_MAX, 'x'); }
  char text[PATH_MAX + 1] = {};
};
constexpr overlong_path overlong;

/// A path assembled in a fixed block, one component at a time, without `//`, `.` and `..`.
class path_text {
public:
  path_text(char *begin, const char *end) noexcept : begin_(begin), end_(begin), limit_(end - 1) {}

  void append(std::string_view path) noexcept {
    while (!path.empty())
      add_component(take_until(path, '/'));
  }

  void add_slash() noexcept { put("/"); }
  void terminate() noexcept { *end_ = '\0'; }
  bool overflowed() const noexcept { return overflowed_; }
  /// Whether ".." led out of a path of the board.
  bool left_board() const noexcept { return left_board_; }

private:
  void add_component(std::string_view name) noexcept {
    if (name.empty() || name == ".")
      return;
    if (name != "..") {
      put("/");
      put(name);
      return;
    }
    terminate();
    left_board_ = left_board_ || kind_of(begin_) != file_kind::none;
    while (end_ != begin_ && *--end_ != '/') {
    }
  }

  void put(std::string_view text) noexcept {
    overflowed_ = overflowed_ || text.size() > static_cast<size_t>(limit_ - end_);
    if (!overflowed_)
      end_ = std::copy(text.begin(), text.end(), end_);
  }

  char *begin_;
  char *end_;
  const char *limit_;
  bool overflowed_ = false;
  bool left_board_ = false;
};

/// /tmp is the board's but for the paths of board_table, which always are, and for the directories that
/// stay the host's.
bool is_in_open_tree(const char *path) noexcept {
  constexpr std::string_view tree = "/tmp";
  return std::string_view{path}.starts_with(tree) &&
         (path[tree.size()] == '/' || path[tree.size()] == '\0') && !is_left_to_host(path);
}

bool is_fixed(const char *path) noexcept {
  return std::ranges::any_of(
      board_table, [=](const board_entry &entry) { return std::string_view{path}.starts_with(entry.path); });
}

bool exists(const char *path) noexcept {
  struct statx status = {};
  return ::syscall(SYS_statx, AT_FDCWD, path, AT_SYMLINK_NOFOLLOW, STATX_TYPE, &status) == 0;
}

/// The mount point itself remains known when its card is pulled.
bool is_below_mount_point(const char *name) noexcept {
  return is_on_card(name) && name[card_mount_point.size()] == '/' &&
         name[card_mount_point.size() + 1] != '\0';
}

/// For a link that leads out of the board and a file of a card that was pulled: no such file.
constexpr const char *outside = "/proc/self/outside-the-board";

bool ends_like_a_directory(std::string_view path) noexcept {
  return path.ends_with('/') || path.ends_with("/.");
}

/// Return the part of `path` after `directory`, from its slash on; null if it is elsewhere.
const char *below(const char *path, std::string_view directory) noexcept {
  while (directory.ends_with('/'))
    directory.remove_suffix(1);
  const bool begins_so = std::string_view{path}.starts_with(directory);
  return begins_so && (path[directory.size()] == '/' || path[directory.size()] == '\0')
             ? path + directory.size()
             : nullptr;
}

/// Read the path of an open descriptor from the kernel.
bool read_descriptor_path(int descriptor, char *text) noexcept {
  char link[32] = "/proc/self/fd/";
  char *digits = link + std::strlen(link);
  *std::to_chars(digits, link + sizeof link - 1, descriptor).ptr = '\0';
  const long length = ::syscall(SYS_readlinkat, AT_FDCWD, link, text, longest_path);
  const bool is_whole = length > 0 && length < static_cast<long>(longest_path);
  text[is_whole ? length : 0] = '\0';
  return text[0] == '/';
}

bool read_directory_path(int directory, char *text) noexcept {
  if (directory != AT_FDCWD)
    return read_descriptor_path(directory, text);
  return ::syscall(SYS_getcwd, text, longest_path) > 0 && text[0] == '/';
}

/// Whether the end of a path could be a path of the board: quickly rejects most paths of the host.
bool ends_like_a_board_path(const char *path) noexcept {
  for (const char *end = std::strchr(path, '/'); end != nullptr; end = std::strchr(end + 1, '/'))
    if (kind_of(end) != file_kind::none)
      return true;
  return false;
}

/// Return the part of a path from the kernel, free of links, after the board's directory.
const char *below_board(const char *host_path) noexcept {
  const char *board = board_directory();
  if (board == nullptr)
    return nullptr;
  if (const char *rest = below(host_path, board))
    return rest;
  const unique_fd directory{static_cast<int>(::syscall(SYS_openat, AT_FDCWD, board, O_PATH | O_CLOEXEC, 0))};
  char without_links[longest_path];
  return directory && read_descriptor_path(directory.get(), without_links) ? below(host_path, without_links)
                                                                           : nullptr;
}

} // namespace

file_kind kind_of(const char *path) noexcept {
  for (const board_entry &entry : board_table) {
    const bool is_inside =
        entry.is_family ? std::string_view{path}.starts_with(entry.path) : below(path, entry.path) != nullptr;
    if (is_inside)
      return entry.kind;
  }
  return is_in_open_tree(path) ? file_kind::plain : file_kind::none;
}

const char *name_on_board(const char *host_path) noexcept {
  const char *name = ends_like_a_board_path(host_path) ? below_board(host_path) : nullptr;
  return name != nullptr && kind_of(name) != file_kind::none ? name : nullptr;
}

board_path::board_path(const char *path, int directory, last_link last) noexcept : path_(path) {
  const char *board = board_directory();
  if (board == nullptr || path == nullptr || *path == '\0')
    return;
  const preserve_errno unchanged;
  map(board, path, directory, last);
}

void board_path::see_host_file() noexcept {
  const preserve_errno unchanged;
  if (kind_ != file_kind::plain || path_ != text_ || !is_in_open_tree(name_) || is_fixed(name_) ||
      exists(path_) || !exists(name_))
    return;
  path_ = name_;
  name_ = nullptr;
  kind_ = file_kind::none;
}

void board_path::map(const char *board, const char *path, int directory, last_link last) noexcept {
  const size_t board_length = std::strlen(board);
  if (board_length >= longest_path) {
    path_ = overlong.text;
    return;
  }
  char *name = std::copy_n(board, board_length, text_);
  path_text whole{name, text_ + sizeof text_};
  if (*path != '/') {
    char base[longest_path];
    if (!read_directory_path(directory, base))
      return;
    const char *known_as = name_on_board(base);
    whole.append(known_as != nullptr ? known_as : base);
  }
  whole.append(path);
  if (ends_like_a_directory(path))
    whole.add_slash();
  whole.terminate();

  const bool is_inside_already = below(name, board) != nullptr;
  kind_ = is_inside_already ? file_kind::none : kind_of(name);
  if (kind_ != file_kind::none) {
    name_ = name;
    path_ = !whole.overflowed() && !follow_board_links(text_, board_length, last) ? outside : text_;
    kind_ = kind_of(name) != file_kind::none ? kind_of(name) : file_kind::plain;
    is_unreachable_ = is_below_mount_point(name) && card_is_pulled();
    if (is_unreachable_)
      path_ = outside;
    if (path_ == text_ && is_on_card(name) && card_is_mounted())
      use_stored_names(text_, name + card_mount_point.size());
  } else if (whole.left_board() && !is_inside_already) {
    path_ = *name != '\0' ? name : "/"; // by a directory that only the board has
  }
  if (path_ != path && whole.overflowed())
    path_ = overlong.text;
}

descriptor_name::descriptor_name(int descriptor) noexcept {
  if (descriptor < 0 || board_directory() == nullptr)
    return;
  const preserve_errno unchanged;
  if (!read_descriptor_path(descriptor, text_))
    return;
  name_ = name_on_board(text_);
  if (name_ != nullptr && name_ == serial_input)
    text_[name_ - text_ + serial_port_length] = '\0';
}

} // namespace dravik::sim
