// A file descriptor with one owner.

#include "base/unique_fd.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>
#include <utility>

namespace {

using dravik::unique_fd;

int any_descriptor() {
  return ::open("/", O_RDONLY | O_DIRECTORY);
}

bool is_open(int descriptor) {
  return ::fcntl(descriptor, F_GETFD) != -1;
}

TEST(UniqueFd, ClosesAtItsEnd) {
  const int descriptor = any_descriptor();
  {
    const unique_fd owner{descriptor};
    EXPECT_TRUE(owner);
    EXPECT_EQ(owner.get(), descriptor);
    EXPECT_TRUE(is_open(descriptor));
  }
  EXPECT_FALSE(is_open(descriptor));
}

TEST(UniqueFd, TreatsNegativeAsClosedAndZeroAsOpen) {
  EXPECT_FALSE(unique_fd{});
  EXPECT_FALSE(unique_fd{-1});
  unique_fd zero{0};
  EXPECT_TRUE(zero);
  EXPECT_EQ(zero.release(), 0);
}

TEST(UniqueFd, ReleasesDescriptorOpen) {
  unique_fd owner{any_descriptor()};
  const int descriptor = owner.release();
  EXPECT_FALSE(owner);
  EXPECT_TRUE(is_open(descriptor));
  ::close(descriptor);
}

TEST(UniqueFd, ClosesOldDescriptorOnReset) {
  const int first = any_descriptor(), second = any_descriptor();
  unique_fd owner{first};
  owner.reset(second);
  EXPECT_FALSE(is_open(first));
  EXPECT_TRUE(is_open(second));
}

TEST(UniqueFd, MovesAndClosesWhatItReplaces) {
  const int first = any_descriptor(), second = any_descriptor();
  unique_fd from{first}, into{second};
  into = std::move(from);
  EXPECT_EQ(into.get(), first);
  EXPECT_FALSE(from);
  EXPECT_FALSE(is_open(second));
  const unique_fd last{std::move(into)};
  EXPECT_EQ(last.get(), first);
  EXPECT_TRUE(is_open(first));
}

} // namespace
