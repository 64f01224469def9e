// A malloc() that rejects one size. Include it in one file of a program: it takes the C library's
// place there.
#pragma once

#include <cstddef>
#include <dlfcn.h>

namespace dravik::test {

/// The size that is rejected; 0 for none. Odd sizes are not used elsewhere.
inline size_t refused_size = 0;
/// So many blocks of that size are specified all the same.
inline size_t given_before_refusing = 0;

inline bool is_refused(size_t size) noexcept {
  if (size == 0 || size != refused_size)
    return false;
  if (given_before_refusing == 0)
    return true;
  --given_before_refusing;
  return false;
}

} // namespace dravik::test

extern "C" void *malloc(size_t size) noexcept {
  if (dravik::test::is_refused(size))
    return nullptr;
  static void *(*next)(size_t) = nullptr;
  if (next == nullptr)
    next = reinterpret_cast<void *(*)(size_t)>(::dlsym(RTLD_NEXT, "malloc"));
  return next(size);
}
