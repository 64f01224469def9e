// Bitmap text against a plain model of it: glyphs, cells, escapes and conversions.

#include "dravik.h"
#include "support/board.hpp"
#include "support/emulation.hpp"
#include "support/psf_maker.hpp"
#include "support/screen.hpp"
#include "text/psf_file.hpp"

#include <filesystem>
#include <gtest/gtest.h>

namespace dravik::test {
namespace {

/// Draw text as a list of glyph numbers, pixel by pixel.
struct text_model {
  model_plane on;
  const psf_file &font;
  uint32_t fg, bg;

  void put(uint32_t glyph, uint32_t x, uint32_t y) const {
    for (uint32_t row = 0; row < font.height; ++row)
      for (uint32_t column = 0; column < std::min(font.width, 16U); ++column) {
        if (font.is_set(glyph, column, row)) {
          on.put(x + column, y + row, static_cast<uint16_t>(fg));
        } else if (bg != 0) {
          on.put(x + column, y + row, static_cast<uint16_t>(bg));
        }
      }
  }
  void put(const std::string &text, uint32_t x, uint32_t y) const {
    for (const char character : text) {
      put(static_cast<unsigned char>(character), x, y);
      x += font.width;
    }
  }
};

class PsfText : public testing::Test {
protected:
  board board_;
  std::optional<fake_screen> screen_{std::in_place, screen_shape{.xres = 200, .yres = 60, .padding = 6}};
  std::mt19937 random_{11};

  ~PsfText() override { psf_font_free(); }

  void use_screen(const screen_shape &shape) { screen_.emplace(shape); }

  /// Put a font into slot 0 and return it as read by the test.
  psf_file use(const bytes &content) const {
    psf_font_free();
    const std::string path = board_.path("font.psf");
    write_file(path, content);
    const char *const paths[] = {path.c_str()};
    psf_font_alloc(1, paths);
    return psf_file(content);
  }
  psf_file use_random(uint32_t width, uint32_t height, uint32_t count = 256) {
    return use(psf2_maker::random_font(random_, width, height, count).file());
  }

