// The messages, and the unchanged state, if a text cannot be drawn.

#include "text/font_maker.hpp"
#include "text/truetype_stage.hpp"

namespace dravik::test {
namespace {

/// Draw a good text first, so that every exported result holds something that a failure could spoil.
class TrueTypeFailure : public testing::Test {
protected:
  void SetUp() override { ASSERT_TRUE(stage.draws({.text = u"Before", .font = sans})); }

  void expect_failure(const text_call &call, const std::string &message) {
    const int32_t width = str_width, height = str_height;
    EXPECT_TRUE(stage.draws_nothing(call, message));
    EXPECT_EQ(str_width, width);
    EXPECT_EQ(str_height, height);
  }

  text_stage stage;
};

TEST_F(TrueTypeFailure, ReportsMissingFontFile) {
  expect_failure({.text = u"A", .font = "/nonexistent/arial.ttf"}, no_face);
}

TEST_F(TrueTypeFailure, ReportsMissingNameOfFontFile) {
  stderr_capture capture;
  const int32_t width = str_width;
  ttf_font_file[0] = nullptr;
  EXPECT_EQ(put_unicode_string(10, 10, little_endian(u"A").data(), 20, 0, DRAVIK_BLACK, DRAVIK_WHITE, 0), 0);
  EXPECT_EQ(capture.take(), no_face);
  EXPECT_EQ(str_width, width);
}

TEST_F(TrueTypeFailure, ReportsDirectory) {
  expect_failure({.text = u"A", .font = "/tmp"}, no_face);
}

TEST_F(TrueTypeFailure, ReportsEmptyFontFile) {
  const font_file font(bytes{});
  expect_failure({.text = u"A", .font = font.path()}, no_face);
}

TEST_F(TrueTypeFailure, ReportsFileOfOtherFormat) {
  const font_file font(std::string(5000, 'x'));
  expect_failure({.text = u"A", .font = font.path()}, no_face);
}

TEST_F(TrueTypeFailure, ReportsBitmapFontOfOtherSizes) {
  const font_file font(make_bdf(10, {{u'A', 6, 0, 0, {"###"}}}));
  expect_failure({.text = u"A", .font_size = 30, .font = font.path()}, no_size);
}

TEST_F(TrueTypeFailure, ReportsMissingCharacter) {
  expect_failure({.text = u"漢", .font = sans}, no_glyph);
  expect_failure({.text = u"Latin", .font = cjk}, no_glyph);
  expect_failure({.text = u"\xFFFF", .font = dejavu}, no_glyph);
}

TEST_F(TrueTypeFailure, DrawsNothingIfCharacterIsMissing) {
  expect_failure({.text = u"Speed 漢 km/h", .font = sans}, no_glyph);
  expect_failure({.text = u"Speed漢", .font = sans}, no_glyph);
  expect_failure({.text = u"Tab\there", .font = sans}, no_glyph);
  EXPECT_EQ(unicode_len, 8);
}

TEST_F(TrueTypeFailure, IgnoresCharactersAfterLineFeed) {
  EXPECT_TRUE(stage.draws({.text = u"ok\n漢", .font = sans}));
}

/// The error of FreeType itself for a glyph.
FT_Error load_error(const std::string &font, char16_t unit) {
  FT_Library library;
  FT_Face face;
  FT_Error error = FT_Init_FreeType(&library);
  if (error != 0)
    return error;
  error = FT_New_Face(library, font.c_str(), 0, &face);
  if (error == 0)
    error = FT_Set_Char_Size(face, 20 * 64, 0, 80, 0);
  if (error == 0)
    error = FT_Load_Char(face, unit, FT_LOAD_DEFAULT);
  FT_Done_FreeType(library);
  return error;
}

TEST_F(TrueTypeFailure, ReportsTruncatedGlyphData) {
  constexpr char16_t last = u'!' + 98;
  font_tables tables = take_apart(make_excerpt(read_file(sans), 100));
  tables.at("glyf").resize(tables.at("glyf").size() - 30);
  const font_file font(put_together(tables));
  const FT_Error error = load_error(font.path(), last);
  ASSERT_NE(error, 0);
  char message[64];
  std::snprintf(message, sizeof message, "FT_Load_Glyph failed! ret=%08x\n", static_cast<unsigned>(error));
  expect_failure({.text = {last}, .font = font.path()}, message);
  EXPECT_TRUE(stage.draws({.text = u"A", .font = font.path()})); // which is whole
}

TEST_F(TrueTypeFailure, ReportsMalformedOutline) {
  font_tables tables = take_apart(make_truetype(160, {{64, rectangle{0, 0, 16, 16}}}));
  tables.at("glyf")[10] = 0xFF; // the last point of the contour is number 0xFF03
  const font_file font(put_together(tables));
  expect_failure({.text = u"A", .font = font.path()},
                 "FT_Load_Glyph failed! ret=00000014\n"); // invalid outline
}

TEST_F(TrueTypeFailure, ReportsGlyphTooLargeToRender) {
  const font_file font(make_truetype(16, {{64, rectangle{0, 0, 30000, 30000}}}));
  expect_failure({.text = u"A", .font_size = 96, .font = font.path()}, not_rendered);
}

TEST_F(TrueTypeFailure, DoesNotHarmTheNextText) {
  expect_failure({.text = u"A", .font = "/nonexistent"}, no_face);
  EXPECT_TRUE(stage.draws({.text = u"After", .font = sans}));
}

TEST(TrueTypeSizeLimit, IsDrawn) {
  text_stage stage;
  EXPECT_TRUE(stage.draws({.text = u"Ab", .font_size = 96, .font = sans}));
}

struct too_large {
  uint32_t size;
  const char *message;
};

class TrueTypeDeathTest : public testing::TestWithParam<too_large> {};

TEST_P(TrueTypeDeathTest, TerminatesWithStatus0ForLargerSize) {
  const bytes text = little_endian(u"A"); // in a font that is not there: the size is looked at first
  EXPECT_EXIT(put_unicode_string(0, 0, text.data(), GetParam().size, 0, 0, DRAVIK_WHITE, 0),
              testing::ExitedWithCode(0), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(TrueTypeSizeLimit, TrueTypeDeathTest,
                         testing::Values(too_large{97, "^font_size error : 97!\n$"},
                                         too_large{1000, "^font_size error : 1000!\n$"},
                                         too_large{0xFFFFFFFF, "^font_size error : -1!\n$"}),
                         [](const auto &test) { return std::to_string(test.param.size) + "Points"; });

} // namespace
} // namespace dravik::test
