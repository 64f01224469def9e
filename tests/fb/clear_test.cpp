// Whole-screen clears and the gradient.

#include "support/emulation.hpp"
#include "support/random.hpp"
#include "support/screen.hpp"

#include <algorithm>
#include <climits>
#include <gmock/gmock.h>
#include <initializer_list>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

int32_t xres() {
  return static_cast<int32_t>(fbinfo[FBINFO_XRES]);
}

int32_t yres() {
  return static_cast<int32_t>(fbinfo[FBINFO_YRES]);
}

void model_clear(fake_screen &screen, uint16_t colour) {
  for (int32_t y = 0; y <= std::max(yres() - 1, 0); ++y)
    for (int32_t x = 0; x <= std::max(xres() - 1, 0); ++x)
      screen.model().put(x, y, colour);
}

/// The gradient on columns and lines, clipped to the screen.
void model_shading(fake_screen &screen, int32_t left, int32_t top, int32_t right, int32_t bottom) {
  for (int32_t y = std::max(top, 1); y <= std::min({bottom, 207, yres() - 1}); ++y)
    for (int32_t x = std::max(left, 0); x <= std::min(right, xres() - 1); ++x)
      screen.model().put(x, y, grad_line[y]);
}

screen_shape any_shape(seeded_random &random, int32_t widest, int32_t highest) {
  return {.xres = static_cast<uint32_t>(random.between(0, widest)),
          .yres = static_cast<uint32_t>(random.between(0, highest)),
          .padding = static_cast<uint32_t>(random.between(1, 5)) * 2,
          .misalignment = random.one_in(2) ? 2U : 0U};
}

TEST(FbClearScreen, PaintsEveryVisiblePixelAndNoPadding) {
  fake_screen screen{{.xres = 5, .yres = 3, .padding = 4}};
  fb_clear_screen(DRAVIK_RED);
  EXPECT_EQ(screen.drawing(DRAVIK_RED), "#####\n"
                                        "#####\n"
                                        "#####\n");
}

TEST(FbClearScreen, ClearsScreensOfAllShapes) {
  seeded_random random;
  for (int i = 0; i < 500; ++i) {
    const screen_shape shape = any_shape(random, i % 2 == 0 ? 40 : 400, 30);
    fake_screen screen{shape};
    const uint16_t colour = random.colour();
    fb_clear_screen(colour);
    model_clear(screen, colour);
    ASSERT_TRUE(screen.same()) << shape.xres << " by " << shape.yres;
  }
}

TEST(FbClearScreen, LeavesPadding) {
  for (const uint32_t width : {1U, 2U, 7U, 64U, 333U}) {
    fake_screen screen{width, 21};
    fb_clear_screen(DRAVIK_GREEN);
    model_clear(screen, DRAVIK_GREEN);
    EXPECT_TRUE(screen.same()) << width;
  }
}

TEST(FbClearScreen, ClearsFirstPixelOfEmptyScreen) {
  fake_screen screen{{.xres = 0, .yres = 0, .padding = 8}};
  fb_clear_screen(DRAVIK_RED);
  EXPECT_THAT(screen.painted(), ElementsAre(Pair(0, 0)));
}

TEST(FbClearScreen, ClearsFirstColumnOfScreenWithoutColumns) {
  fake_screen screen{{.xres = 0, .yres = 3, .padding = 8}};
  fb_clear_screen(DRAVIK_RED);
  EXPECT_THAT(screen.painted(), ElementsAre(Pair(0, 0), Pair(0, 1), Pair(0, 2)));
}

TEST(FbClearScreen, UsesThemeColourAtTheCall) {
  fake_screen screen{6, 4};
  for (const uint16_t theme :
       std::initializer_list<uint16_t>{DRAVIK_RED, DRAVIK_DEFAULT_THEME, DRAVIK_THEME}) {
    set_theme_color(theme);
    fb_clear_screen(DRAVIK_THEME);
    model_clear(screen, theme);
    EXPECT_TRUE(screen.same()) << theme;
  }
}

TEST(FbClearScreen, ReadsThemeFromColourTable) {
  fake_screen screen{6, 4};
  set_theme_color(DRAVIK_RED);
  gc[432] = DRAVIK_BLUE;
  fb_clear_screen(DRAVIK_THEME);
  model_clear(screen, DRAVIK_BLUE);
  EXPECT_TRUE(screen.same());
}

TEST(FbClearScreen, IgnoresHighBitsOfColour) {
  fake_screen screen{6, 4};
  fb_clear_screen(0xABCD001F);
  model_clear(screen, DRAVIK_BLUE);
  EXPECT_TRUE(screen.same());
}

TEST(FbClearScreen, TreatsThemeCodeWithHighBitsAsColour) {
  fake_screen screen{6, 4};
  set_theme_color(DRAVIK_RED);
  fb_clear_screen(0x10000 + DRAVIK_THEME);
  model_clear(screen, DRAVIK_THEME);
  EXPECT_TRUE(screen.same());
}

TEST(FbClearScreenGradient, LeavesLineZeroAndLinesFrom208On) {
  fake_screen screen{320, 240};
  fb_clear_screen_gradient();
  const auto painted = screen.painted();
  EXPECT_EQ(painted.size(), 320U * 207);
  EXPECT_EQ(painted.front(), std::pair(0, 1));
  EXPECT_EQ(painted.back(), std::pair(319, 207));
  EXPECT_EQ(screen.drawn().get(0, 1), 0x39C7);
  EXPECT_EQ(screen.drawn().get(160, 82), 0x2104);
  EXPECT_EQ(screen.drawn().get(319, 207), 0x0820);
}

