// "text": bitmap fonts and anti-aliased text.

#include "ctl_fixture.hpp"
#include "dravik.h"
#include "support/psf_maker.hpp"

namespace dravik::ctl_test {
namespace {

using test::shot;
using testing::Contains;
using testing::ElementsAre;
using testing::StartsWith;
using testing::UnorderedElementsAre;

constexpr uint16_t untouched = 0;
constexpr const char *start_font = "usr/local/dravik/font/Uni2-Fixed16.psf";

/// Glyphs of 8 x 4 pixels: glyph n has the rows n, ~n, n, ~n.
test::bytes striped_font() {
  test::bytes glyphs;
  for (int n = 0; n < 256; ++n)
    test::append(glyphs, {static_cast<uint8_t>(n), static_cast<uint8_t>(~n), static_cast<uint8_t>(n),
                          static_cast<uint8_t>(~n)});
  return test::psf1_file(0, 4, glyphs);
}

class CtlText : public CtlTool {
protected:
  void SetUp() override { board_.write(start_font, text_of(striped_font())); }

  shot seen() const { return {board_, {}}; }

  /// Put the host's fonts on the board where the library looks for them.
  void add_smooth_fonts() const {
    add_font("liberation/LiberationSans-Regular.ttf", "arial.ttf");
    add_font("droid/DroidSansFallbackFull.ttf", "DroidSansFallback.ttf");
  }

  void add_font(const std::string &file, const std::string &name) const {
    ASSERT_EQ(test::run_program(
                  {"cp", "/usr/share/fonts/truetype/" + file, board_.path("usr/local/dravik/font/" + name)}),
              0);
  }

