// dravik-sim events: what the board's devices were asked to do, and what they are being asked.

#include "base/unique_fd.hpp"
#include "board/board_directory.hpp"
#include "board/printable_text.hpp"
#include "launcher/commands.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>

namespace dravik::sim {
namespace {

/// Copies what the file of events gains to standard output.
class gain {
public:
  explicit gain(std::string board) : board_(std::move(board)) {}

  /// False when standard output takes no more. A file that got shorter was emptied, and is shown from its
  /// start.
  bool show() {
    const unique_fd file{open_in_board(board_, "events", O_RDONLY)};
    struct stat status;
    if (!file || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
      return true;
    shown_ = status.st_size < shown_ ? 0 : shown_;
    shown_ = std::max(shown_, status.st_size - most_shown);
    std::array<char, 65536> block;
    ssize_t count;
    while ((count = ::pread(file.get(), block.data(), block.size(), shown_)) > 0) {
      const std::string text = printable({block.data(), static_cast<size_t>(count)});
      if (std::fwrite(text.data(), text.size(), 1, stdout) != 1)
        return false;
      shown_ += count;
    }
    return std::fflush(stdout) == 0;
  }

private:
  static constexpr off_t most_shown = 16 << 20; ///< of what is there at the start, its end

  std::string board_;
  off_t shown_ = 0;
};

enum class happening { change, end_of_reader, end_of_board };

/// Waits for a change in the watched directory. Events of the kernel are taken in bulk: what changed shows in
/// the file itself.
happening await_change(int watch) {
  std::array<pollfd, 2> awaited = {{{watch, POLLIN, 0}, {STDOUT_FILENO, 0, 0}}};
  while (::poll(awaited.data(), awaited.size(), -1) < 0 && errno == EINTR) {
  }
  if (awaited[1].revents != 0)
    return happening::end_of_reader;
  alignas(inotify_event) std::array<char, 4096> block;
  const ssize_t count = ::read(watch, block.data(), block.size());
  for (ssize_t at = 0; at < count;) {
    inotify_event event;
    std::memcpy(&event, block.data() + at, sizeof event);
    if ((event.mask & (IN_IGNORED | IN_UNMOUNT)) != 0)
      return happening::end_of_board;
    at += static_cast<ssize_t>(sizeof event + event.len);
  }
  return happening::change;
}

int follow(const std::string &board, gain events) {
  const unique_fd watch{::inotify_init1(IN_CLOEXEC)};
  if (!watch || ::inotify_add_watch(watch.get(), board.c_str(), IN_CREATE | IN_MODIFY | IN_MOVED_TO) < 0)
    return fail(board + ": cannot be watched: " + std::strerror(errno));
  while (events.show())
    switch (await_change(watch.get())) {
    case happening::change:
      break;
    case happening::end_of_reader:
      return 0;
    case happening::end_of_board:
      return fail(board + ": is gone");
    }
  return fail(std::string{"standard output: "} + std::strerror(errno));
}

} // namespace

int events_command(arguments given) {
  const bool once = given.size() == 2 && std::string_view{given[1]} == "--once";
  if (given.empty() || *given[0] == '-' || given.size() > (once ? 2 : 1))
    return fail("which board? 'dravik-sim events --help' tells", wrong_usage);
  const std::string board = given[0];
  if (!is_board(board))
    return fail(board + ": is no board; 'dravik-sim new " + board + "' makes one");
  gain events{board};
  if (!once)
    return follow(board, std::move(events));
  return events.show() ? 0 : fail(std::string{"standard output: "} + std::strerror(errno));
}

} // namespace dravik::sim