TEST(FbClearScreenGradient, LeavesColumnsFrom320On) {
  fake_screen screen{640, 480};
  fb_clear_screen_gradient();
  model_shading(screen, 0, 1, 319, 207);
  EXPECT_TRUE(screen.same());
}

TEST(FbClearScreenGradient, DrawsOnScreensOfAllShapes) {
  constexpr screen_shape shapes[] = {
      {.xres = 319, .yres = 208},
      {.xres = 321, .yres = 207, .padding = 2},
      {.xres = 320, .yres = 209, .misalignment = 2},
      {.xres = 200, .yres = 100, .padding = 6},
      {.xres = 1, .yres = 240},
      {.xres = 0, .yres = 240, .padding = 2},
      {.xres = 40, .yres = 0},
      {.xres = 40, .yres = 1},
      {.xres = 40, .yres = 2},
      {.xres = 33, .yres = 16, .misalignment = 2},
  };
  for (const screen_shape &shape : shapes) {
    fake_screen screen{shape};
    fb_clear_screen_gradient();
    model_shading(screen, 0, 1, 319, 207);
    EXPECT_TRUE(screen.same()) << shape.xres << " by " << shape.yres;
  }
}

TEST(FbClearRegionGradient, IsClippedAndLeavesLineZero) {
  fake_screen screen{32, 10};
  fb_clear_region_gradient(-2, 0, 40, 5);
  for (int y = 1; y <= 5; ++y)
    for (int x = 0; x <= 31; ++x)
      screen.model().put(x, y, 0x39C7);
  EXPECT_TRUE(screen.same());
}

TEST(FbClearRegionGradient, DrawsNothingOnLineZero) {
  fake_screen screen{32, 10};
  fb_clear_region_gradient(0, 0, 31, 0);
  EXPECT_THAT(screen.painted(), IsEmpty());
}

TEST(FbClearRegionGradient, EndsAtLine207) {
  fake_screen screen{8, 320};
  fb_clear_region_gradient(2, 206, 3, 300);
  EXPECT_THAT(screen.painted(), ElementsAre(Pair(2, 206), Pair(3, 206), Pair(2, 207), Pair(3, 207)));
}

TEST(FbClearRegionGradient, DrawsNothingBelowLine207) {
  fake_screen screen{8, 320};
  fb_clear_region_gradient(0, 208, 7, 319);
  EXPECT_THAT(screen.painted(), IsEmpty());
}

TEST(FbClearRegionGradient, DrawsBeyondColumn319) {
  fake_screen screen{400, 40};
  fb_clear_region_gradient(310, 14, 500, 16);
  model_shading(screen, 310, 14, 399, 16);
  EXPECT_TRUE(screen.same());
  EXPECT_EQ(screen.drawn().get(399, 14), 0x39C7);
  EXPECT_EQ(screen.drawn().get(399, 15), 0x39A7);
}

TEST(FbClearRegionGradient, AcceptsSwappedColumnsButNotLines) {
  fake_screen screen{16, 16};
  fb_clear_region_gradient(9, 3, 4, 6);
  model_shading(screen, 4, 3, 9, 6);
  EXPECT_TRUE(screen.same());
  screen.reset();
  fb_clear_region_gradient(4, 6, 9, 3);
  EXPECT_THAT(screen.painted(), IsEmpty());
}

TEST(FbClearRegionGradient, DrawsNothingNextToScreen) {
  fake_screen screen{16, 16};
  fb_clear_region_gradient(-9, 3, -1, 6);
  fb_clear_region_gradient(16, 3, 20, 6);
  fb_clear_region_gradient(0, -9, 15, -1);
  fb_clear_region_gradient(0, 16, 15, 20);
  EXPECT_THAT(screen.painted(), IsEmpty());
}

TEST(FbClearRegionGradient, DrawsVisiblePartOfLargestRegion) {
  fake_screen screen{{.xres = 330, .yres = 215, .padding = 6}};
  fb_clear_region_gradient(INT_MAX, INT_MIN, INT_MIN, INT_MAX);
  model_shading(screen, 0, 1, 329, 207);
  EXPECT_TRUE(screen.same());
}

TEST(FbClearRegionGradient, RestoresWhatTheWholeShadingPainted) {
  fake_screen screen{320, 240};
  fb_clear_screen_gradient();
  model_shading(screen, 0, 1, 319, 207);
  fb_put_rect_fill(30, 70, 200, 160, DRAVIK_WHITE);
  fb_clear_region_gradient(30, 70, 200, 160);
  EXPECT_TRUE(screen.same());
}

TEST(FbClearRegionGradient, DrawsRandomRegionsOnRandomScreens) {
  seeded_random random;
  for (int i = 0; i < rounds(300); ++i) {
    fake_screen screen{any_shape(random, 40, 230)};
    for (int region = 0; region < 20; ++region) {
      const int32_t x0 = random.between(-9, 49), x1 = random.between(-9, 49);
      const int32_t y0 = random.between(-9, 239), y1 = random.between(-9, 239);
      screen.reset();
      fb_clear_region_gradient(x0, y0, x1, y1);
      model_shading(screen, std::min(x0, x1), y0, std::max(x0, x1), y1);
      ASSERT_TRUE(screen.same()) << x0 << ", " << y0 << ", " << x1 << ", " << y1;
    }
  }
}

} // namespace
} // namespace dravik::test
