// Packed artwork on the screen: ramps, placement, packing, and malformed archives.

#include "image/archive_stage.hpp"
#include "support/emulation.hpp"
#include "support/ramp_rows.hpp"

namespace dravik::test {
namespace {

class ArchiveDraw : public archive_stage {
protected:
  /// Draw image 0 of slot 0 through the ramp of black on white.
  int show(int32_t x, int32_t y, int32_t align = DRAVIK_TOP_LEFT) {
    return fb_q7bmp_show(x, y, 0, 0, 0x1111, DRAVIK_WHITE, align);
  }

  void expect_at(const art_image &image, int32_t align, uint32_t x, uint32_t y, int32_t given_x,
                 int32_t given_y) {
    SCOPED_TRACE(testing::Message() << "align " << align << ", width " << image.width << ", at " << given_x
                                    << "," << given_y);
    paint_model(image, x, y, DRAVIK_BLACK_ON_WHITE, false);
    EXPECT_EQ(show(given_x, given_y, align), 0);
    EXPECT_TRUE(screen_->same());
  }
};

// ------------------------------------------------------------------------------------------------ ramps

using colours = std::initializer_list<uint16_t>;

TEST_F(ArchiveDraw, SelectsRampByBothColours) {
  constexpr uint16_t named[] = {DRAVIK_BLACK, DRAVIK_WHITE,  DRAVIK_RED,    DRAVIK_GREEN,
                                DRAVIK_BLUE,  DRAVIK_GREY,   DRAVIK_YELLOW, DRAVIK_MAGENTA,
                                DRAVIK_CYAN,  DRAVIK_ORANGE, DRAVIK_THEME,  DRAVIK_TRANSPARENT,
                                0x0001,       0x0820,        0x4321,        0xFFFE};
  const art_image image = random_art(random_, 33, 9);
  use({{image}});
  for (const uint16_t bg : named)
    for (const uint16_t fg : named) {
      SCOPED_TRACE(testing::Message() << "bg " << bg << " fg " << fg);
      paint_model(image, 7, 8, artwork_ramp(bg, fg), bg == DRAVIK_TRANSPARENT);
      EXPECT_EQ(fb_q7bmp_show(7, 8, 0, 0, fg, bg, DRAVIK_TOP_LEFT), 0);
      EXPECT_TRUE(screen_->same());
    }
}

TEST_F(ArchiveDraw, PaintsLevelZeroUnlessBackgroundIsTransparent) {
  const art_image image = {5, 1, {0, 1, 0, 0, 15}};
  use({{image}});
  for (const uint16_t bg :
       colours{DRAVIK_TRANSPARENT, DRAVIK_BLACK, DRAVIK_WHITE, DRAVIK_MAGENTA, DRAVIK_THEME, 0x0001}) {
    const uint16_t fg = bg == DRAVIK_TRANSPARENT ? DRAVIK_GREY : DRAVIK_WHITE;
    paint_model(image, 10, 10, artwork_ramp(bg, fg), bg == DRAVIK_TRANSPARENT);
    EXPECT_EQ(fb_q7bmp_show(10, 10, 0, 0, fg, bg, DRAVIK_TOP_LEFT), 0);
    EXPECT_TRUE(screen_->same());
  }
}

TEST_F(ArchiveDraw, DrawsSparseTransparentImages) {
  for (uint32_t width = 0; width <= 70; ++width) {
    art_image image = random_art(random_, width, 12);
    for (uint8_t &level : image.levels)
      if (random_() % 8 != 0)
        level = 0;
    use({{image}});
    SCOPED_TRACE(width);
    paint_model(image, 9, 9, DRAVIK_GREY_ON_BLACK, true);
    EXPECT_EQ(fb_q7bmp_show(9, 9, 0, 0, DRAVIK_GREY, 0, DRAVIK_TOP_LEFT), 0);
    EXPECT_TRUE(screen_->same());
  }
}

TEST_F(ArchiveDraw, UsesColourTableAtTheCall) {
  const art_image image = random_art(random_, 20, 10);
  use({{image}});
  for (int round = 0; round < 5; ++round) {
    paint_model(image, 1, 1, DRAVIK_BLACK_ON_WHITE, false);
    EXPECT_EQ(show(1, 1), 0);
    EXPECT_TRUE(screen_->same());
    uint16_t &colour = gc[DRAVIK_BLACK_ON_WHITE * DRAVIK_RAMP_STEPS + random_in(random_, 0, 15)];
    colour = static_cast<uint16_t>(colour ^ 0x0421);
  }
  for (uint16_t &colour : gc)
    colour = 0;
  paint_model(image, 1, 1, DRAVIK_BLACK_ON_WHITE, false);
  EXPECT_EQ(show(1, 1), 0);
  EXPECT_TRUE(screen_->same());
}

TEST_F(ArchiveDraw, FollowsThemeColour) {
  const art_image image = random_art(random_, 20, 10);
  use({{image}});
  for (const int32_t theme : {DRAVIK_DEFAULT_THEME, DRAVIK_RED, DRAVIK_WHITE, 0x0000}) {
    set_theme_color(theme);
    paint_model(image, 1, 1, DRAVIK_THEME_TO_WHITE, false);
    EXPECT_EQ(fb_q7bmp_show(1, 1, 0, 0, DRAVIK_WHITE, DRAVIK_THEME, DRAVIK_TOP_LEFT), 0);
    EXPECT_TRUE(screen_->same());
    paint_model(image, 1, 1, DRAVIK_THEME_TO_BLACK, false);
    EXPECT_EQ(fb_q7bmp_show(1, 1, 0, 0, DRAVIK_BLACK, DRAVIK_THEME, DRAVIK_TOP_LEFT), 0);
    EXPECT_TRUE(screen_->same());
  }
}

// ------------------------------------------------------------------------------------------------ packing

TEST_F(ArchiveDraw, DrawsHighHalfAsLeftPixel) {
  use({{{2, 1, {3, 12}}}});
  show(0, 0);
  screen_->model().put(0, 0, gc[DRAVIK_BLACK_ON_WHITE * DRAVIK_RAMP_STEPS + 3]);
  screen_->model().put(1, 0, gc[DRAVIK_BLACK_ON_WHITE * DRAVIK_RAMP_STEPS + 12]);
  EXPECT_TRUE(screen_->same());
}

TEST_F(ArchiveDraw, DrawsEveryWidth) {
  for (uint32_t width = 1; width <= 68; ++width) {
    const art_image image = random_art(random_, width, random_in(random_, 1, 7));
    use({{image}});
    expect_at(image, 0, 11, 13, 11, 13);
  }
}

TEST_F(ArchiveDraw, FindsImagesByNumber) {
  archive_maker maker;
  for (uint32_t i = 0; i < 10; ++i)
    maker.images.push_back(random_art(random_, i + 1, 10 - i));
  use(maker);
  for (int32_t index = 0; index < 10; ++index) {
    paint_model(maker.images[static_cast<size_t>(index)], 30, 20, DRAVIK_BLACK_ON_WHITE, false);
    EXPECT_EQ(fb_q7bmp_show(30, 20, 0, index, 0, DRAVIK_WHITE, DRAVIK_TOP_LEFT), 0);
    EXPECT_TRUE(screen_->same());
  }
}

TEST_F(ArchiveDraw, DrawsLastImageForTooHighIndex) {
  archive_maker maker;
  for (uint32_t i = 0; i < 10; ++i)
    maker.images.push_back(random_art(random_, 8, 8));
  use(maker);
  for (const int32_t index : {10, 11, 999, INT32_MAX}) {
    paint_model(maker.images[9], 30, 20, DRAVIK_BLACK_ON_WHITE, false);
    EXPECT_EQ(fb_q7bmp_show(30, 20, 0, index, 0, DRAVIK_WHITE, DRAVIK_TOP_LEFT), 0);
    EXPECT_TRUE(screen_->same());
  }
  EXPECT_EQ(messages(), strings{});
}

TEST_F(ArchiveDraw, DrawsNothingWithoutRowsOrColumns) {
  use({{{7, 0, {}}, {0, 7, {}}, {0, 0, {}}}});
  for (const int32_t index : {0, 1, 2})
    for (const int32_t align : {0, 3, 8})
      EXPECT_EQ(fb_q7bmp_show(5, 5, 0, index, 0, DRAVIK_WHITE, align), 0);
  EXPECT_TRUE(screen_->same());
  EXPECT_EQ(messages(), strings{});
}

TEST_F(ArchiveDraw, ContinuesAcrossRightEdgeInNextLine) {
  use_screen({.xres = 40, .yres = 30});
  const art_image image = random_art(random_, 61, 9);
  use({{image}});
  expect_at(image, 0, 20, 4, 20, 4);
}

TEST_F(ArchiveDraw, ClipsLargeImageAtEndOfMemory) {
  for (const auto &[width, height] : {std::pair{9U, 31U}, {9U, 40U}, {45U, 20U}, {300U, 28U}, {64U, 64U}})
    for (const uint16_t bg : colours{0, 0x0821}) {
      SCOPED_TRACE(testing::Message() << width << " x " << height << " on " << bg);
      use_screen({.xres = 40, .yres = 30, .padding = 6});
      const uint32_t line_pixels = 43;
      const art_image image = random_art(random_, width, height);
      use({{image}});
      for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x)
          if (const uint8_t level = image.level(x, y); (y + 3) * line_pixels + x + 5 < 30 * line_pixels)
            if (level != 0 || bg != 0)
              screen_->model().put(x + 5, y + 3, gc[DRAVIK_WHITE_ON_BLACK * DRAVIK_RAMP_STEPS + level]);
      EXPECT_EQ(fb_q7bmp_show(5, 3, 0, 0, DRAVIK_WHITE, bg, DRAVIK_TOP_LEFT), 0);
      EXPECT_TRUE(screen_->same());
    }
}

/// An image larger than the screen of 40 by 30 pixels, of which each pixel in a memory of `bytes` bytes is
/// drawn. Line `first_line` of that memory is the first of the screen.
class LargeArt : public ArchiveDraw {
protected:
  static constexpr int64_t line_length = 86;

