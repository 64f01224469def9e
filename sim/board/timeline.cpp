// Start time of a board's sound recording, by the monotonic clock.

#include "board/timeline.hpp"
#include "board/board_files.hpp"
#include "board/settings_text.hpp"

#include <cstdio>
#include <ctime>

namespace dravik::sim {
namespace {

constexpr const char *file_name = "sound/timeline";
constexpr int64_t second_ns = 1'000'000'000;

} // namespace

int64_t monotonic_ns() noexcept {
  timespec now;
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return now.tv_sec * second_ns + now.tv_nsec;
}

bool records_gaps() noexcept {
  return value_of(board_text{"board.conf"}, "sound_gaps") == "on";
}

int64_t timeline_begin_ns() noexcept {
  const board_text known{file_name};
  const uint32_t seconds = number_of(known, "begin_s", 0);
  if (seconds != 0)
    return seconds * second_ns + number_of(known, "begin_ns", 0);
  const int64_t now_ns = monotonic_ns();
  char text[64];
  const int length =
      std::snprintf(text, sizeof text, "begin_s=%u\nbegin_ns=%u\n", static_cast<unsigned>(now_ns / second_ns),
                    static_cast<unsigned>(now_ns % second_ns));
  make_board_directory("sound");
  write_board_text(file_name, {text, static_cast<size_t>(length)});
  return now_ns;
}

} // namespace dravik::sim
