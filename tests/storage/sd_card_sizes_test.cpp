// The sizes of the card and its file system, to the bit.

#include "dravik.h"
#include "support/board.hpp"
#include "support/descriptors.hpp"
#include "support/emulation.hpp"
#include "support/next_call.hpp"
#include "support/random.hpp"

#include <cerrno>
#include <cstring>
#include <gtest/gtest.h>
#include <optional>
#include <string>
#include <sys/vfs.h>
#include <vector>

namespace {

/// The faked result of statfs().
struct reported_file_system {
  long block_size;
  uint64_t blocks, free, available;
};
std::optional<reported_file_system> reported;
bool statfs_fails = false;
std::vector<std::string> asked_paths;

} // namespace

extern "C" int statfs(const char *path, struct statfs *status) noexcept {
  asked_paths.emplace_back(path);
  if (statfs_fails) {
    errno = EIO;
    return -1;
  }
  if (!reported) {
    static const auto next = dravik::test::next_call<int(const char *, struct statfs *)>("statfs");
    return next(path, status);
  }
  std::memset(status, 0xA5, sizeof *status);
  status->f_bsize = reported->block_size;
  status->f_blocks = reported->blocks;
  status->f_bfree = reported->free;
  status->f_bavail = reported->available;
  return 0;
}

namespace dravik::test {
namespace {

// -------------------------------------------------------------------------------------------------- raw size

class RawSize : public testing::Test {
protected:
  board board_;