  text_model model(const psf_file &font, uint32_t fg, uint32_t bg) {
    return {screen_->model(), font, fg, bg};
  }
};

constexpr uint32_t ink = DRAVIK_YELLOW, paper = DRAVIK_BLUE;

// ------------------------------------------------------------------------------------------------ one glyph

TEST_F(PsfText, DrawsGlyphsOfEveryWidthAndPosition) {
  for (uint32_t width = 1; width <= 16; ++width) {
    const psf_file font = use_random(width, 11, 64);
    for (uint32_t glyph = 0; glyph < 64; ++glyph) {
      SCOPED_TRACE(testing::Message() << "width " << width << " glyph " << glyph);
      const uint32_t x = random_in(random_, 0, 200 - width), y = random_in(random_, 0, 49);
      const uint32_t bg = glyph % 2 == 0 ? 0 : paper;
      model(font, ink, bg).put(glyph, x, y);
      fb_putc(glyph, x, y, ink, static_cast<uint16_t>(bg), 0);
      ASSERT_TRUE(screen_->same());
    }
  }
}

TEST_F(PsfText, DrawsSixteenColumnsOfWideFonts) {
  for (const uint32_t width : {17U, 24U, 32U}) {
    const psf_file font = use_random(width, 24, 32);
    for (const uint32_t bg : {0U, paper}) {
      model(font, ink, bg).put(5, 30, 20);
      fb_putc(5, 30, 20, ink, static_cast<uint16_t>(bg), 0);
      EXPECT_TRUE(screen_->same()) << width;
    }
  }
}

TEST_F(PsfText, DrawsGlyphWorkedOutByHand) {
  bytes glyphs(256 * 2);
  glyphs[65 * 2] = 0b10000001;
  glyphs[65 * 2 + 1] = 0b01100000;
  use(psf1_file(0, 2, glyphs));
  const model_plane expected = screen_->model();
  for (uint32_t column = 0; column < 8; ++column) {
    expected.put(100 + column, 7, column == 0 || column == 7 ? ink : 0x0001);
    expected.put(100 + column, 8, column == 1 || column == 2 ? ink : 0x0001);
  }
  fb_putc('A', 100, 7, ink, 0x0001, 0);
  EXPECT_TRUE(screen_->same());
}

TEST_F(PsfText, LeavesPixelsAroundOnBackgroundZero) {
  const psf_file font = use(psf1_file(0, 1, bytes(256, 0b00010000)));
  screen_->model().put(10 + 3, 10, ink);
  fb_putc(0, 10, 10, ink, 0, 0);
  EXPECT_TRUE(screen_->same());
}

TEST_F(PsfText, UsesLowHalfOfColours) {
  const psf_file font = use_random(8, 8);
  model(font, 0x1234, 0x5678).put(77, 3, 4);
  fb_putc(77, 3, 4, 0xABCD1234, 0x5678, 0);
  EXPECT_TRUE(screen_->same());
  model(font, 0, 0x5678).put(78, 3, 4);
  fb_putc(78, 3, 4, 0xFFFF0000, 0x5678, 0);
  EXPECT_TRUE(screen_->same());
}

TEST_F(PsfText, DrawsGlyphsAbove255ByNumber) {
  const psf_file font = use(psf1_file(1, 16, random_bytes(random_, 8192)));
  for (const uint32_t glyph : {255U, 256U, 300U, 511U}) {
    model(font, ink, paper).put(glyph, 8, 9);
    fb_putc(glyph, 8, 9, ink, paper, 0);
    EXPECT_TRUE(screen_->same()) << glyph;
  }
}

TEST_F(PsfText, DrawsNothingForMissingGlyphs) {
  use_random(8, 16, 100);
  for (const uint32_t glyph : {100U, 101U, 255U, 256U, 0x7FFFFFFFU, 0x80000000U, 0x10000000U, 0xFFFFFFFFU})
    fb_putc(glyph, 8, 9, ink, paper, 0);
  fb_printf(8, 9, ink, paper, 0, "\xFF\x80");
  EXPECT_TRUE(screen_->same());
}

TEST_F(PsfText, ContinuesAcrossRightEdgeInNextLine) {
  use_screen({.xres = 100, .yres = 40});
  const psf_file font = use_random(12, 16);
  for (const uint32_t bg : {0U, paper}) {
    model(font, ink, bg).put(9, 94, 3);
    fb_putc(9, 94, 3, ink, static_cast<uint16_t>(bg), 0);
    EXPECT_TRUE(screen_->same());
  }
}

TEST_F(PsfText, DrawsRowsOfGlyphWiderThanScreen) {
  use_screen({.xres = 5, .yres = 40});
  const psf_file font = use_random(16, 16);
  for (const uint32_t bg : {0U, paper}) {
    model(font, ink, bg).put(9, 2, 3);
    fb_putc(9, 2, 3, ink, static_cast<uint16_t>(bg), 0);
    EXPECT_TRUE(screen_->same());
  }
}

TEST_F(PsfText, DrawsGlyphBelowLastLine) {
  const psf_file font = use_random(8, 8);
  model(font, ink, paper).put(9, 10, 56);
  fb_putc(9, 10, 56, ink, paper, 0);
  EXPECT_TRUE(screen_->same());
}

TEST_F(PsfText, ClipsTallGlyphAtEndOfMemory) {
  use_screen({.xres = 40, .yres = 10, .padding = 6});
  psf2_maker maker = psf2_maker::random_font(random_, 8, 20, 16);
  const bytes content = maker.file();
  use(content);
  maker.height = 7; // the visible part, from line 3
  const psf_file visible(maker.file());
  for (const uint32_t bg : {0U, paper}) {
    model(visible, ink, bg).put(9, 12, 3);
    fb_putc(9, 12, 3, ink, static_cast<uint16_t>(bg), 0);
    EXPECT_TRUE(screen_->same());
  }
}

/// Draw a glyph of a font larger than the screen; each pixel of it in the memory is expected.
class LargeGlyph : public PsfText {
protected:
  void draw_and_compare(uint32_t width, uint32_t height, int32_t x, int32_t y, int64_t memory_begin = 0,
                        int64_t memory_end = 0) {
    use_screen({.xres = 20, .yres = 10, .padding = 6, .guard_lines = 40});
    const int64_t line_length = screen_->line_length();
    const psf_file font = use_random(width, height, 16);
    if (memory_begin != 0)
      fbp -= memory_begin;
    const int64_t end = memory_end != 0 ? memory_end : 10 * line_length;
    for (const uint32_t bg : {0U, paper}) {
      SCOPED_TRACE(testing::Message() << width << " x " << height << " at " << x << "," << y << " on " << bg);
      for (uint32_t row = 0; row < height; ++row)
        for (uint32_t column = 0; column < std::min(width, 16U); ++column) {
          const bool is_set = font.is_set(9, column, row);
          const int64_t at = (y + int64_t{row}) * line_length + (x + int64_t{column}) * 2 - memory_begin;
          if (at >= 0 && at + 2 <= end && (is_set || bg != 0))
            screen_->model().put(at % line_length / 2, at / line_length,
                                 static_cast<uint16_t>(is_set ? ink : bg));
        }
      fb_putc(9, static_cast<uint32_t>(x), static_cast<uint32_t>(y), ink, static_cast<uint16_t>(bg), 0);
      EXPECT_TRUE(screen_->same());
    }
  }
};

TEST_F(LargeGlyph, IsClippedAtStartAndEndOfMemory) {
  for (const uint32_t width : {3U, 8U, 9U, 13U, 16U, 24U})
    for (const int32_t x : {-17, -7, -1, 0, 5, 12, 19, 22}) {
      draw_and_compare(width, 11, x, -1);
      draw_and_compare(width, 20, x, 0);
      draw_and_compare(width, 20, x, 9);
      draw_and_compare(width, 30, x, -7);
    }
}

TEST_F(LargeGlyph, SkipsPixelsFarFromMemory) {
  for (const int32_t far : {INT32_MIN, INT32_MIN + 1, INT32_MAX - 1, INT32_MAX}) {
    draw_and_compare(8, 11, far, 0);
    draw_and_compare(8, 11, 0, far);
  }
}

TEST_F(LargeGlyph, DrawsRowsThatBeginInMemoryAtFarColumns) {
  draw_and_compare(8, 11, INT32_MIN, 93'368'855);  // 2 * -2^31 + 46 * 93'368'855 = 34
  draw_and_compare(8, 11, INT32_MAX, -93'368'854); // 2 * (2^31 - 1) - 46 * 93'368'854 = 10
}

TEST_F(LargeGlyph, UsesWholeMappingInSecondBuffer) {
  constexpr int64_t five_lines = 5 * 46;
  draw_and_compare(9, 11, 3, -1, -five_lines);
  draw_and_compare(16, 20, -4, -7, -five_lines);
}

TEST_F(PsfText, StepsOverPaddedLines) {
  use_screen({.xres = 64, .yres = 20, .padding = 130});
  const psf_file font = use_random(9, 14);
  model(font, ink, paper).put("pad", 4, 3);
  fb_printf(4, 3, ink, paper, 0, "pad");
  EXPECT_TRUE(screen_->same());
}

// ------------------------------------------------------------------------------------------------ other
// slots

TEST_F(PsfText, DrawsNothingForEmptySlots) {
  use_random(8, 8);
  for (const int32_t slot : {1, 15, 16, 17, -1, INT32_MIN, INT32_MAX}) {
    fb_putc('A', 10, 10, ink, paper, slot);
    EXPECT_EQ(fb_printf(10, 10, ink, paper, slot, "A%dB", 7), 0);
  }
  EXPECT_TRUE(screen_->same());
}

TEST_F(PsfText, DrawsNothingForFailedFont) {
  use(psf2_maker{513, 64, 32, 16, {}}.file());
  ASSERT_EQ(psf[0].height, 32);
  fb_putc('A', 10, 10, ink, paper, 0);
  fb_printf(10, 10, ink, paper, 0, "A");
  EXPECT_TRUE(screen_->same());
}

TEST_F(PsfText, DrawsNothingWithoutRowsOrColumns) {
  const struct {
    uint32_t height, width;
  } sizes[] = {{0, 8}, {0xFFFFFFFF, 8}, {8, 0}, {8, 0xFFFFFFFF}, {0x80000000, 8}};
  for (const auto &[height, width] : sizes) {
    use(psf2_maker{256, 8, height, width, bytes(2048, 0xFF)}.file());
    fb_putc('A', 10, 10, ink, paper, 0);
    EXPECT_EQ(fb_printf(10, 10, ink, paper, 0, "A"), 0);
  }
  EXPECT_TRUE(screen_->same());
}

TEST_F(PsfText, DrawsRowsOfNextGlyphBeyondGlyph) {
  psf2_maker maker = psf2_maker::random_font(random_, 8, 8, 256);
  maker.height = 12;
  const psf_file font = use(maker.file());
  model(font, ink, paper).put(254, 10, 10);
  fb_putc(254, 10, 10, ink, paper, 0);
  EXPECT_TRUE(screen_->same());
}

TEST_F(PsfText, NeverReadsBeyondFont) {
  psf2_maker maker = psf2_maker::random_font(random_, 8, 8, 16);
  for (const uint32_t height : {9U, 100U, 0x10000U, 0x7FFFFFFFU}) {
    maker.height = height;
    use(maker.file());
    fb_putc(15, 10, 10, ink, paper, 0);
  }
  EXPECT_TRUE(screen_->same());
}

TEST_F(PsfText, DrawsSlotsSetByApplication) {
  bytes glyphs = random_bytes(random_, 16 * 4);
  psf[5] = {glyphs.data(), 16, 4, 2, 8, 16};
  const psf_file font(psf2_maker{4, 16, 16, 8, glyphs}.file());
  model(font, ink, paper).put(3, 40, 20);
  fb_putc(3, 40, 20, ink, paper, 5);
  EXPECT_TRUE(screen_->same());
}

// ------------------------------------------------------------------------------------------------ text

class FbPrintf : public PsfText {
protected:
  /// Expect a format to draw plain text from (10, 20) on.
  template <class... Values>
  void expect_text(const std::string &text, const char *format, const Values &...values) {
    const psf_file font = use_random(8, 16);
    model(font, ink, paper).put(text, 10, 20);
    EXPECT_EQ(fb_printf(10, 20, ink, paper, 0, format, values...), 0);
    EXPECT_TRUE(screen_->same()) << format;
  }
};

TEST_F(FbPrintf, DrawsNothingForEmptyFormat) {
  expect_text("", "");
}
TEST_F(FbPrintf, DrawsCellsSideBySide) {
  expect_text("AB", "AB");
}
TEST_F(FbPrintf, DrawsBytesAbove127AsGlyphs128To255) {
  expect_text("\x80\xC4\xFF", "\x80\xC4\xFF");
}
TEST_F(FbPrintf, DrawsNewlineAndTabBytesAsGlyphs) {
  expect_text("a\nb\tc", "a\nb\tc");
}

TEST_F(FbPrintf, FormatsDecimal) {
  expect_text("42", "%d", 42);
}
TEST_F(FbPrintf, FormatsLeastDecimal) {
  expect_text("-2147483648", "%d", INT32_MIN);
}
TEST_F(FbPrintf, FormatsHexadecimal) {
  expect_text("deadbeef", "%x", 0xDEADBEEFU);
}
TEST_F(FbPrintf, FormatsHexadecimalZero) {
  expect_text("0", "%x", 0U);
}
TEST_F(FbPrintf, FormatsCharacter) {
  expect_text("Z", "%c", 'Z');
}
TEST_F(FbPrintf, UsesLowByteOfCharacter) {
  expect_text("Z", "%c", 0x1200 + 'Z');
}
TEST_F(FbPrintf, FormatsCharacterAbove127) {
  expect_text("\xE4", "%c", 0xE4);
}
TEST_F(FbPrintf, SkipsCellOfCharacterZero) {
  expect_text("ab", "a%cb", 0);
}
TEST_F(FbPrintf, SkipsCellOfCharacterWithLowByteZero) {
  expect_text("ab", "a%cb", 0x100);
}
TEST_F(FbPrintf, FormatsGeneral) {
  expect_text("0.5|1e+10|-3.14159", "%g|%g|%g", 0.5, 1e10, -3.14159265);
}
TEST_F(FbPrintf, FormatsLongestGeneral) {
  expect_text("-2.22507e-308", "%g", -2.2250738585072014e-308);
}
TEST_F(FbPrintf, FormatsPercent) {
  expect_text("42%", "%d%%", 42);
}
TEST_F(FbPrintf, ConsumesArgumentsInOrder) {
  expect_text("1 2.5 c ff%", "%d %g %c %x%%", 1, 2.5, 'c', 255U);
}

TEST_F(FbPrintf, DrawsNothingForUnknownFirstConversion) {
  expect_text("ab", "a%sb");
}
TEST_F(FbPrintf, RepeatsPreviousForUnknownConversion) {
  expect_text("4242", "%d%u", 42);
}
TEST_F(FbPrintf, ConsumesNoArgumentForUnknownConversion) {
  expect_text("1-1-2", "%d-%f-%d", 1, 2);
}
TEST_F(FbPrintf, RepeatsPercentForUnknownConversion) {
  expect_text("%%", "%%%s");
}
TEST_F(FbPrintf, RepeatsEmptyCharacterForUnknownConversion) {
  expect_text("7a", "%d%ca%s", 7, 0);
}
TEST_F(FbPrintf, LeavesNothingOfLongerConversion) {
  expect_text("1234567aa", "%d%c%s", 1234567, 'a');
}
TEST_F(FbPrintf, DrawsFlagsAndWidthsAsText) {
  expect_text("5|52d|", "%d|%02d|", 5);
}
TEST_F(FbPrintf, RejectsLengthModifiers) {
  expect_text("5|5d", "%d|%ld", 5);
}
TEST_F(FbPrintf, RejectsUpperCaseLetters) {
  expect_text("XY", "X%X%D%C%GY");
}
TEST_F(FbPrintf, KeepsNothingFromCallToCall) {
  expect_text("42", "%d", 42);
  expect_text("ab", "a%sb");
}

TEST_F(FbPrintf, RepeatsPreviousForPercentAtEnd) {
  expect_text("42742", "%d7%", 42);
  expect_text("%%", "%%%");
}
TEST_F(FbPrintf, DrawsNothingForPercentAtEndIfFirst) {
  expect_text("ab", "ab%");
  expect_text("", "%");
}
TEST_F(FbPrintf, RepeatsNothingForPercentAtEndAfterEmptyCharacter) {
  expect_text("7", "%d%c%", 7, 0);
}
TEST_F(FbPrintf, DrawsNothingForBackslashAtEnd) {
  expect_text("ab", "ab\\");
}
TEST_F(FbPrintf, DrawsNothingForBackslashWithOtherCharacter) {
  expect_text("abc", "a\\tb\\\\c\\%\\d");
}
TEST_F(FbPrintf, ConsumesBothOfPercentAndBackslash) {
  expect_text("n", "%\\n");
}

TEST_F(FbPrintf, MovesDownOnePixelRowAtBackslashN) {
  const psf_file font = use_random(8, 16);
  const text_model expected = model(font, ink, paper);
  expected.put("ABC", 10, 20);
  expected.put("DE", 10, 21);
  expected.put("F", 10, 23);
  fb_printf(10, 20, ink, paper, 0, "ABC\\nDE\\n\\nF");
  EXPECT_TRUE(screen_->same());
}

TEST_F(FbPrintf, ReturnsToFirstColumnAtBackslashR) {
  const psf_file font = use_random(8, 16);
  for (const uint32_t bg : {0U, paper}) {
    const text_model expected = model(font, ink, bg);
    expected.put("AB", 10, 20);
    expected.put("CDE", 10, 20);
    fb_printf(10, 20, ink, bg, 0, "AB\\rCDE");
    EXPECT_TRUE(screen_->same());
  }
}

TEST_F(FbPrintf, EscapesInConvertedTextAreGlyphs) {
  const psf_file font = use_random(8, 16);
  model(font, ink, paper).put("\\n", 10, 20);
  fb_printf(10, 20, ink, paper, 0, "%cn", '\\');
  EXPECT_TRUE(screen_->same());
}

TEST_F(FbPrintf, DrawsOpaqueBlackForBackgroundOfLowHalfZero) {
  const psf_file font = use_random(8, 16);
  model(font, ink, 0x10000).put("opaque", 10, 20);
  fb_printf(10, 20, ink, 0x10000, 0, "opaque");
  EXPECT_TRUE(screen_->same());
}

TEST_F(FbPrintf, UsesLowHalfOfColours) {
  const psf_file font = use_random(8, 16);
  model(font, 0xFFFF4321, 0xFFFF8765).put("ab", 10, 20);
  fb_printf(10, 20, 0xFFFF4321, 0xFFFF8765, 0, "ab");
  EXPECT_TRUE(screen_->same());
}

TEST_F(FbPrintf, AdvancesColumnsWithoutGlyph) {
  const psf_file font = use_random(8, 16, 100); // "x" and beyond are not in it
  const text_model expected = model(font, ink, paper);
  expected.put("A", 10, 20);
  expected.put("B", 26, 20);
  fb_printf(10, 20, ink, paper, 0, "AxB");
  EXPECT_TRUE(screen_->same());
}

TEST_F(FbPrintf, OverlapsInOrderOfCellsAtRightEdge) {
  for (const uint32_t columns : {20U, 33U, 60U, 96U})
    for (const uint32_t width : {7U, 8U, 13U, 16U}) {
      use_screen({.xres = columns, .yres = 80});
      const psf_file font = use_random(width, 10);
      for (const uint32_t bg : {0U, paper}) {
        model(font, ink, bg).put("across the edge", 3, 5);
        fb_printf(3, 5, ink, bg, 0, "across the edge");
        EXPECT_TRUE(screen_->same()) << columns << " columns, " << width << " wide, on " << bg;
      }
    }
}

TEST_F(FbPrintf, AdvancesByWholeWidthOfWideFonts) {
  const psf_file font = use_random(24, 12, 128);
  model(font, ink, paper).put("wide", 10, 20);
  fb_printf(10, 20, ink, paper, 0, "wide");
  EXPECT_TRUE(screen_->same());
}

// ------------------------------------------------------------------------------------------------ at random

/// Build a format piece by piece, with the cells that it must draw.
class random_text {
public:
  random_text(std::mt19937 &random, const text_model &expected, uint32_t x, uint32_t y) : x_(x), y_(y) {
    for (uint32_t pieces = random_in(random, 0, 12); pieces > 0; --pieces)
      add_piece(random, expected);
  }
  const std::string &format() const { return format_; }

private:
  void add_piece(std::mt19937 &random, const text_model &expected) {
    switch (random_in(random, 0, 5)) {
    case 0:
      format_ += "\\n";
      ++y_;
      column_ = 0;
      break;
    case 1:
      format_ += "\\r";
      column_ = 0;
      break;
    case 2:
      format_ += "%%";
      converted_.assign(1, '%');
      return put(converted_, expected);
    case 3:
      format_ += "%";
      format_ += "sufl0123456789-+ .*hjzqXpo"[random_in(random, 0, 25)];
      return put(converted_, expected);
    case 4:
      format_ += "\\";
      format_ += static_cast<char>(random_in(random, 'A', 'Z'));
      break;
    default:
      const char character = static_cast<char>(random_in(random, 1, 255));
      if (character == '\\' || character == '%')
        return;
      format_ += character;
      put(std::string(1, character), expected);
    }
  }

