// A malloc() that returns one block of guarded memory. Include it in one file of a program: it replaces that
// of the C library, except under a sanitizer, which has its own; AddressSanitizer guards all blocks.
#pragma once

#include "support/guarded_memory.hpp"

#include <cstddef>

namespace dravik::test {

/// The size that is guarded; 0 for none.
inline size_t guarded_size = 0;

/// One block at a time, at the end of its memory; its contents stay there when it is freed.
class guarded_block {
public:
  void *allocate(size_t size) noexcept {
    if (is_used_ || size > memory_.all().size())
      return nullptr;
    is_used_ = true;
    return memory_.last(size).data();
  }
  void release() noexcept { is_used_ = false; }
  bool contains(const void *address) const noexcept { return memory_.contains(address); }

private:
  guarded_memory memory_{size_t{1} << 16};
  bool is_used_ = false;
};

/// Null until the first block: programs allocate before their constructors run.
inline guarded_block *current_guarded_block = nullptr;

inline void *allocate_guarded(size_t size) noexcept {
  if (size == 0 || size != guarded_size)
    return nullptr;
  static guarded_block only;
  current_guarded_block = &only;
  return only.allocate(size);
}

#ifdef SANITIZED

inline bool is_guarded(const void *) noexcept {
  return true;
}

} // namespace dravik::test

#else

inline bool is_guarded(const void *address) noexcept {
  return current_guarded_block != nullptr && current_guarded_block->contains(address);
}

} // namespace dravik::test

// The C library's own, by their second names: dlsym() itself allocates, and frees after a failed search.
extern "C" void *__libc_malloc(size_t size) noexcept;
extern "C" void __libc_free(void *block) noexcept;

extern "C" void *malloc(size_t size) noexcept {
  void *const block = dravik::test::allocate_guarded(size);
  return block != nullptr ? block : __libc_malloc(size);
}

extern "C" void free(void *block) noexcept {
  if (dravik::test::is_guarded(block))
    dravik::test::current_guarded_block->release();
  else
    __libc_free(block);
}

#endif
