// The screen and the GPIO driver, opened by the library.

#include "dravik-ctl/devices.hpp"

#include "base/unique_fd.hpp"
#include "dravik-ctl/overheard.hpp"

#include <cerrno>
#include <cstring>
#include <sys/wait.h>
#include <unistd.h>

namespace dravik::ctl {
namespace {

constexpr uint32_t drawn_depth = 16;

/// In a process of its own: opens the screen and sends its record, or ends as the library does and sends its
/// words.
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

/// The memory that the library maps is whole pages long; lines with a gap behind them may reach beyond it.
bool holds_all_lines(const std::array<uint32_t, FBINFO_WORDS> &record) {
  const auto page = static_cast<uint64_t>(::sysconf(_SC_PAGESIZE));
  const uint64_t mapped = (record[FBINFO_SCREEN_SIZE] + page - 1) / page * page;
  return uint64_t{record[FBINFO_LINE_LENGTH]} * record[FBINFO_YRES] <= mapped;
}

} // namespace

bool open_gpio(std::string &error) {
  int32_t opened = -1;
  const overheard said{[&] { opened = gpio_init(); }};
  if (opened != 0)
    error = because("the GPIO driver cannot be opened; is the module ambad loaded?", said.first_line());
  return opened == 0;
}

// The library ends its process when the screen refuses something: a child takes the risk.
screen_answer ask_screen() {
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
  screen_answer answer{true, {}, {}};
  std::memcpy(answer.record.data(), sent.data(), sent.size());
  return answer;
}

bool open_screen(std::string &error) {
  const screen_answer answer = ask_screen();
  if (!answer.opens)
    error = because("the screen cannot be opened", answer.reason);
  else if (answer.record[FBINFO_BITS_PER_PIXEL] != drawn_depth)
    error =
        "the screen has " + std::to_string(answer.record[FBINFO_BITS_PER_PIXEL]) + " bits a pixel, not 16";
  else if (!holds_all_lines(answer.record))
    error = "the screen's memory ends before its last line";
  else
    fb_init();
  return error.empty();
}

} // namespace dravik::ctl