  void put(const std::string &text, const text_model &expected) {
    for (const char character : text)
      expected.put(static_cast<unsigned char>(character), x_ + expected.font.width * column_++, y_);
  }

  std::string format_, converted_;
  uint32_t x_, y_, column_ = 0;
};

TEST_F(FbPrintf, AgreesWithModelOfRandomTexts) {
  for (int round = 0; round < rounds(600); ++round) {
    if (round % 20 == 0)
      use_screen({.xres = 300, .yres = 60, .padding = 2 * random_in(random_, 0, 5)});
    const psf_file font = use_random(random_in(random_, 1, 16), random_in(random_, 1, 20));
    const uint32_t bg = round % 3 == 0 ? 0 : static_cast<uint32_t>(random_());
    const uint32_t x = random_in(random_, 0, 80), y = random_in(random_, 0, 20);
    const auto fg = static_cast<uint32_t>(random_());
    const random_text text(random_, model(font, fg, bg), x, y);
    fb_printf(x, y, fg, bg, 0, text.format().c_str());
    ASSERT_TRUE(screen_->same()) << "round " << round << ": " << text.format();
  }
}

// ------------------------------------------------------------------------------------------------ real fonts

/// The fonts that the system brings for its consoles.
std::vector<std::string> console_fonts() {
  std::vector<std::string> paths;
  std::error_code none;
  for (const auto &entry : std::filesystem::directory_iterator("/usr/share/consolefonts", none))
    if (entry.path().string().ends_with(".psf.gz"))
      paths.push_back(entry.path().string());
  std::sort(paths.begin(), paths.end());
  return paths;
}

TEST_F(PsfText, DrawsEveryGlyphOfConsoleFonts) {
  const auto paths = console_fonts();
  if (paths.empty())
    GTEST_SKIP() << "no console fonts here";
  int version1 = 0, version2 = 0;
  for (size_t i = 0; i < paths.size(); i += stride<size_t>()) {
    const std::string &path = paths[i];
    const psf_file font = use(gunzip(path));
    SCOPED_TRACE(path);
    ASSERT_NE(psf[0].ptr, nullptr);
    ASSERT_EQ(psf[0].version, font.version);
    ASSERT_EQ(psf[0].length, static_cast<int32_t>(font.length));
    ++(font.version == 1 ? version1 : version2);
    for (uint32_t glyph = 0; glyph < font.length; ++glyph) {
      const uint32_t x = glyph % 12 * 16, y = glyph % 2 * 20, bg = glyph % 3 == 0 ? 0 : paper;
      model(font, ink, bg).put(glyph, x, y);
      fb_putc(glyph, x, y, ink, static_cast<uint16_t>(bg), 0);
    }
    ASSERT_TRUE(screen_->same());
  }
  EXPECT_GT(version1, 0);
  EXPECT_GT(version2, 0);
}

} // namespace
} // namespace dravik::test