  /// The MiB returned and the sectors stored.
  std::pair<int32_t, uint32_t> of(std::string_view text) const {
    board_.write("sys/block/mmcblk0/size", text);
    return size();
  }
  static std::pair<int32_t, uint32_t> size() {
    uint32_t sectors = 0xDEADBEEF;
    const int32_t mebibytes = sd_card_get_raw_size(&sectors);
    return {mebibytes, sectors};
  }
};

using raw_size = std::pair<int32_t, uint32_t>;

TEST_F(RawSize, ReportsEightGigabyteCard) {
  EXPECT_EQ(of("15523840\n"), raw_size(7580, 15523840));
}

TEST_F(RawSize, TruncatesPartsOfMebibyte) {
  EXPECT_EQ(of("2047\n"), raw_size(0, 2047));
  EXPECT_EQ(of("2048\n"), raw_size(1, 2048));
  EXPECT_EQ(of("4095\n"), raw_size(1, 4095));
}

TEST_F(RawSize, ReturnsZeroForMissingFile) {
  EXPECT_EQ(size(), raw_size(0, 0));
}

TEST_F(RawSize, ReturnsZeroIfFileMayNotBeOpened) {
  board_.write("sys/block/mmcblk0/size", "15523840\n");
  board_.set_fault("open", "/sys/block/mmcblk0/size", "EACCES");
  EXPECT_EQ(size(), raw_size(0, 0));
}

TEST_F(RawSize, ReturnsZeroForOtherText) {
  EXPECT_EQ(of(""), raw_size(0, 0));
  EXPECT_EQ(of("\n"), raw_size(0, 0));
  EXPECT_EQ(of("\n4096\n"), raw_size(0, 0));
  EXPECT_EQ(of("size"), raw_size(0, 0));
  EXPECT_EQ(of("0x1000"), raw_size(0, 0));
}

TEST_F(RawSize, StopsAtFirstOtherCharacter) {
  EXPECT_EQ(of("4096 sectors"), raw_size(2, 4096));
  EXPECT_EQ(of("  4096"), raw_size(2, 4096));
  EXPECT_EQ(of("4096\n8192\n"), raw_size(2, 4096));
  EXPECT_EQ(of("010000"), raw_size(4, 10000));
}

TEST_F(RawSize, UsesThirtyCharacters) {
  EXPECT_EQ(of(std::string(25, '0') + "20480\n"), raw_size(10, 20480));
  EXPECT_EQ(of(std::string(26, '0') + "20480\n"), raw_size(1, 2048));
}

TEST_F(RawSize, ReturnsSignedMebibytes) {
  EXPECT_EQ(of("2147483647"), raw_size(1048575, 0x7FFFFFFF));
  EXPECT_EQ(of("-1"), raw_size(-1, 0xFFFFFFFF));
  EXPECT_EQ(of("-2049"), raw_size(-2, 0xFFFFF7FF));
  EXPECT_EQ(of("2147483648"), raw_size(-1048576, 0x80000000));
  EXPECT_EQ(of("4294967295"), raw_size(-1, 0xFFFFFFFF));
  EXPECT_EQ(of("4294971392"), raw_size(2, 4096));
}

TEST_F(RawSize, LeavesNoDescriptorOpen) {
  const size_t before = open_descriptors();
  of("4096");
  EXPECT_EQ(open_descriptors(), before);
}

// ----------------------------------------------------------------------------------------------- file system

class FileSystemSize : public testing::Test {
protected:
  ~FileSystemSize() override {
    reported.reset();
    statfs_fails = false;
    asked_paths.clear();
  }
};

int32_t part_size(long block_size, uint64_t blocks) {
  reported = {block_size, blocks, 1, 2};
  return sd_card_get_part_size();
}

int32_t free_space(long block_size, uint64_t available) {
  reported = {block_size, 1, 2, available};
  return sd_card_get_free_space();
}

/// The 32 low bits of a number, signed.
int64_t wrapped(int64_t number) {
  const int64_t low = number & 0xFFFFFFFF;
  return low < 0x80000000 ? low : low - 0x100000000;
}

int64_t floor_divided(int64_t number, int64_t by) {
  return number >= 0 ? number / by : -((-number + by - 1) / by);
}

int64_t model(long block_size, uint64_t blocks) {
  const int64_t units = floor_divided(wrapped(block_size), 256);
  return floor_divided(wrapped(wrapped(static_cast<int64_t>(blocks)) * units), 4096);
}

TEST_F(FileSystemSize, ReportsCard) {
  EXPECT_EQ(part_size(4096, 1940000), 7578); // 1940000 * 16 = 31040000, by 4096
  EXPECT_EQ(part_size(32768, 242496), 7578); // 242496 * 128 = 31039488
  EXPECT_EQ(part_size(512, 15523808), 7579); // 15523808 * 2 = 31047616; 7579.98 of them
  EXPECT_EQ(free_space(32768, 100), 3);      // 12800
}

TEST_F(FileSystemSize, TruncatesPartsOfMebibyte) {
  EXPECT_EQ(part_size(4096, 255), 0);
  EXPECT_EQ(part_size(4096, 256), 1);
  EXPECT_EQ(part_size(4096, 511), 1);
  EXPECT_EQ(free_space(4096, 255), 0);
  EXPECT_EQ(free_space(4096, 256), 1);
}

TEST_F(FileSystemSize, CountsBlocksInUnitsOf256) {
  EXPECT_EQ(part_size(255, 1000000), 0);
  EXPECT_EQ(part_size(256, 1000000), 244);
  EXPECT_EQ(part_size(511, 1000000), 244);
  EXPECT_EQ(part_size(0, 1000000), 0);
}

TEST_F(FileSystemSize, ReportsHundredsOfGibibytes) {
  EXPECT_EQ(part_size(32768, 16000000), 500000); // 2048000000 units
  EXPECT_EQ(part_size(32768, 16777215), 524287); // 2147483520 units: the last that fit
}

TEST_F(FileSystemSize, WrapsLargerSizes) {
  EXPECT_EQ(part_size(32768, 16777216), -524288); // 2147483648 units are -2147483648
  EXPECT_EQ(part_size(32768, 33554431), -1);      // 4294967168 units are -128
  EXPECT_EQ(part_size(32768, 33554432), 0);
  EXPECT_EQ(part_size(32768, 33554432 + 32), 1);
  EXPECT_EQ(part_size(4096, 0x100000100), 1); // of the block count the 32 low bits
  EXPECT_EQ(free_space(32768, 16777216), -524288);
}

TEST_F(FileSystemSize, AgreesWithModelOfRandomSizes) {
  seeded_random random;
  for (int i = 0; i < rounds(5000); ++i) {
    const long block_size =
        random.one_in(2) ? 512L << random.between(0, 7) : static_cast<long>(random.word());
    const uint64_t blocks = uint64_t{random.word()} >> random.between(0, 20);
    ASSERT_EQ(part_size(block_size, blocks), model(block_size, blocks)) << block_size << " * " << blocks;
    ASSERT_EQ(free_space(block_size, blocks), model(block_size, blocks)) << block_size << " * " << blocks;
  }
}

TEST_F(FileSystemSize, IsThatOfTheMountPoint) {
  part_size(4096, 256);
  free_space(4096, 256);
  EXPECT_EQ(asked_paths, (std::vector<std::string>{"/tmp/mmcblk0p1", "/tmp/mmcblk0p1"}));
}

TEST_F(FileSystemSize, ReportsHostBelowMountPointWithoutCard) {
  const board on;
  struct statfs host;
  ASSERT_EQ(statfs(on.path("tmp/mmcblk0p1").c_str(), &host), 0);
  EXPECT_EQ(sd_card_get_part_size(), model(static_cast<long>(host.f_bsize), host.f_blocks));
}

TEST_F(FileSystemSize, ReturnsZeroIfUnavailable) {
  statfs_fails = true;
  EXPECT_EQ(sd_card_get_part_size(), 0);
  EXPECT_EQ(sd_card_get_free_space(), 0);
}

} // namespace
} // namespace dravik::test
