// The C library's definition of a call that a test program interposes.
#pragma once

#include <dlfcn.h>
#include <string_view>

namespace dravik::test {

/// The C library's name of a call. On 32-bit machines its headers give calls another one, which the library and the
/// tests then define and use, where files may be large and times are those of 64 bits.
constexpr const char *c_library_name(const char *call) {
#ifdef __USE_TIME_BITS64
  constexpr const char *renamed[][2] = {
      {"clock_gettime", "__clock_gettime64"},
      {"fopen", "fopen64"},
      {"fstat", "__fstat64_time64"},
      {"gettimeofday", "__gettimeofday64"},
      {"ioctl", "__ioctl_time64"},
      {"mmap", "mmap64"},
      {"open", "open64"},
      {"stat", "__stat64_time64"},
      {"statfs", "statfs64"},
  };
  for (const auto &[plain, large] : renamed)
    if (std::string_view{plain} == call)
      return large;
#endif
  return call;
}

template <class Function> Function *next_call(const char *name) {
  return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, c_library_name(name)));
}

} // namespace dravik::test
