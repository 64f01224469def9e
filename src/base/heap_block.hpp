// RAII owner of a block from malloc().
#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>

namespace dravik {

struct free_block {
  void operator()(void *block) const noexcept { std::free(block); }
};

using heap_block = std::unique_ptr<uint8_t, free_block>;

/// Allocate an uninitialised block of `size` bytes. Return an empty owner if memory is exhausted. Sizes are those of
/// files, which may exceed the address space.
inline heap_block allocate_block(uint64_t size) noexcept {
  return size <= SIZE_MAX ? heap_block{static_cast<uint8_t *>(std::malloc(static_cast<size_t>(size)))}
                          : heap_block{};
}

} // namespace dravik
