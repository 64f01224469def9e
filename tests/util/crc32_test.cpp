// Checksums of blocks and files next to zlib's.

#include "dravik.h"
#include "support/board.hpp"
#include "support/bytes.hpp"
#include "support/descriptors.hpp"
#include "support/refused_malloc.hpp"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

// The length of a directory is a request for memory that AddressSanitizer must reject as malloc() does.
extern "C" const char *__asan_default_options(); // NOLINT(clang-diagnostic-reserved-identifier)
extern "C" const char *__asan_default_options() {
  return "allocator_may_return_null=1";
}

namespace dravik::test {
namespace {

constexpr uint32_t failed = DRAVIK_NONE;
constexpr const char *file_name = "/tmp/mmcblk0p1/file";

uint32_t zlib_crc(const bytes &block) {
  return static_cast<uint32_t>(::crc32_z(0, block.data(), block.size()));
}

uint32_t data_crc(const bytes &block) {
  return get_data_crc(block.data(), static_cast<uint32_t>(block.size()));
}

bytes bytes_of(std::string_view text) {
  return {text.begin(), text.end()};
}

TEST(DataCrc, ReturnsCheckValue) {
  EXPECT_EQ(get_data_crc("123456789", 9), 0xCBF43926U);
}

TEST(DataCrc, ReturnsTableForSingleBytes) {
  for (uint32_t byte = 0; byte < 256; ++byte)
    EXPECT_EQ(data_crc({static_cast<uint8_t>(byte)}), zlib_crc({static_cast<uint8_t>(byte)})) << byte;
}

TEST(DataCrc, HandlesEveryLengthUpTo100AtEveryAlignment) {
  std::mt19937 random(20); // NOLINT(cert-msc51-cpp): the same bytes every time
  const bytes block = random_bytes(random, 108);
  for (size_t start = 0; start < 8; ++start)
    for (uint32_t length = 0; length <= 100; ++length)
      EXPECT_EQ(get_data_crc(block.data() + start, length), ::crc32(0, block.data() + start, length))
          << length << " bytes from " << start;
}

TEST(DataCrc, IgnoresBytesAroundBlock) {
  bytes block(64, 0x5A);
  const uint32_t before = get_data_crc(block.data() + 13, 21);
  block[12] ^= 0xFF;
  block[34] ^= 0xFF;
  EXPECT_EQ(get_data_crc(block.data() + 13, 21), before);
  block[33] ^= 1;
  EXPECT_NE(get_data_crc(block.data() + 13, 21), before);
}

TEST(DataCrc, RunsOfZerosAndOnesDifferByLength) {
  for (const uint8_t byte : {uint8_t{0}, uint8_t{0xFF}})
    for (const size_t length : {1U, 3U, 4U, 5U, 4096U, 65537U})
      EXPECT_EQ(data_crc(bytes(length, byte)), zlib_crc(bytes(length, byte))) << length;
}

TEST(DataCrc, HandlesSeveralMebibytes) {
  std::mt19937 random(21); // NOLINT(cert-msc51-cpp)
  const bytes block = random_bytes(random, (size_t{5} << 20) + 3);
  EXPECT_EQ(data_crc(block), zlib_crc(block));
}

TEST(DataCrc, ReturnsZeroForLengthZero) {
  EXPECT_EQ(get_data_crc("x", 0), 0U);
  EXPECT_EQ(get_data_crc(nullptr, 0), 0U);
}

TEST(DataCrc, ReturnsZeroForNegativeLengthsWithoutReading) {
  for (const uint32_t length : {0x80000000U, 0x80000001U, 0xFFFFFFF7U, 0xFFFFFFFFU})
    EXPECT_EQ(get_data_crc(nullptr, length), 0U) << length;
}

class FileCrc : public testing::Test {
protected:
  board board_;

  uint32_t crc_of(const bytes &content) const {
    write_file(board_.path(file_name), content);
    return get_file_crc(file_name);
  }
};

TEST_F(FileCrc, ReturnsCheckValue) {
  EXPECT_EQ(crc_of(bytes_of("123456789")), 0xCBF43926U);
}

TEST_F(FileCrc, IsThatOfTheContents) {
  std::mt19937 random(22); // NOLINT(cert-msc51-cpp)
  for (const size_t length : {1U, 7U, 8U, 9U, 4095U, 4096U, 4097U, 1U << 20}) {
    const bytes content = random_bytes(random, length);
    EXPECT_EQ(crc_of(content), zlib_crc(content)) << length;
  }
}

TEST_F(FileCrc, ReadsContentsByteForByte) {
  const bytes content = bytes_of(std::string_view{"a\r\n\0\x1A\n\xFF", 7});
  EXPECT_EQ(crc_of(content), zlib_crc(content));
}

TEST_F(FileCrc, ReadsLargeFile) {
  write_file(board_.path(file_name), bytes_of("start"));
  constexpr size_t size = (size_t{48} << 20) + 1;
  ASSERT_EQ(::truncate(board_.path(file_name).c_str(), size), 0);
  bytes content = bytes_of("start");
  content.resize(size);
  EXPECT_EQ(get_file_crc(file_name), zlib_crc(content));
}

TEST_F(FileCrc, ReturnsZeroForEmptyFile) {
  EXPECT_EQ(crc_of({}), 0U);
}

TEST_F(FileCrc, FailsForMissingFile) {
  EXPECT_EQ(get_file_crc("/tmp/mmcblk0p1/missing"), failed);
  EXPECT_EQ(get_file_crc(""), failed);
}

TEST_F(FileCrc, FailsIfFileMayNotBeOpened) {
  crc_of(bytes_of("content"));
  board_.set_fault("open", file_name, "EACCES");
  EXPECT_EQ(get_file_crc(file_name), failed);
}

TEST_F(FileCrc, FailsForDirectory) {
  EXPECT_EQ(get_file_crc("/tmp/mmcblk0p1"), failed);
}

TEST_F(FileCrc, FailsWithoutMemory) {
  const bytes content(123457, 'm');
  const uint32_t crc = crc_of(content);
  EXPECT_EQ(crc, zlib_crc(content));
  refused_size = content.size();
  const uint32_t without_memory = get_file_crc(file_name);
  refused_size = 0;
  EXPECT_EQ(without_memory, failed);
  EXPECT_EQ(get_file_crc(file_name), crc);
}

TEST_F(FileCrc, ReturnsFailureValueAsChecksumToo) {
  EXPECT_EQ(zlib_crc(bytes(4, 0xFF)), failed);
  EXPECT_EQ(crc_of(bytes(4, 0xFF)), failed);
}

TEST_F(FileCrc, LeavesNoDescriptorOpen) {
  crc_of(bytes_of("content"));
  const size_t before = open_descriptors();
  get_file_crc(file_name);
  get_file_crc("/tmp/mmcblk0p1/missing");
  get_file_crc("/tmp/mmcblk0p1");
  refused_size = 7;
  get_file_crc(file_name);
  refused_size = 0;
  EXPECT_EQ(open_descriptors(), before);
}

} // namespace
} // namespace dravik::test
