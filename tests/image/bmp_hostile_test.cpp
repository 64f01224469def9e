// Truncated and malformed BMP files: never a crash, never a pixel outside the image, and the pixels are
// those of a reader that reads row after row.

#include "image/bmp_stage.hpp"
#include "support/emulation.hpp"

namespace dravik::test {
namespace {

class BmpHostile : public bmp_stage {
protected:
  static bytes with_right_size(bytes content) {
    if (content.size() >= 6)
      put_u32(content, 2, static_cast<uint32_t>(content.size()));
    return content;
  }
};

TEST_F(BmpHostile, DrawsFilesCutAtEveryByte) {
  for (const uint16_t bits : drawn_depths) {
    const bytes whole = random_picture(bits, 13, 7).file();
    const size_t first = whole.size() > 400 ? 1060 : 0; // long palettes are cut in a test of their own
    for (size_t length = first; length <= whole.size(); ++length) {
      SCOPED_TRACE(testing::Message() << bits << " bits, " << length << " bytes");
      draw_and_compare(with_right_size(first_bytes(whole, length)), 3, 4, static_cast<uint32_t>(length % 3));
    }
  }
}

TEST_F(BmpHostile, DrawsFilesCutAtEveryByteInEveryModeOf16Bits) {
  for (const uint32_t mode : {0U, 1U, 2U}) {
    const bytes whole = random_picture(16, 5, 6).file();
    for (size_t length = 50; length <= whole.size(); ++length) {
      SCOPED_TRACE(testing::Message() << "mode " << mode << ", " << length << " bytes");
      draw_and_compare(with_right_size(first_bytes(whole, length)), 3, 4, mode);
    }
  }
}

TEST_F(BmpHostile, DrawsFileWithCutPalette) {
  const bytes whole = random_picture(8, 13, 7).file();
  for (size_t length = 54; length < 54 + 1024; length += 7) {
    SCOPED_TRACE(length);
    draw_and_compare(with_right_size(first_bytes(whole, length)));
  }
}

TEST_F(BmpHostile, RejectsFileCutWithoutCorrectedSize) {
  const bytes whole = random_picture(24, 13, 7).file();
  for (size_t length = 6; length < whole.size(); ++length)
    EXPECT_EQ(draw_and_compare(first_bytes(whole, length)), -1);
}

TEST_F(BmpHostile, ReadsLongRowsOfShortFiles) {
  use_screen({.xres = 2048, .yres = 40});
  for (const uint16_t bits : drawn_depths)
    for (int round = 0; round < 12; ++round) {
      bmp_maker picture = random_picture(bits, random_in(random_, 1500, 2048), 40);
      picture.pixels.resize(random_in(random_, 0, static_cast<uint32_t>(picture.pixels.size())));
      SCOPED_TRACE(testing::Message() << bits << " bits, round " << round);
      draw_and_compare(picture.file(), 0, 0, random_in(random_, 0, 2));
    }
}

TEST_F(BmpHostile, RepeatsRowBufferBeyondFile) {
  for (const uint16_t bits : drawn_depths)
    for (const uint32_t offset : {200000U, 0x7FFFFFFFU}) {
      bmp_maker picture = random_picture(bits, 9, 5);
      picture.data_offset = offset;
      draw_and_compare(picture.file(), 1, 1, 1);
    }
}

TEST_F(BmpHostile, HandlesRandomHeaderFields) {
  constexpr size_t fields[] = {0, 2, 6, 10, 14, 18, 22, 26, 28, 30, 34, 38, 42, 46, 50};
  int drawn = 0;
  for (int round = 0; round < rounds(1500); ++round) {
    SCOPED_TRACE(round);
    const uint16_t bits = drawn_depths[random_in(random_, 0, 5)];
    bytes content = random_picture(bits, random_in(random_, 0, 20), random_in(random_, 0, 9)).file();
    for (uint32_t changes = random_in(random_, 1, 3); changes > 0; --changes)
      put_u32(content, fields[random_in(random_, 0, std::size(fields) - 1)],
              static_cast<uint32_t>(random_()) >> random_in(random_, 0, 31));
    if (round % 8 != 0)
      content = with_right_size(content);
    if (round % 4 != 0)
      content[0] = 'B', content[1] = 'M';
    drawn += draw_and_compare(content, random_in(random_, 0, 30), random_in(random_, 0, 30),
                              random_in(random_, 0, 2), static_cast<uint8_t>(random_in(random_, 0, 3))) == 0;
  }
  EXPECT_GT(drawn, rounds(1500) / 6);
}

TEST_F(BmpHostile, HandlesRandomBytesAfterSignature) {
  for (int round = 0; round < rounds(500); ++round) {
    bytes content = random_bytes(random_, random_in(random_, 2, 300));
    content[0] = 'B', content[1] = 'M';
    draw_and_compare(with_right_size(content), random_in(random_, 0, 90), random_in(random_, 0, 60));
  }
}

} // namespace
} // namespace dravik::test
