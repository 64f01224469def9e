// One line in the event log.

#include "harness.hpp"
#include "scratch_folder.hpp"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <unistd.h>

namespace bench {
namespace {

constexpr size_t lines_a_pass = 500; ///< far from where the log is full

/// Done by both reference implementations before they write.
bool has_room(const char *path) {
  struct stat status;
  return ::stat(path, &status) != 0 || status.st_size < DRAVIK_LOG_SIZE_MAX;
}

void append_by_stdio(const char *path, int number) {
  if (!has_room(path))
    return;
  timeval now;
  ::gettimeofday(&now, nullptr);
  std::FILE *file = std::fopen(path, "a");
  std::fprintf(file, "[%5lu.%06lu] ", static_cast<unsigned long>(now.tv_sec % 100000),
               static_cast<unsigned long>(now.tv_usec));
  std::fprintf(file, "card: %d files, %s\n", number, "enough room");
  std::fclose(file);
}

void append_known_line(const char *path) {
  static const char line[] = "[   12.345678] card: 123 files, enough room\n";
  if (!has_room(path))
    return;
  timeval now;
  ::gettimeofday(&now, nullptr);
  benchmark::DoNotOptimize(now);
  const int fd = ::open(path, O_WRONLY | O_CREAT | O_APPEND, 0666);
  if (::write(fd, line, sizeof line - 1) < 0)
    std::perror(path);
  ::close(fd);
}

} // namespace

void add_log() {
  static const std::string log_path = scratch().file("dravik.log"), peer_path = scratch().file("peer.log");
  std::vector<int> numbers(lines_a_pass, 123);
  row<int>("log line", {1.05, 1.25}, numbers)
      .before_each_pass([] {
        ::unlink(log_path.c_str());
        ::unlink(peer_path.c_str());
      })
      .library([](int number) { log_printf("card: %d files, %s", number, "enough room"); })
      .peer("stdio", [](int number) { append_by_stdio(peer_path.c_str(), number); })
      .floor([](int) { append_known_line(peer_path.c_str()); });
}

} // namespace bench
