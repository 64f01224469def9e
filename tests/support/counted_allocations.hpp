// Count what a call allocates. Include it in one file of a program: its malloc(), calloc() and realloc()
// replace those of the C library.
#pragma once

#include "support/next_call.hpp"

#include <cstddef>
#include <ostream>

namespace dravik::test {

struct allocations {
  size_t count = 0, bytes = 0;

  bool operator==(const allocations &) const = default;
};

inline std::ostream &operator<<(std::ostream &to, const allocations &made) {
  return to << made.count << " allocations of " << made.bytes << " bytes";
}

inline constinit allocations all_allocations = {};

inline void count_allocation(size_t size) noexcept {
  ++all_allocations.count;
  all_allocations.bytes += size;
}

/// What a call allocates, whether it is freed again or not.
template <class Call> allocations allocations_of(Call call) {
  const allocations before = all_allocations;
  call();
  return {all_allocations.count - before.count, all_allocations.bytes - before.bytes};
}

} // namespace dravik::test

extern "C" {

void *malloc(size_t size) noexcept {
  static void *(*next)(size_t) = nullptr;
  if (next == nullptr)
    next = dravik::test::next_call<void *(size_t)>("malloc");
  dravik::test::count_allocation(size);
  return next(size);
}

void *calloc(size_t count, size_t size) noexcept {
  static void *(*next)(size_t, size_t) = nullptr;
  if (next == nullptr)
    next = dravik::test::next_call<void *(size_t, size_t)>("calloc");
  dravik::test::count_allocation(count * size);
  return next(count, size);
}

void *realloc(void *block, size_t size) noexcept {
  static void *(*next)(void *, size_t) = nullptr;
  if (next == nullptr)
    next = dravik::test::next_call<void *(void *, size_t)>("realloc");
  dravik::test::count_allocation(size);
  return next(block, size);
}

} // extern "C"
