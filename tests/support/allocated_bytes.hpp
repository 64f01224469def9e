// The bytes in use on the heap.
#pragma once

#include <cstddef>
#include <malloc.h>

extern "C" [[gnu::weak]] size_t __sanitizer_get_current_allocated_bytes();

namespace dravik::test {

inline size_t allocated_bytes() {
  if (__sanitizer_get_current_allocated_bytes != nullptr)
    return __sanitizer_get_current_allocated_bytes();
  const struct mallinfo2 use = ::mallinfo2();
  return use.uordblks + use.hblkhd;
}

} // namespace dravik::test
