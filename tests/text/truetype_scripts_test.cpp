// Text in many scripts, with real fonts.

#include "support/emulation.hpp"
#include "text/truetype_stage.hpp"

namespace dravik::test {
namespace {

struct sample {
  const char *name;
  std::u16string text;
  std::string font;

  friend void PrintTo(const sample &printed, std::ostream *to) { *to << printed.name; }
};

class TrueTypeScripts : public testing::TestWithParam<sample> {};

TEST_P(TrueTypeScripts, AreDrawnAtEverySizeOfAMenu) {
  text_stage stage;
  for (const uint32_t size : {9u, 12u, 16u, 20u, 24u, 32u})
    EXPECT_TRUE(stage.draws({.text = GetParam().text, .font_size = size, .font = GetParam().font})) << size;
}

TEST_P(TrueTypeScripts, AreDrawnOverAImage) {
  text_stage stage;
  EXPECT_TRUE(stage.draws({.text = GetParam().text, .font = GetParam().font, .bg = 0, .align = 4}));
}

INSTANTIATE_TEST_SUITE_P(
    All, TrueTypeScripts,
    testing::Values(
        sample{"Latin", u"Loop recording: 3 min.", sans},
        sample{"LatinBold", u"Vehicle & Battery", fonts + "liberation/LiberationSans-Bold.ttf"},
        sample{"LatinMonospaced", u"2026-11-21 08:45:07", fonts + "liberation/LiberationMono-Regular.ttf"},
        sample{"LatinItalic", u"jolly fjord, off", serif_italic},
        sample{"LatinWithAccents", u"Größe Été Ñandú Åžűř", sans},
        sample{"LatinWithCombiningMarks", u"a\u0301e\u0308o\u0302", dejavu},
        sample{"Greek", u"Ρυθμίσεις ήχου Ώ", sans}, sample{"GreekWithBreathings", u"ᾧ Ἀθῆναι", dejavu},
        sample{"Cyrillic", u"Настройки Ёлка щит", sans},
        sample{"CyrillicInItalics", u"Ґанок їжак тд", serif_italic}, sample{"Arabic", u"تسجيل", dejavu},
        sample{"Symbols", u"→ ⚠ ♪ ½ €", dejavu}, sample{"ChineseSimplified", u"行车记录仪设置", cjk_full},
        sample{"ChineseTraditional", u"行車記錄器設定", cjk_full},
        sample{"Japanese", u"録画をカイシする。", cjk}, sample{"Korean", u"주행기록설정", cjk}),
    [](const auto &test) { return std::string(test.param.name); });

TEST(TrueTypeSizes, DrawLatinFrom0To96) {
  text_stage stage;
  for (uint32_t size = 0; size <= 96; size += stride<uint32_t>())
    EXPECT_TRUE(stage.agree({.text = u"Åjg", .font_size = size, .font = sans})) << size;
}

TEST(TrueTypeSizes, DrawChineseFrom6To96) {
  text_stage stage;
  for (uint32_t size = 6; size <= 96; size += stride<uint32_t>())
    EXPECT_TRUE(stage.draws({.text = u"車路", .font_size = size, .font = cjk})) << size;
}

TEST(TrueTypeSizes, DrawSize0AsSize1) {
  text_stage stage;
  ASSERT_TRUE(stage.draws({.text = u"XXXX", .font_size = 1, .font = sans}));
  const text_model::box one = {sx, sy, ex, ey};
  ASSERT_TRUE(stage.draws({.text = u"XXXX", .font_size = 0, .font = sans}));
  EXPECT_EQ((text_model::box{sx, sy, ex, ey}), one);
}

/// Any text, size, colours, alignment and place.
text_call random_call(std::mt19937 &random) {
  const struct {
    const std::string &font;
    char16_t first, last;
  } choices[] = {
      {sans, 0x20, 0x17F}, {serif_italic, 0x20, 0x7F}, {dejavu, 0x370, 0x530}, {cjk, 0x4E00, 0x9FA0}};
  const auto &choice = choices[random_in(random, 0, 3)];
  constexpr uint16_t colours[] = {0,          DRAVIK_BLACK, DRAVIK_WHITE, DRAVIK_MAGENTA, DRAVIK_THEME,
                                  DRAVIK_RED, DRAVIK_GREEN, 0x5555};
  text_call call = {.text = {}, .font_size = random_in(random, 0, 60), .font = choice.font};
  for (uint32_t i = random_in(random, 0, 12); i > 0; --i)
    call.text += static_cast<char16_t>(random_in(random, choice.first, choice.last));
  call.x = random_in(random, 0, 500) - 20;
  call.y = random_in(random, 0, 260) - 20;
  call.fg = colours[random_in(random, 0, 7)];
  call.bg = colours[random_in(random, 0, 7)];
  call.align = static_cast<int32_t>(random_in(random, 0, 10)) - 1;
  return call;
}

TEST(TrueTypeText, AgreesWithModelOfRandomCalls) {
  constexpr uint32_t seed = 20261121;
  std::mt19937 random(seed);
  text_stage stage;
  const int calls = rounds(200);
  int drawn = 0;
  for (int round = 0; round < calls; ++round) {
    const text_call call = random_call(random);
    ASSERT_TRUE(stage.agree(call)) << "seed " << seed << ", round " << round;
    drawn += stage.model().pixels > 0;
  }
  EXPECT_GT(drawn, calls / 4);
}

} // namespace
} // namespace dravik::test
