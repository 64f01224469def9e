// Little-endian numbers from bytes.

#include "base/byte_reader.hpp"

#include <array>
#include <gtest/gtest.h>

namespace {

using dravik::byte_reader;

constexpr std::array<uint8_t, 8> bytes = {0x01, 0x82, 0x03, 0x84, 0xF5, 0x06, 0x07, 0xF8};

static_assert(byte_reader{bytes}.u32le() == 0x84038201, "works while compiling, too");

TEST(ByteReader, ReadsNumbersInTheirOrder) {
  byte_reader reader{bytes};
  EXPECT_EQ(reader.u8(), 0x01);
  EXPECT_EQ(reader.u16le(), 0x0382);
  EXPECT_EQ(reader.u32le(), 0x0706F584U);
  EXPECT_EQ(reader.remaining(), 1U);
  EXPECT_EQ(reader.u8(), 0xF8);
  EXPECT_EQ(reader.remaining(), 0U);
  EXPECT_TRUE(reader.ok());
}

TEST(ByteReader, ReadsTopBitAsUnsigned) {
  byte_reader reader{bytes};
  reader.seek(4);
  EXPECT_EQ(reader.u32le(), 0xF80706F5U);
}

TEST(ByteReader, SeeksForthAndBack) {
  byte_reader reader{bytes};
  reader.seek(6);
  EXPECT_EQ(reader.remaining(), 2U);
  EXPECT_EQ(reader.u16le(), 0xF807);
  reader.seek(1);
  EXPECT_EQ(reader.u8(), 0x82);
}

TEST(ByteReader, SeeksToEnd) {
  byte_reader reader{bytes};
  reader.seek(8);
  EXPECT_TRUE(reader.ok());
  EXPECT_EQ(reader.remaining(), 0U);
}

TEST(ByteReader, FailsAfterSeekBeyondEnd) {
  for (const uint64_t beyond : {uint64_t{9}, uint64_t{1} << 32, UINT64_MAX}) {
    byte_reader reader{bytes};
    reader.seek(beyond);
    EXPECT_FALSE(reader.ok()) << beyond;
    EXPECT_EQ(reader.remaining(), 0U);
  }
}

TEST(ByteReader, ReturnsZeroAndFailsAcrossEnd) {
  byte_reader reader{bytes};
  reader.seek(5);
  EXPECT_EQ(reader.u32le(), 0U);
  EXPECT_FALSE(reader.ok());
}

TEST(ByteReader, StaysSpoiled) {
  byte_reader reader{bytes};
  reader.seek(7);
  EXPECT_EQ(reader.u16le(), 0);
  EXPECT_EQ(reader.u8(), 0) << "though one byte is left";
  reader.seek(0);
  EXPECT_EQ(reader.u8(), 0);
  EXPECT_FALSE(reader.ok());
}

TEST(ByteReader, FailsWithoutBytes) {
  byte_reader reader{{}};
  EXPECT_TRUE(reader.ok());
  EXPECT_EQ(reader.u8(), 0);
  EXPECT_FALSE(reader.ok());
}

} // namespace
