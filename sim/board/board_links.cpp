// Symbolic links inside a board, which is untrusted: none leads out of it.

#include "board/board_links.hpp"
#include "board/settings_text.hpp"

#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

constexpr int most_links = 40; // as in the kernel
constexpr std::string_view serial_port = "/dev/ttyS0";

/// Return the target of a link, empty if the path is not a link.
std::string_view read_link(const char *path, char (&target)[longest_path]) noexcept {
  const long length = ::syscall(SYS_readlinkat, AT_FDCWD, path, target, sizeof target);
  return {target, length > 0 ? static_cast<size_t>(length) : 0};
}

bool is_terminal(std::string_view target) noexcept {
  return target.starts_with("/dev/pts/") || target.starts_with("/dev/tty");
}

/// A path assembled below a root, which `..` does not leave.
class rooted_path {
public:
  void add(std::string_view path) noexcept {
    while (!path.empty())
      add_component(take_until(path, '/'));
  }
  bool is_whole() const noexcept { return !overflowed_; }
  std::string_view text() const noexcept { return {text_, length_}; }

private:
  void add_component(std::string_view name) noexcept {
    if (name == "..")
      length_ = text().rfind('/') == std::string_view::npos ? 0 : text().rfind('/');
    if (name.empty() || name == "." || name == "..")
      return;
    overflowed_ = overflowed_ || length_ + 1 + name.size() > sizeof text_;
    if (overflowed_)
      return;
    text_[length_] = '/';
    std::copy(name.begin(), name.end(), text_ + length_ + 1);
    length_ += 1 + name.size();
  }

  char text_[longest_path];
  size_t length_ = 0;
  bool overflowed_ = false;
};

/// Replace a link, which ends at `end` of the path, by its target.
bool replace_link(char (&path)[longest_path], size_t board_length, size_t end,
                  std::string_view target) noexcept {
  const std::string_view board{path, board_length};
  const std::string_view rest{path + end};
  rooted_path joined;
  if (target.starts_with(board) && (target.size() == board_length || target[board_length] == '/'))
    target.remove_prefix(board_length);
  else if (!target.starts_with('/')) {
    std::string_view parent{path + board_length, end - board_length};
    parent.remove_suffix(parent.size() - parent.rfind('/'));
    joined.add(parent);
  }
  joined.add(target);
  joined.add(rest);
  const bool ends_like_directory = rest.ends_with('/');
  if (!joined.is_whole() || board_length + joined.text().size() + 2 > sizeof path)
    return false;
  char *stop = std::copy(joined.text().begin(), joined.text().end(), path + board_length);
  if (ends_like_directory)
    *stop++ = '/';
  *stop = '\0';
  return true;
}

/// Return the end of the first component below the board's directory that is a link, 0 if there is none.
size_t find_link(char (&path)[longest_path], size_t board_length, last_link last,
                 char (&target)[longest_path], size_t &target_length) noexcept {
  const size_t length = std::strlen(path);
  for (size_t end = board_length + 1; end <= length; ++end) {
    const bool is_last = end == length;
    if ((!is_last && path[end] != '/') || path[end - 1] == '/' || (is_last && last == last_link::kept))
      continue;
    const char kept = path[end];
    path[end] = '\0';
    target_length = read_link(path, target).size();
    const bool is_port = std::string_view{path + board_length} == serial_port;
    path[end] = kept;
    if (target_length > 0 && !(is_port && is_last && is_terminal({target, target_length})))
      return end;
  }
  return 0;
}

} // namespace

bool follow_board_links(char (&path)[longest_path], size_t board_length, last_link last) noexcept {
  char target[longest_path];
  size_t target_length = 0;
  for (int links = 0; links < most_links; ++links) {
    const size_t end = find_link(path, board_length, last, target, target_length);
    if (end == 0)
      return true;
    if (target_length == sizeof target || !replace_link(path, board_length, end, {target, target_length}))
      return false;
  }
  return false;
}

bool is_host_device(const char *path) noexcept {
  struct statx status = {};
  return ::syscall(SYS_statx, AT_FDCWD, path, AT_SYMLINK_NOFOLLOW, STATX_TYPE, &status) == 0 &&
         (S_ISCHR(status.stx_mode) || S_ISBLK(status.stx_mode));
}

} // namespace dravik::sim
