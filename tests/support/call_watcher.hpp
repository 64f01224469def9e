// A fake of a device: the calls that reach it are forwarded to the test instead. Include it in one file of
// a program; its calls replace the C library's there.
//
//   struct watched_driver : call_watcher {
//     int open(const char *path, int flags, mode_t mode) override { ... }
//   } driver;
//   watcher = &driver;
#pragma once

#include "support/next_call.hpp"

#include <cstdarg>
#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace dravik::test {

/// Forward every call to the C library; a fake overrides the calls that it watches.
class call_watcher {
public:
  call_watcher() = default;
  call_watcher(const call_watcher &) = default;
  call_watcher &operator=(const call_watcher &) = default;
  virtual ~call_watcher() = default;

  virtual int open(const char *path, int flags, mode_t mode) {
    static const auto next = next_call<int(const char *, int, ...)>("open");
    return next(path, flags, mode);
  }
  virtual int ioctl(int descriptor, unsigned long request, void *argument) {
    static const auto next = next_call<int(int, unsigned long, ...)>("ioctl");
    return next(descriptor, request, argument);
  }
  virtual ssize_t read(int descriptor, void *data, size_t size) {
    static const auto next = next_call<ssize_t(int, void *, size_t)>("read");
    return next(descriptor, data, size);
  }
  virtual ssize_t write(int descriptor, const void *data, size_t size) {
    static const auto next = next_call<ssize_t(int, const void *, size_t)>("write");
    return next(descriptor, data, size);
  }
  virtual int close(int descriptor) {
    static const auto next = next_call<int(int)>("close");
    return next(descriptor);
  }
};

/// The fake in use, if any.
inline constinit call_watcher *watcher = nullptr;

/// Whose call it is: the fake's or, before any exists, the C library's.
inline call_watcher &watcher_in_charge() {
  static call_watcher none;
  return watcher != nullptr ? *watcher : none;
}

} // namespace dravik::test

extern "C" {

int open(const char *path, int flags, ...) {
  va_list rest;
  va_start(rest, flags);
  const mode_t mode = (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(rest, mode_t) : 0;
  va_end(rest);
  return dravik::test::watcher_in_charge().open(path, flags, mode);
}

int ioctl(int descriptor, unsigned long request, ...) noexcept {
  va_list rest;
  va_start(rest, request);
  void *const argument = va_arg(rest, void *);
  va_end(rest);
  return dravik::test::watcher_in_charge().ioctl(descriptor, request, argument);
}

ssize_t read(int descriptor, void *data, size_t size) {
  return dravik::test::watcher_in_charge().read(descriptor, data, size);
}

ssize_t write(int descriptor, const void *data, size_t size) {
  return dravik::test::watcher_in_charge().write(descriptor, data, size);
}

int close(int descriptor) {
  return dravik::test::watcher_in_charge().close(descriptor);
}

} // extern "C"