  LargeArt() { use_screen({.xres = 40, .yres = 30, .padding = 6, .guard_lines = 40}); }

  void draw_and_compare(uint32_t width, uint32_t height, int32_t x, int32_t y, int64_t first_line = 0,
                        int64_t bytes = 30 * line_length) {
    const art_image image = random_art(random_, width, height);
    use({{image}});
    for (const uint16_t bg : colours{0, 0x0821}) {
      SCOPED_TRACE(testing::Message() << width << " x " << height << " at " << x << "," << y << " on " << bg);
      for (uint32_t row = 0; row < height; ++row)
        for (uint32_t column = 0; column < width; ++column) {
          const int64_t to_x = x + int64_t{column}, to_y = y + first_line + row;
          const int64_t at = to_y * line_length + to_x * 2;
          if (const uint8_t level = image.level(column, row); level != 0 || bg != 0)
            if (at >= 0 && at + 2 <= bytes)
              screen_->model().put(to_x, to_y, gc[DRAVIK_WHITE_ON_BLACK * DRAVIK_RAMP_STEPS + level]);
        }
      EXPECT_EQ(fb_q7bmp_show(x, y, 0, 0, DRAVIK_WHITE, bg, DRAVIK_TOP_LEFT), 0);
      EXPECT_TRUE(screen_->same());
    }
  }
};

TEST_F(LargeArt, IsClippedAtStartOfMemoryWithinRow) {
  draw_and_compare(330, 4, -5, 0);
  draw_and_compare(331, 4, -6, 0);
  draw_and_compare(330, 4, -1, 0);
  draw_and_compare(45, 20, 0, -1);
  draw_and_compare(45, 20, 39, -1); // the tail of the row above the screen reaches into line 0
  draw_and_compare(64, 64, -20, -30);
  draw_and_compare(64, 64, -21, -31);
}

TEST_F(LargeArt, EndsWithTheMemoryWithinARow) {
  draw_and_compare(41, 3, 10, 28); // of the last row only 33 pixels
  draw_and_compare(41, 3, 11, 28);
  draw_and_compare(9, 31, 38, 3);
  draw_and_compare(300, 28, 5, 3);
}

TEST_F(LargeArt, SkipsPixelsNextToMemory) {
  draw_and_compare(41, 3, 0, -3);
  draw_and_compare(41, 3, -84, 0);
  draw_and_compare(41, 3, 0, 30);
  use({{random_art(random_, 41, 3)}});
  for (const int32_t far : {INT32_MIN, INT32_MIN + 1, INT32_MAX - 1, INT32_MAX}) {
    EXPECT_EQ(fb_q7bmp_show(far, 0, 0, 0, DRAVIK_WHITE, 0, DRAVIK_TOP_LEFT), 0);
    EXPECT_EQ(fb_q7bmp_show(0, far, 0, 0, DRAVIK_WHITE, DRAVIK_BLACK, DRAVIK_TOP_LEFT), 0);
  }
  EXPECT_TRUE(screen_->same());
}

TEST_F(LargeArt, DrawsRowsThatBeginInMemoryAtFarColumns) {
  draw_and_compare(41, 3, INT32_MIN, 49'941'481);  // 2 * -2^31 + 86 * 49'941'481 = 70
  draw_and_compare(41, 3, INT32_MAX, -49'941'480); // 2 * (2^31 - 1) - 86 * 49'941'480 = 14
}

TEST_F(LargeArt, UsesWholeMappingInSecondBuffer) {
  fbp = fbp0 + 15 * line_length;
  fbinfo[FBINFO_YRES] = 15;
  draw_and_compare(45, 20, -5, -3, 15);
  draw_and_compare(45, 40, 3, -20, 15);
  draw_and_compare(330, 16, 7, 2, 15);
}

TEST_F(LargeArt, UsesEndOfMappingWithLongerLines) {
  fbinfo[FBINFO_SCREEN_SIZE] = 20 * line_length + 31; // a pixel that is half in it is not drawn
  draw_and_compare(41, 31, 4, 3, 0, 20 * line_length + 30);
  draw_and_compare(41, 3, -5, 0, 0, 20 * line_length + 30);
}

TEST_F(LargeArt, UsesScreenInformationOutsideMapping) {
  fbp0 = nullptr;
  draw_and_compare(41, 31, -4, -3);
  draw_and_compare(41, 31, 4, 3);
  fbinfo[FBINFO_SCREEN_SIZE] = 0; // then as many lines as are visible
  draw_and_compare(41, 31, -4, -3);
  draw_and_compare(41, 31, 4, 3);
  fbp0 = fbp + 30 * line_length;
  fbinfo[FBINFO_SCREEN_SIZE] = 31 * line_length;
  draw_and_compare(41, 40, 4, 3, 0, 31 * line_length);
}

TEST_F(ArchiveDraw, StepsOverPaddedLines) {
  use_screen({.xres = 40, .yres = 30, .padding = 200});
  const art_image image = random_art(random_, 21, 9);
  use({{image}});
  expect_at(image, 0, 2, 4, 2, 4);
}

// ------------------------------------------------------------------------------------------------ placement

TEST_F(ArchiveDraw, PlacesByCentreCodes) {
  const art_image image = random_art(random_, 11, 9);
  use({{image}});
  expect_at(image, 1, 25, 20, 30, 20);
  expect_at(image, 2, 30, 16, 30, 20);
  expect_at(image, 3, 25, 16, 30, 20);
  expect_at(image, 3, 1, 1, 6, 5);
  expect_at(image, 3, 0, 0, 5, 4);
  expect_at(image, 3, 0, 0, 0, 0);
  expect_at(image, 3, 0, 0, -100, -100);
  expect_at(image, 1, 0, 7, INT32_MIN, 7);
  expect_at(image, 2, 7, 0, 7, INT32_MIN);
}

TEST_F(ArchiveDraw, PlacesByColumnCodes) {
  const struct {
    int32_t align;
    uint32_t start, width;
  } columns[] = {{8, 0, 80},    {9, 0, 160},    {10, 80, 80}, {11, 0, 320},
                 {12, 160, 80}, {13, 160, 160}, {14, 240, 80}};
  for (const auto &[align, start, column] : columns)
    for (const uint32_t width : {1U, 2U, 59U, 60U, 79U, 80U, 81U, 100U, 159U, 160U, 161U, 319U, 320U, 321U}) {
      const art_image image = random_art(random_, width, 3);
      use({{image}});
      expect_at(image, align, width <= column ? start + (column - width) / 2 : 17, 12, 17, 12);
    }
}

TEST_F(ArchiveDraw, PlacesSixtyColumnsInFirstQuarterAtTen) {
  const art_image image = random_art(random_, 60, 3);
  use({{image}});
  expect_at(image, 8, 10, 1, 200, 1);
}

TEST_F(ArchiveDraw, TreatsOtherCodesAsTopLeft) {
  const art_image image = random_art(random_, 11, 9);
  use({{image}});
  for (const int32_t align : {0, 4, 5, 6, 7, 15, 16, 100, 257, -1, -8, INT32_MIN, INT32_MAX})
    expect_at(image, align, 30, 20, 30, 20);
}

// ------------------------------------------------------------------------------------------------ failures

TEST_F(ArchiveDraw, FailsForEmptySlot) {
  for (const uint32_t slot : {0U, 1U, 31U})
    EXPECT_EQ(fb_q7bmp_show(0, 0, slot, 0, 0, DRAVIK_WHITE, DRAVIK_TOP_LEFT), -1);
  EXPECT_EQ(messages(), strings(3, "q7bmp ptr is NULL"));
  EXPECT_TRUE(screen_->same());
}

TEST_F(ArchiveDraw, LogsSlotOutOfRange) {
  use({{random_art(random_, 8, 8)}});
  for (const uint32_t slot : {32U, 33U, 1000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU})
    EXPECT_EQ(fb_q7bmp_show(0, 0, slot, 0, 0, DRAVIK_WHITE, DRAVIK_TOP_LEFT), -1);
  EXPECT_EQ(messages().size(), 6U);
  EXPECT_TRUE(screen_->same());
}

TEST_F(ArchiveDraw, LogsNegativeIndex) {
  use({{random_art(random_, 8, 8)}});
  for (const int32_t index : {-1, -2, INT32_MIN})
    EXPECT_EQ(fb_q7bmp_show(0, 0, 0, index, 0, DRAVIK_WHITE, DRAVIK_TOP_LEFT), -1);
  EXPECT_EQ(messages().size(), 3U);
  EXPECT_TRUE(screen_->same());
}

TEST_F(ArchiveDraw, FailsForArchiveWithoutImages) {
  archive_maker maker;
  for (const uint32_t count : {0U, 0x80000000U, 0xFFFFFFFFU}) {
    maker.count = count;
    use(maker);
    EXPECT_EQ(fb_q7bmp_show(0, 0, 0, 0, 0, DRAVIK_WHITE, DRAVIK_TOP_LEFT), -1);
  }
  EXPECT_EQ(messages(), (strings{"q7bmp num error! num_q7bmp = 0", "q7bmp num error! num_q7bmp = -2147483648",
                                 "q7bmp num error! num_q7bmp = -1"}));
  EXPECT_TRUE(screen_->same());
}

// ------------------------------------------------------------------------------------------------ hostile

TEST_F(ArchiveDraw, RecordsBeyondTheFileFailWithALine) {
  archive_maker maker = {{random_art(random_, 4, 4)}};
  for (const uint32_t count : {3U, 1000U, 0x0FFFFFFFU, 0x10000000U, 0x7FFFFFFFU}) {
    maker.count = count;
    use(maker);
    EXPECT_EQ(fb_q7bmp_show(0, 0, 0, INT32_MAX, 0, DRAVIK_WHITE, DRAVIK_TOP_LEFT), -1) << count;
  }
  EXPECT_EQ(messages().size(), 5U);
  EXPECT_TRUE(screen_->same());
}

TEST_F(ArchiveDraw, LogsPixelsBeyondFile) {
  const struct {
    uint32_t width, height, offset;
  } records[] = {
      {4, 4, 33},
      {4, 4, 40},
      {4, 4, 0xFFFFFFFF},
      {5, 4, 32},
      {4, 5, 32},
      {0x10000, 1, 32},
      {1, 0x10000, 32},
      {0x10000, 0x10000, 32},
      {0x80000001, 2, 0},
      {0xFFFFFFFF, 1, 32},
      {0xFFFFFFFF, 0xFFFFFFFF, 0},
      {1, 0xFFFFFFFF, 0},
  };
  strings said;
  for (const auto &[width, height, offset] : records) {
    bytes content = archive_maker{{random_art(random_, 4, 4)}}.file();
    put_u32(content, 16, width);
    put_u32(content, 20, height);
    put_u32(content, 24, offset);
    std::free(q7bmp_ptr[0]);
    load(1, {file("art", content)});
    EXPECT_EQ(show(0, 0), -1) << width << " x " << height << " at " << offset;
    said.push_back("");
    EXPECT_EQ(messages().size(), said.size());
  }
  EXPECT_TRUE(screen_->same());
}

TEST_F(ArchiveDraw, DrawsPixelsThatEndWithFile) {
  const art_image image = random_art(random_, 5, 4);
  bytes content = archive_maker{{image}}.file();
  load(1, {file("art", content)});
  expect_at(image, 0, 3, 3, 3, 3);
}

TEST_F(ArchiveDraw, DrawsPixelsAnywhereInFile) {
  bytes content = archive_maker{{random_art(random_, 6, 2)}}.file();
  put_u32(content, 24, 0); // the header itself: "KORVEX"
  load(1, {file("art", content)});
  expect_at({6, 2, {4, 0xB, 4, 0xF, 5, 2, 5, 6, 4, 5, 5, 8}}, 0, 3, 3, 3, 3);
}

TEST_F(ArchiveDraw, DrawsOrRejectsFileCutAnywhere) {
  archive_maker maker = {{random_art(random_, 7, 3), random_art(random_, 4, 4)}};
  const bytes whole = maker.file();
  for (size_t length = 16; length < whole.size(); ++length) {
    SCOPED_TRACE(length);
    bytes content = first_bytes(whole, length);
    put_u32(content, 12, static_cast<uint32_t>(length));
    std::free(q7bmp_ptr[0]);
    load(1, {file("art", content)});
    ASSERT_NE(q7bmp_ptr[0], nullptr);
    const bool has_first = length >= 48 + 12;
    if (has_first)
      paint_model(maker.images[0], 5, 5, DRAVIK_BLACK_ON_WHITE, false);
    EXPECT_EQ(show(5, 5), has_first ? 0 : -1);
    EXPECT_EQ(fb_q7bmp_show(5, 5, 0, 1, 0, DRAVIK_WHITE, DRAVIK_TOP_LEFT), -1);
    EXPECT_TRUE(screen_->same());
  }
}

TEST_F(ArchiveDraw, DrawsOrRejectsRandomRecords) {
  use_screen({.xres = 256, .yres = 256});
  int drawn = 0;
  for (int round = 0; round < rounds(1000); ++round) {
    bytes content = archive_maker{{{64, 32, random_bytes(random_, 2048)}}}.file();
    for (bytes::iterator byte = content.begin() + 32; byte != content.end(); ++byte)
      *byte = static_cast<uint8_t>(random_());
    const uint32_t width = random_in(random_, 0, 63) << random_in(random_, 0, 2);
    const uint32_t height = random_in(random_, 0, 31) << random_in(random_, 0, 2);
    const uint32_t offset = random_in(random_, 0, static_cast<uint32_t>(content.size()) + 20);
    put_u32(content, 16, width);
    put_u32(content, 20, height);
    put_u32(content, 24, offset);
    std::free(q7bmp_ptr[0]);
    load(1, {file("art", content)});
    const size_t row_bytes = (width + 1) / 2;
    const bool fits = height == 0 || offset + uint64_t{row_bytes} * height <= content.size();
    if (fits) {
      art_image image = {width, height, {}};
      for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x) {
          const uint8_t both = content[offset + y * row_bytes + x / 2];
          image.levels.push_back(static_cast<uint8_t>(x % 2 == 0 ? both >> 4 : both & 15));
        }
      paint_model(image, 2, 3, DRAVIK_BLACK_ON_WHITE, false);
    }
    SCOPED_TRACE(testing::Message() << width << " x " << height << " at " << offset);
    ASSERT_EQ(show(2, 3), fits ? 0 : -1);
    ASSERT_TRUE(screen_->same());
    drawn += fits;
  }
  EXPECT_GT(drawn, rounds(1000) / 7);
  EXPECT_LT(drawn, rounds(1000) * 9 / 10);
}

} // namespace
} // namespace dravik::test