  /// Expect the glyphs of a text in the striped font.
  void expect_glyphs(const std::string &text, uint32_t x, uint32_t y, uint16_t fg, uint16_t bg) const {
    const shot now = seen();
    for (uint32_t i = 0; i < text.size() * 8; ++i)
      for (uint32_t row = 0; row < 4; ++row) {
        const int glyph = text[i / 8], bits = row % 2 == 0 ? glyph : ~glyph;
        EXPECT_EQ(now.at(x + i, y + row), (bits & 0x80 >> i % 8) != 0 ? fg : bg) << i << ", " << row;
      }
  }
};

TEST_F(CtlText, DrawsPlainTextInABitmapFont) {
  EXPECT_EQ(checked_output({"text", "20", "30", "Ab"}),
            "font: /usr/local/dravik/font/Uni2-Fixed16.psf\nx: 20\ny: 30\nwidth: 16\nheight: 4\n");
  expect_glyphs("Ab", 20, 30, DRAVIK_WHITE, DRAVIK_BLACK);
  EXPECT_EQ(seen().at(36, 30), untouched);
}

TEST_F(CtlText, DrawsSignsThatFormatsHaveAUseFor) {
  checked_output({"text", "0", "0", R"(100%d \n\)", "--fg", "red", "--bg", "none"});
  expect_glyphs(R"(100%d \n\)", 0, 0, DRAVIK_RED, untouched);
}

TEST_F(CtlText, AcceptsOtherBitmapFont) {
  const std::string path = put("other.psf", striped_font());
  EXPECT_EQ(asked({"text", "0", "0", "Z", "--font", path, "--fg", "yellow", "--bg", "0xF800"}, ".font"),
            path);
  expect_glyphs("Z", 0, 0, DRAVIK_YELLOW, DRAVIK_RED);
}

TEST_F(CtlText, FillsTheScreenUpToItsCorner) {
  checked_output({"text", "632", "476", "x"});
  expect_glyphs("x", 632, 476, DRAVIK_WHITE, DRAVIK_BLACK);
}

TEST_F(CtlText, DrawsNothingThatDoesNotLieOnTheScreen) {
  const std::string line = "text: 8 x 4 pixels do not fit on the screen there";
  expect_refusal({"text", "633", "476", "x"}, 1, line);
  expect_refusal({"text", "632", "477", "x"}, 1, line);
  expect_refusal({"text", "4294967295", "0", "x"}, 1, line);
  expect_refusal({"text", "0", "0", std::string(81, 'x')}, 1,
                 "text: 648 x 4 pixels do not fit on the screen there");
  EXPECT_THAT(seen().colours(0, 0, 640, 480), ElementsAre(untouched));
}

TEST_F(CtlText, ReportsWhenThereIsNoFont) {
  expect_refusal({"text", "0", "0", "x", "--font", "none.psf"}, 1, "none.psf: No such file or directory");
  const std::string path = put("bad.psf", std::string{"notes"});
  expect_refusal({"text", "0", "0", "x", "--font", path}, 1, path + ": invalid font; see /tmp/dravik.log");
}

TEST_F(CtlText, DrawsSmoothWithASize) {
  add_smooth_fonts();
  EXPECT_EQ(asked({"text", "50", "60", "Hello", "--size", "40"}, "[.font, .x, .y]"),
            R"(["/usr/local/dravik/font/arial.ttf",50,60])");
  const shot now = seen();
  EXPECT_THAT(now.colours(50, 60, 80, 20), testing::SizeIs(testing::Gt(4))) << "soft edges";
  EXPECT_THAT(now.colours(50, 60, 80, 20),
              testing::AllOf(Contains(testing::Gt(0xF700)), Contains(DRAVIK_BLACK)));
  EXPECT_THAT(now.colours(0, 0, 50, 480), ElementsAre(untouched));
  EXPECT_THAT(now.colours(0, 0, 640, 60), ElementsAre(untouched));
}

TEST_F(CtlText, DrawsLargerSizeLarger) {
  add_smooth_fonts();
  const auto height = [this](const std::string &size) {
    return std::stoi(asked({"text", "0", "0", "H", "--size", size}, ".height"));
  };
  EXPECT_GT(height("60"), height("30") + 20);
}

TEST_F(CtlText, SelectsFontThatHasCharacters) {
  add_smooth_fonts();
  EXPECT_EQ(asked({"text", "0", "0", "größer"}, ".font"), "/usr/local/dravik/font/arial.ttf");
  EXPECT_EQ(asked({"text", "0", "0", "日本"}, ".font"), "/usr/local/dravik/font/DroidSansFallback.ttf");
  EXPECT_EQ(
      asked({"text", "0", "0", "日本", "--font", "/usr/local/dravik/font/DroidSansFallback.ttf"}, ".font"),
      "/usr/local/dravik/font/DroidSansFallback.ttf");
}

TEST_F(CtlText, DrawsNoAntiAliasedTextOffTheScreen) {
  add_smooth_fonts();
  const std::string width = asked({"text", "0", "0", "größer"}, ".width");
  const uint32_t last = 640 - static_cast<uint32_t>(std::stoul(width));
  checked_output({"text", std::to_string(last), "100", "größer"});
  const std::vector<uint16_t> before = board_.pixels();
  const run_result result = run({"text", std::to_string(last + 1), "200", "größer"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, StartsWith("dravik-ctl: text: " + width + " x "));
  EXPECT_EQ(board_.pixels(), before);
}

TEST_F(CtlText, ReportsWhenNoSmoothFontHasTheCharacters) {
  add_smooth_fonts();
  expect_refusal(
      {"text", "0", "0", "\uE123"}, 1,
      "/usr/local/dravik/font/DroidSansFallback.ttf: text cannot be drawn (FT_Get_Char_Index failed!)");
  expect_refusal({"text", "0", "0", "x", "--font", "none.ttf"}, 1,
                 "none.ttf: text cannot be drawn (FT_New_Face failed!)");
}

TEST_F(CtlText, DropsSpacesAtTheEnd) {
  EXPECT_EQ(asked({"text", "0", "0", "a  "}, ".width"), "8");
  expect_misuse({"text", "0", "0", "  "}, "text: empty STRING; must contain text");
  expect_misuse({"text", "0", "0", ""}, "text: empty STRING; must contain text");
}

TEST_F(CtlText, RejectsTextsThatTheLibraryDoesNotDraw) {
  expect_misuse({"text", "0", "0", "a\xFC"}, "text: invalid STRING; must be UTF-8");
  expect_misuse({"text", "0", "0", "a\nb"}, "text: invalid STRING; must not contain control characters");
  expect_misuse({"text", "0", "0", "\U0001F697"},
                "text: invalid STRING; must not contain characters above U+FFFF");
  expect_misuse({"text", "0", "0", std::string(129, 'x')},
                "text: STRING too long; must be at most 128 characters");
}

TEST_F(CtlText, RejectsInvalidArguments) {
  expect_usage_error({"text", "0", "0"}, "missing STRING");
  expect_misuse({"text", "a", "0", "x"}, "text: invalid X or Y; must be numbers of pixels");
  expect_misuse({"text", "0", "1.5", "x"}, "text: invalid X or Y; must be numbers of pixels");
  for (const std::string size : {"0", "97", "big"})
    expect_misuse({"text", "0", "0", "x", "--size", size},
                  "text: invalid --size '" + size + "'; must be 1 to 96");
  expect_misuse({"text", "0", "0", "x", "--fg", "pink"},
                "text: invalid colour 'pink'; must be a name, 0x and RGB565, or # and RGB");
  expect_misuse({"text", "0", "0", "ü", "--font", "a.psf"},
                "text: invalid --font; bitmap fonts have one size and ASCII characters only");
  expect_misuse({"text", "0", "0", "x", "--size", "9", "--font", "a.psf"},
                "text: invalid --font; bitmap fonts have one size and ASCII characters only");
}

TEST_F(CtlText, ReportsWhenThereIsNoScreen) {
  board_.remove("dev/fb0");
  expect_refusal(
      {"text", "0", "0", "x"}, 1,
      "screen: cannot be opened (error reading fixed info); no /dev/fb0: run it on a board, or under dravik-sim");
}

} // namespace
} // namespace dravik::ctl_test
