// The calls that choose names of files and directories, which they write to the caller's pattern: those
// below /tmp are created on the board. So are the unnamed files of tmpfile(), which the C library
// creates without an interposed call.

#include "preload/next.hpp"
#include "preload/path_map.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <unistd.h>

namespace dravik::sim {
namespace {

constexpr size_t chosen_characters = 6;

/// Call `make` with a pattern in the board's directory, and copy the chosen name to the caller's.
template <typename Make> auto make_by_pattern(char *pattern, int suffix_length, Make make) noexcept {
  const board_path mapped{pattern};
  if (mapped.kind() == file_kind::none)
    return make(pattern);
  char text[longest_path];
  const size_t length = std::min(std::strlen(mapped), sizeof text - 1);
  *std::copy_n(static_cast<const char *>(mapped), length, text) = '\0';
  const auto made = make(text);
  const size_t changed = std::min(chosen_characters + static_cast<size_t>(std::max(suffix_length, 0)),
                                  std::min(length, std::strlen(pattern)));
  std::copy_n(text + length - changed, changed, pattern + std::strlen(pattern) - changed);
  return made;
}

std::FILE *make_unnamed() noexcept {
  char pattern[] = "/tmp/tmpfXXXXXX";
  const int file = ::mkstemp(pattern); // by the definition below
  if (file < 0)
    return nullptr;
  ::unlink(pattern);
  std::FILE *stream = ::fdopen(file, "w+");
  if (stream == nullptr)
    ::close(file);
  return stream;
}

} // namespace
} // namespace dravik::sim

using dravik::sim::board_directory;
using dravik::sim::make_by_pattern;
using dravik::sim::make_unnamed;

#define SIM_BY_PATTERN(name, parameters, suffix_length, arguments)                                           \
  SIM_DEFINE(int, name, parameters) {                                                                        \
    return make_by_pattern(pattern, suffix_length, [=](char *text) { return SIM_NEXT(name) arguments; });    \
  }

SIM_BY_PATTERN(mkstemp, (char *pattern), 0, (text))
SIM_BY_PATTERN(mkstemp64, (char *pattern), 0, (text))
SIM_BY_PATTERN(mkostemp, (char *pattern, int flags), 0, (text, flags))
SIM_BY_PATTERN(mkostemp64, (char *pattern, int flags), 0, (text, flags))
SIM_BY_PATTERN(mkstemps, (char *pattern, int suffix), suffix, (text, suffix))
SIM_BY_PATTERN(mkstemps64, (char *pattern, int suffix), suffix, (text, suffix))
SIM_BY_PATTERN(mkostemps, (char *pattern, int suffix, int flags), suffix, (text, suffix, flags))
SIM_BY_PATTERN(mkostemps64, (char *pattern, int suffix, int flags), suffix, (text, suffix, flags))

SIM_DEFINE(char *, mkdtemp, (char *pattern)) {
  const bool is_made =
      make_by_pattern(pattern, 0, [](char *text) { return SIM_NEXT(mkdtemp)(text) != nullptr; });
  return is_made ? pattern : nullptr;
}

SIM_DEFINE(std::FILE *, tmpfile, ()) {
  return board_directory() != nullptr ? make_unnamed() : SIM_NEXT(tmpfile)();
}

SIM_DEFINE(std::FILE *, tmpfile64, ()) {
  return board_directory() != nullptr ? make_unnamed() : SIM_NEXT(tmpfile64)();
}
