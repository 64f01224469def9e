// A mapped piece of a file with one owner.

#include "base/mapping.hpp"
#include "temporary_file.hpp"

#include <gtest/gtest.h>
#include <utility>

namespace {

using dravik::mapping;

bool is_mapped(uint8_t *address) {
  return ::msync(address, 1, MS_ASYNC) == 0;
}

TEST(Mapping, ShowsTheFileAndUnmapsAtItsEnd) {
  const temporary_file file{"abcde"};
  uint8_t *address;
  {
    const mapping mapped{file.descriptor(), 5, PROT_READ | PROT_WRITE};
    ASSERT_TRUE(mapped);
    ASSERT_EQ(mapped.bytes().size(), 5U);
    address = mapped.bytes().data();
    EXPECT_EQ(mapped.bytes()[4], 'e');
    mapped.bytes()[0] = 'X';
  }
  EXPECT_FALSE(is_mapped(address));
  char first = 0;
  EXPECT_EQ(::pread(file.descriptor(), &first, 1, 0), 1);
  EXPECT_EQ(first, 'X');
}

TEST(Mapping, IsEmptyWhenItFails) {
  const mapping failed{-1, 5, PROT_READ};
  EXPECT_FALSE(failed);
  EXPECT_TRUE(failed.bytes().empty());
  EXPECT_FALSE(mapping{});
}

TEST(Mapping, HasOneOwner) {
  const temporary_file file{"abcde"};
  mapping first{file.descriptor(), 5, PROT_READ};
  uint8_t *const address = first.bytes().data();
  mapping second{std::move(first)};
  EXPECT_FALSE(first);
  EXPECT_EQ(second.bytes().data(), address);
  mapping third;
  third = std::move(second);
  EXPECT_EQ(third.bytes().data(), address);
  EXPECT_TRUE(is_mapped(address));
}

} // namespace
