// The fixed paths of the device, led elsewhere.

#include "fixed_paths.hpp"

#include "dravik.h"
#include "scratch_folder.hpp"
#include "support/next_call.hpp"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace bench {
namespace {

struct led_path {
  const char *from;
  const char *to;
};

constinit led_path led_paths[] = {
    {"/tmp/dravik.log", nullptr},
    {"/tmp/mmcblk0p1/REC", nullptr},
    {"/dev/ttyS0", nullptr},
    {"/dev/i2c-0", nullptr},
};

const char *led(const char *path) {
  if (*path != '/')
    return path;
  for (const led_path &each : led_paths)
    if (std::strcmp(path, each.from) == 0)
      return each.to != nullptr ? each.to : "";
  return path;
}

/// Whether the library calls the program's definition of a name.
template <class Function> bool is_first_definition(const char *name, Function *ours) {
  return ::dlsym(RTLD_DEFAULT, name) == reinterpret_cast<void *>(ours);
}

} // namespace

void lead(const char *fixed_path, const std::string &place) {
  for (led_path &each : led_paths)
    if (std::strcmp(fixed_path, each.from) == 0) {
      each.to = ::strdup(place.c_str());
      return;
    }
  std::abort();
}

} // namespace bench

// The library's calls come to these by the loader's order of definitions.
extern "C" {

using bench::led;
using dravik::test::next_call;

std::FILE *fopen(const char *path, const char *mode) {
  static const auto next = next_call<std::FILE *(const char *, const char *)>("fopen");
  return next(led(path), mode);
}

int open(const char *path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  static const auto next = next_call<int(const char *, int, ...)>("open");
  return next(led(path), flags, mode);
}

int stat(const char *path, struct stat *status) noexcept {
  static const auto next = next_call<int(const char *, struct stat *)>("stat");
  return next(led(path), status);
}

int chdir(const char *path) noexcept {
  static const auto next = next_call<int(const char *)>("chdir");
  return next(led(path));
}

/// The fake of the accelerometer's bus accepts every address.
int ioctl(int descriptor, unsigned long request, ...) noexcept {
  va_list rest;
  va_start(rest, request);
  void *const argument = va_arg(rest, void *);
  va_end(rest);
  static const auto next = next_call<int(int, unsigned long, ...)>("ioctl");
  return request == I2C_SLAVE || request == I2C_TENBIT ? 0 : next(descriptor, request, argument);
}

} // extern "C"

void bench::lead_fixed_paths() {
  prefer_memory_for_scratch();
  const std::string log = scratch().file("dravik.log");
  lead("/tmp/dravik.log", log);
  if (is_first_definition("fopen", &::fopen) && is_first_definition("stat", &::stat)) {
    log_printf("The log is led elsewhere.");
    if (std::filesystem::exists(log))
      return;
  }
  std::fputs("the library's fixed paths are not led elsewhere\n", stderr);
  std::exit(EXIT_FAILURE);
}
