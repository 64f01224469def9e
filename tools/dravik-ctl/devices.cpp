// The screen and the GPIO driver, opened by the library.

#include "dravik-ctl/devices.hpp"

#include "base/unique_fd.hpp"
#include "dravik-ctl/captured_output.hpp"

#include <cerrno>
#include <cstring>
#include <sys/wait.h>
#include <unistd.h>

namespace dravik::ctl {
namespace {

constexpr uint32_t drawn_depth = 16;

/// In a child process: open the screen and send its information, or the library's message.
[[noreturn]] void send_record(int to) {
  ::dup2(to, STDERR_FILENO);
  fb_init();
  [[maybe_unused]] const ssize_t sent = ::write(to, fbinfo, sizeof fbinfo);
  ::_exit(0);
}

std::string read_all(int from) {
  std::string bytes;
  std::array<char, 512> block;
  ssize_t count;
  while ((count = ::read(from, block.data(), block.size())) > 0)
    bytes.append(block.data(), static_cast<size_t>(count));
  return bytes;
}

/// The library maps whole pages; padded lines may end after them.
bool holds_all_lines(const std::array<uint32_t, FBINFO_WORDS> &record) {
  const auto page = static_cast<uint64_t>(::sysconf(_SC_PAGESIZE));
  const uint64_t mapped = (record[FBINFO_SCREEN_SIZE] + page - 1) / page * page;
  return uint64_t{record[FBINFO_LINE_LENGTH]} * record[FBINFO_YRES] <= mapped;
}

} // namespace

bool is_board() {
  return ::access("/dev/ambad", F_OK) == 0 || ::access("/proc/ambarella", F_OK) == 0;
}

std::string device_failure(const std::string &message) {
  return is_board() ? message : message + "; not a board: run it on a board, or under dravik-sim";
}

bool open_gpio(std::string &error) {
  int32_t opened = -1;
  const captured_output output{[&] { opened = gpio_init(); }};
  if (opened != 0)
    error = device_failure(because("gpio: driver cannot be opened", output.first_line()) +
                           (is_board() ? "; try 'modprobe ambad'" : ""));
  return opened == 0;
}

// The library terminates the process if the screen cannot be opened: a child calls it.
screen_state query_screen() {
  std::array<int, 2> ends;
  if (::pipe(ends.data()) != 0)
    return {false, {}, std::strerror(errno)};
  const unique_fd from{ends[0]};
  unique_fd to{ends[1]};
  const pid_t child = ::fork();
  if (child == 0)
    send_record(to.get());
  to.reset();
  const std::string sent = read_all(from.get());
  int status = -1;
  if (child < 0 || ::waitpid(child, &status, 0) != child || status != 0 || sent.size() != sizeof fbinfo)
    return {false, {}, sent.substr(0, sent.find('\n'))};
  screen_state state{true, {}, {}};
  std::memcpy(state.record.data(), sent.data(), sent.size());
  return state;
}

bool open_screen(std::string &error) {
  const screen_state state = query_screen();
  if (!state.opens)
    error = because("screen: cannot be opened", state.reason) +
            (::access("/dev/fb0", F_OK) != 0 ? "; no /dev/fb0: run it on a board, or under dravik-sim" : "");
  else if (state.record[FBINFO_BITS_PER_PIXEL] != drawn_depth)
    error = "screen: unsupported depth " + std::to_string(state.record[FBINFO_BITS_PER_PIXEL]) +
            "; must be 16 bits per pixel";
  else if (!holds_all_lines(state.record))
    error = "screen: mapping ends before the last line";
  else
    fb_init();
  return error.empty();
}

} // namespace dravik::ctl
