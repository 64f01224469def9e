// Damaged and malicious fonts: whatever FreeType returns for them, nothing but the plane and the
// screen is written, and it is written soon. The memory around the plane and the screen is guarded. An
// endless call is ended by the alarm, and a font that ends the program stays in the temporary directory.

#include "support/emulation.hpp"
#include "text/font_maker.hpp"
#include "text/truetype_stage.hpp"

#include <unistd.h>

namespace dravik::test {
namespace {

constexpr unsigned patience_s = 300;

class TrueTypeHostileFont : public testing::Test {
protected:
  ~TrueTypeHostileFont() override { ::alarm(0); }

  /// Draw with an untrusted font and compare with the model. Return whether something was drawn.
  bool draw_and_compare(const bytes &font, const std::u16string &text, uint32_t size = 16) {
    const font_file file(font);
    ::alarm(patience_s);
    EXPECT_TRUE(stage.agree({.text = text, .font_size = size, .font = file.path(), .align = align_++ % 9}));
    ::alarm(0);
    return stage.model().pixels > 0;
  }

  text_stage stage;

private:
  int32_t align_ = 0;
};

/// Replace up to eight bytes, half of the time in the directory and the first tables alone.
bytes damaged(const bytes &font, std::mt19937 &random) {
  bytes made = font;
  const auto end = static_cast<uint32_t>(random_in(random, 0, 1) != 0 ? made.size() : 600);
  for (uint32_t flips = random_in(random, 1, 8); flips > 0; --flips)
    made[random_in(random, 0, end - 1)] = static_cast<uint8_t>(random());
  return made;
}

TEST_F(TrueTypeHostileFont, IsValidAsExcerpt) {
  EXPECT_TRUE(draw_and_compare(make_excerpt(read_file(sans), 60), u"2.ABP@"));
}

TEST_F(TrueTypeHostileFont, IsSafeWithChangedBytes) {
  constexpr uint32_t seed = 4711;
  std::mt19937 random(seed);
  const bytes font = make_excerpt(read_file(sans), 60);
  const int variants = rounds(300);
  int drawn = 0;
  for (int variant = 0; variant < variants; ++variant) {
    SCOPED_TRACE("seed " + std::to_string(seed) + ", variant " + std::to_string(variant));
    drawn += draw_and_compare(damaged(font, random), u"2.ABP@");
  }
  EXPECT_GT(drawn, variants / 10);
  EXPECT_LT(drawn, variants);
}

TEST_F(TrueTypeHostileFont, IsSafeIfCutAnywhere) {
  constexpr uint32_t seed = 815;
  std::mt19937 random(seed);
  const bytes font = make_excerpt(read_file(sans), 60);
  for (int variant = 0; variant < rounds(100); ++variant) {
    SCOPED_TRACE("seed " + std::to_string(seed) + ", variant " + std::to_string(variant));
    draw_and_compare(first_bytes(font, random_in(random, 0, static_cast<uint32_t>(font.size()) - 1)),
                     u"2.ABP@");
  }
}

TEST_F(TrueTypeHostileFont, IsSafeWithEveryHeaderByteChanged) {
  const bytes font = make_truetype(160, {{64, rectangle{0, 0, 40, 80}}, {64, rectangle{-10, -10, 50, 90}}});
  for (size_t at = 0; at < 300; at += stride<size_t>())
    for (const int value : {0x00, 0x7F, 0xFF}) {
      SCOPED_TRACE(testing::Message() << "byte " << at << " is " << value);
      bytes made = font;
      made[at] = static_cast<uint8_t>(value);
      draw_and_compare(made, u"AB A");
    }
}

TEST_F(TrueTypeHostileFont, IsSafeWithAbsurdAdvance) {
  const bytes font = make_truetype(16, {{65535, rectangle{0, 0, 16, 16}}});
  EXPECT_TRUE(draw_and_compare(font, u"A", 96));
  EXPECT_EQ(str_width, 10 + 65535 * 6827 / 64 / 16 + 1 - 10); // 96 points are 6827/64 pixels
  draw_and_compare(font, u"AA", 96);                          // the second one is too far away
}

TEST_F(TrueTypeHostileFont, IsSafeWithAbsurdAdvancesOf127Spaces) {
  const bytes font = make_truetype(16, {{65535}}, 65535);
  draw_and_compare(font, std::u16string(127, u' ') + u"A", 96);
  if (sizeof(FT_Pos) > 4) { // else the pen wraps
    EXPECT_GT(str_width, 50'000'000);
  }
}

TEST_F(TrueTypeHostileFont, IsSafeWithGlyphsHigherThanScreen) {
  const bytes font = make_truetype(16, {{2000, rectangle{0, -2000, 4, 2000}}});
  EXPECT_TRUE(draw_and_compare(font, u"A", 9));
  EXPECT_GT(str_height, 2000);
}

TEST_F(TrueTypeHostileFont, IsSafeWithBitmapsFarFromPen) {
  const std::vector<std::string> block(4, std::string(40, '#'));
  for (const int place : {-32000, -700, 700, 32000}) {
    const std::string font = make_bdf(10, {{u'A', 1000, place, 0, block}, {u'B', 1000, 0, place, block}});
    for (const char16_t *text : {u"A", u"B", u"AB", u"BA"})
      draw_and_compare(bytes(font.begin(), font.end()), text, 9);
  }
}

TEST_F(TrueTypeHostileFont, IsSafeWithBitmapOfAbsurdAdvance) {
  const std::string font = make_bdf(10, {{u'A', 32000, 0, 0, {"####"}}});
  EXPECT_TRUE(draw_and_compare(bytes(font.begin(), font.end()), u"AAAA", 9));
}

} // namespace
} // namespace dravik::test
