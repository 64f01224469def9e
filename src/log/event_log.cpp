// Event log: one stamped line per call, appended to a file until it is full.

#include "base/mutex_lock.hpp"
#include "base/unique_file.hpp"
#include "dravik.h"

#include <array>
#include <cstdarg>
#include <ctime>
#include <pthread.h>
#include <sys/stat.h>
#include <sys/time.h>

extern "C" {
constinit dravik_timeval tlogst = {};
}

static_assert(sizeof(dravik_timeval) == 8, "applications read the origin as two words");

namespace dravik::log {
namespace {

constexpr const char *path = "/tmp/dravik.log";

// Initialised before any thread runs, so that several threads may log for the first time.
constinit pthread_mutex_t log_mutex = PTHREAD_MUTEX_INITIALIZER;
// 1: the banner is not written yet; 2: it is, and ::tlogst is valid.
constinit int log_state = 1;

bool is_full() noexcept {
  struct stat status;
  return ::stat(path, &status) == 0 && status.st_size >= DRAVIK_LOG_SIZE_MAX;
}

dravik_timeval now() noexcept {
  timeval time;
  ::gettimeofday(&time, nullptr);
  return {static_cast<int32_t>(time.tv_sec), static_cast<int32_t>(time.tv_usec)};
}

void write_banner(std::FILE *file) noexcept {
  const time_t seconds = tlogst.tv_sec;
  tm local = {};
  ::tzset();
  ::localtime_r(&seconds, &local);
  std::fprintf(file, "[    0.000000] s #### %04d/%02d/%02d %02d:%02d:%02d.%06lu ####\n", local.tm_year + 1900,
               local.tm_mon + 1, local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec,
               static_cast<unsigned long>(tlogst.tv_usec));
}

/// Return the time since the banner. It wraps if the clock was set back.
void write_stamp(std::FILE *file) noexcept {
  const dravik_timeval time = now();
  uint32_t seconds = static_cast<uint32_t>(time.tv_sec) - static_cast<uint32_t>(tlogst.tv_sec);
  int32_t microseconds = time.tv_usec - tlogst.tv_usec;
  if (microseconds < 0) {
    microseconds += 1000000;
    --seconds;
  }
  std::fprintf(file, "[%5lu.%06lu] ", static_cast<unsigned long>(seconds),
               static_cast<unsigned long>(microseconds));
}

/// Write the message and return its length, also if the disk is full: the stream then reports the failed
/// write of a long message instead.
DRAVIK_PRINTF(2, 0) int write_message(std::FILE *file, const char *format, va_list arguments) noexcept {
  va_list again;
  va_copy(again, arguments);
  int count = std::vfprintf(file, format, arguments);
  if (count < 0)
    count = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  return count;
}

DRAVIK_PRINTF(1, 0) int write_line(const char *format, va_list arguments) noexcept {
  const mutex_lock one_line_at_a_time{log_mutex};
  if (is_full())
    return 0;
  std::array<char, 1024> buffer;
  const unique_file file = open_file(path, "a");
  if (file == nullptr)
    return 0;
  std::setvbuf(file.get(), buffer.data(), _IOFBF, buffer.size());

  if (log_state == 1) {
    log_state = 2;
    tlogst = now();
    write_banner(file.get());
  }
  write_stamp(file.get());
  const int count = write_message(file.get(), format, arguments);
  std::fputc('\n', file.get());
  return count;
}

} // namespace
} // namespace dravik::log

extern "C" {

int log_printf(const char *format, ...) noexcept {
  va_list arguments;
  va_start(arguments, format);
  const int count = dravik::log::write_line(format, arguments);
  va_end(arguments);
  return count;
}

} // extern "C"
