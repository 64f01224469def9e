// A block from malloc() with one owner.

#include "base/heap_block.hpp"

#include <cstring>
#include <gtest/gtest.h>
#include <utility>

// AddressSanitizer would end the program instead of giving null.
extern "C" const char *__asan_default_options(); // NOLINT(clang-diagnostic-reserved-identifier)
extern "C" const char *__asan_default_options() {
  return "allocator_may_return_null=1";
}

namespace {

using dravik::allocate_block;
using dravik::heap_block;

TEST(HeapBlock, HasRequestedSize) {
  const heap_block block = allocate_block(1000);
  ASSERT_NE(block, nullptr);
  std::memset(block.get(), 0x5A, 1000);
  EXPECT_EQ(block.get()[999], 0x5A);
}

TEST(HeapBlock, IsEmptyWhenMemoryIsShort) {
  volatile size_t size = SIZE_MAX - 4096;
  EXPECT_EQ(allocate_block(size), nullptr);
}

TEST(HeapBlock, IsEmptyForAFileBeyondTheAddressSpace) {
  volatile uint64_t size = UINT64_MAX - 0xFFFF;
  EXPECT_EQ(allocate_block(size), nullptr);
}

TEST(HeapBlock, ReleasesBlockForFree) {
  uint8_t *released = nullptr;
  {
    heap_block block = allocate_block(1000);
    std::memset(block.get(), 0x5A, 1000);
    released = block.release();
    EXPECT_EQ(block, nullptr);
  }
  EXPECT_EQ(released[999], 0x5A);
  std::free(released); // a second free() of a block that its owner has freed terminates the program
}

TEST(HeapBlock, HasOneOwner) {
  heap_block first = allocate_block(10);
  uint8_t *const address = first.get();
  const heap_block second = std::move(first);
  EXPECT_EQ(second.get(), address);
  EXPECT_EQ(first, nullptr);
}

} // namespace
