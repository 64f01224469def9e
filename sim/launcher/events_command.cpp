// "events": requests to the devices of a board, as they happen.

#include "base/unique_fd.hpp"
#include "host/followed_file.hpp"
#include "host/printable_text.hpp"
#include "launcher/commands.hpp"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <poll.h>
#include <sys/inotify.h>

namespace dravik::sim {
namespace {

constexpr std::string_view events_help =
    R"(Usage: dravik-sim events BOARD [--once]

Print the requests to the devices of a simulated board, one per line.

Continues with new events until interrupted.

Options:
  --once  stop after the events so far

Examples:
  dravik-sim events desk
  dravik-sim events desk --once | grep led

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

constexpr option_rule events_options[] = {{"--once", false}};

/// Copies what the file of events gains to standard output.
class gain {
public:
  explicit gain(const std::string &board) : events_(board, "events", most_at_start) {}

  /// Return false if standard output is closed.
  bool show() {
    for (std::string bytes; !(bytes = events_.next(block_bytes)).empty();) {
      const std::string text = printable(bytes);
      if (std::fwrite(text.data(), text.size(), 1, stdout) != 1)
        return false;
    }
    return std::fflush(stdout) == 0;
  }

private:
  static constexpr uint64_t most_at_start = 16 << 20;
  static constexpr size_t block_bytes = 65536;

  followed_file events_;
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

outcome output_failed(std::string &error) {
  return failed(error, std::string{"standard output: "} + std::strerror(errno));
}

outcome follow(const std::string &board, gain events, std::string &error) {
  const unique_fd watch{::inotify_init1(IN_CLOEXEC)};
  if (!watch || ::inotify_add_watch(watch.get(), board.c_str(), IN_CREATE | IN_MODIFY | IN_MOVED_TO) < 0)
    return failed(error, board + ": cannot be watched: " + std::strerror(errno));
  while (events.show())
    switch (await_change(watch.get())) {
    case happening::change:
      break;
    case happening::end_of_reader:
      return outcome::done;
    case happening::end_of_board:
      return failed(error, board + ": removed");
    }
  return output_failed(error);
}

outcome print_events(const std::string &board, const command_line &given, std::string &error) {
  gain events{board};
  if (!given.has("--once"))
    return follow(board, std::move(events), error);
  return events.show() ? outcome::done : output_failed(error);
}

} // namespace

extern constinit const command events_command = {.name = "events",
                                                 .summary = "print requests to the devices",
                                                 .help = events_help,
                                                 .options = events_options,
                                                 .operands = "BOARD",
                                                 .run = on_board<print_events>};

} // namespace dravik::sim
