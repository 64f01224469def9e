// Rectangles, next to a model made of plain spans.

#include "support/emulation.hpp"
#include "support/random.hpp"
#include "support/screen.hpp"

#include <algorithm>
#include <climits>
#include <functional>
#include <gmock/gmock.h>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

/// The span rules of all rectangles, a pixel at a time.
struct span_model {
  model_plane on;
  int32_t xres, yres;
  uint16_t colour;

  explicit span_model(fake_screen &screen, uint16_t paint)
      : on(screen.model()), xres(static_cast<int32_t>(fbinfo[FBINFO_XRES])),
        yres(static_cast<int32_t>(fbinfo[FBINFO_YRES])), colour(paint) {}

  void row(int32_t y, int32_t a, int32_t b) const {
    if (y < 0 || y > yres - 1)
      return;
    int32_t last = std::max(a, b);
    if (last >= xres)
      last = xres - 1;
    for (int32_t x = std::max(std::min(a, b), 0); x <= last; ++x)
      on.put(x, y, colour);
  }

  void column(int32_t x, int32_t a, int32_t b) const {
    if (x > xres)
      return;
    const int32_t last = std::min(std::max(a, b), yres - 1);
    for (int32_t y = std::min(a, b); y <= last; ++y)
      on.put(x, y, colour);
  }

  void filled(int32_t x0, int32_t y0, int32_t x1, int32_t y1) const {
    const int32_t bottom = std::min(std::max(y0, y1), yres - 1);
    for (int32_t y = std::max(std::min(y0, y1), 0); y <= bottom; ++y)
      row(y, x0, x1);
  }

  void outlined(int32_t x0, int32_t y0, int32_t x1, int32_t y1) const {
    row(y0, x0, x1);
    row(y1, x0, x1);
    column(x0, y0, y1);
    column(x1, y0, y1);
  }

  void thick(int32_t x0, int32_t y0, int32_t x1, int32_t y1, int32_t thickness) const {
    const int32_t t = std::min({thickness, std::abs(x1 - x0), std::abs(y1 - y0)});
    const bool forth = x0 < x1 && y0<y1, back = x0> x1 && y0 > y1;
    if (t < 1 || (!forth && !back))
      return;
    const int32_t left = std::min(x0, x1), top = std::min(y0, y1);
    const int32_t right = std::max(x0, x1), bottom = std::max(y0, y1);
    for (int32_t k = 0; k < t; ++k) {
      row(top + k, left, right);
      row(bottom - k, left, right);
      column(left + k, top, bottom);
      column(right - k, top, bottom);
    }
  }
};

/// Draw one random rectangle on the screen and one on its model.
using draw_one = std::function<void(fake_screen &, seeded_random &)>;

/// Many small screens of all shapes, and rectangles on, across and around each of them.
void expect_same_on_random_screens(const draw_one &draw) {
  seeded_random random;
  for (int shape = 0; shape < rounds(400); ++shape) {
    const bool wide = random.one_in(4);
    fake_screen screen{{.xres = static_cast<uint32_t>(random.between(0, wide ? 300 : 40)),
                        .yres = static_cast<uint32_t>(random.between(0, 24)),
                        .padding = static_cast<uint32_t>(random.between(1, 5)) * 2,
                        .misalignment = random.one_in(2) ? 2U : 0U,
                        .guard_lines = 40}};
    for (int i = 0; i < 150; ++i) {
      draw(screen, random);
      ASSERT_TRUE(screen.same()) << "screen " << shape << ", rectangle " << i << ": " << fbinfo[FBINFO_XRES]
                                 << " by " << fbinfo[FBINFO_YRES];
    }
  }
}

/// Corners around the screen: up to 9 columns and lines off it, and often on its very edges.
struct corners {
  int32_t x0, y0, x1, y1;

  explicit corners(seeded_random &random)
      : x0(any(random, FBINFO_XRES)), y0(any(random, FBINFO_YRES)), x1(any(random, FBINFO_XRES)),
        y1(any(random, FBINFO_YRES)) {}

  static int32_t any(seeded_random &random, dravik_fbinfo size_word) {
    const auto size = static_cast<int32_t>(fbinfo[size_word]);
    if (random.one_in(4))
      return size - 2 + random.between(0, 3);
    return random.between(-9, size + 9);
  }
};

TEST(FbPutRectFill, CoversBothCorners) {
  fake_screen screen{16, 12};
  fb_put_rect_fill(2, 2, 12, 8, DRAVIK_RED);
  EXPECT_EQ(screen.painted().size(), 11U * 7);
  EXPECT_EQ(screen.painted().front(), std::pair(2, 2));
  EXPECT_EQ(screen.painted().back(), std::pair(12, 8));
}

TEST(FbPutRectFill, AcceptsAnyOrderOfCorners) {
  fake_screen screen{16, 12};
  constexpr int32_t orders[][4] = {{12, 8, 2, 2}, {2, 8, 12, 2}, {12, 2, 2, 8}};
  for (const auto &[x0, y0, x1, y1] : orders) {
    screen.reset();
    fb_put_rect_fill(x0, y0, x1, y1, DRAVIK_RED);
    span_model{screen, DRAVIK_RED}.filled(2, 2, 12, 8);
    EXPECT_TRUE(screen.same()) << x0 << ", " << y0;
  }
}

TEST(FbPutRectFill, IsClippedAtTheTopLeft) {
  fake_screen screen{8, 6};
  fb_put_rect_fill(-3, -2, 5, 4, DRAVIK_RED);
  EXPECT_EQ(screen.drawing(DRAVIK_RED), "######..\n"
                                        "######..\n"
                                        "######..\n"
                                        "######..\n"
                                        "######..\n"
                                        "........\n");
}

TEST(FbPutRectFill, IsClippedAtTheBottomRight) {
  fake_screen screen{{.xres = 5, .yres = 3, .padding = 8}};
  fb_put_rect_fill(3, 1, 5, 3, DRAVIK_RED);
  EXPECT_EQ(screen.drawing(DRAVIK_RED), ".....\n"
                                        "...##\n"
                                        "...##\n");
}

TEST(FbPutRectFill, DrawsOnePixelForEqualCorners) {
  fake_screen screen{8, 8};
  fb_put_rect_fill(5, 5, 5, 5, DRAVIK_RED);
  EXPECT_THAT(screen.painted(), ElementsAre(Pair(5, 5)));
}

TEST(FbPutRectFill, DrawsNothingOffTheScreen) {
  fake_screen screen{8, 8};
  constexpr int32_t outside[][4] = {{-5, 2, -1, 4}, {8, 2, 12, 4}, {2, -4, 4, -1}, {2, 8, 4, 9}};
  for (const auto &[x0, y0, x1, y1] : outside)
    fb_put_rect_fill(x0, y0, x1, y1, DRAVIK_RED);
  EXPECT_THAT(screen.painted(), IsEmpty());
}

TEST(FbPutRectFill, FillsScreenBetweenFarthestCorners) {
  fake_screen screen{{.xres = 9, .yres = 5, .padding = 6}};
  fb_put_rect_fill(INT_MIN, INT_MAX, INT_MAX, INT_MIN, DRAVIK_RED);
  span_model{screen, DRAVIK_RED}.filled(0, 0, 8, 4);
  EXPECT_TRUE(screen.same());
}

TEST(FbPutRectFill, FillsEveryWidthAtEveryAlignment) {
  for (const uint32_t misalignment : {0U, 2U}) {
    fake_screen screen{{.xres = 300, .yres = 3, .padding = 2, .misalignment = misalignment}};
    for (int32_t left = 0; left < 9; ++left)
      for (int32_t right = left; right < 300; right += stride()) {
        screen.reset();
        fb_put_rect_fill(left, 0, right, 2, DRAVIK_MAGENTA);
        span_model{screen, DRAVIK_MAGENTA}.filled(left, 0, right, 2);
        ASSERT_TRUE(screen.same()) << left << " to " << right << " at " << misalignment;
      }
  }
}

TEST(FbPutRectFill, DrawsRandomRectanglesOnRandomScreens) {
  expect_same_on_random_screens([](fake_screen &screen, seeded_random &random) {
    const corners at{random};
    const uint16_t colour = random.colour();
    fb_put_rect_fill(at.x0, at.y0, at.x1, at.y1, colour);
    span_model{screen, colour}.filled(at.x0, at.y0, at.x1, at.y1);
  });
}

TEST(FbPutRect, DrawsOnePixelWideWithinCorners) {
  fake_screen screen{7, 6};
  fb_put_rect(1, 1, 5, 4, DRAVIK_RED);
  EXPECT_EQ(screen.drawing(DRAVIK_RED), ".......\n"
                                        ".#####.\n"
                                        ".#...#.\n"
                                        ".#...#.\n"
                                        ".#####.\n"
                                        ".......\n");
}

TEST(FbPutRect, AcceptsAnyOrderOfCorners) {
  fake_screen screen{16, 12};
  constexpr int32_t orders[][4] = {{12, 8, 2, 2}, {2, 8, 12, 2}, {12, 2, 2, 8}};
  for (const auto &[x0, y0, x1, y1] : orders) {
    screen.reset();
    fb_put_rect(x0, y0, x1, y1, DRAVIK_RED);
    span_model{screen, DRAVIK_RED}.outlined(2, 2, 12, 8);
    EXPECT_TRUE(screen.same()) << x0 << ", " << y0;
  }
}

TEST(FbPutRect, LeavesSidesUnclippedAtTopAndLeft) {
  fake_screen screen{24, 8};
  fb_put_rect(-3, -2, 5, 4, DRAVIK_RED);
  // The top edge is off the screen. The left side lands at column 21 of the lines above.
  EXPECT_THAT(screen.painted(), ElementsAre(Pair(21, -3), Pair(5, -2), Pair(21, -2), Pair(5, -1),
                                            Pair(21, -1), Pair(5, 0), Pair(21, 0), Pair(5, 1), Pair(21, 1),
                                            Pair(5, 2), Pair(21, 2), Pair(5, 3), Pair(21, 3), Pair(0, 4),
                                            Pair(1, 4), Pair(2, 4), Pair(3, 4), Pair(4, 4), Pair(5, 4)));
}

TEST(FbPutRect, DrawsRightEdgeAtXresInNextLine) {
  fake_screen screen{6, 6};
  fb_put_rect(3, 1, 6, 3, DRAVIK_RED);
  EXPECT_EQ(screen.drawing(DRAVIK_RED), "......\n"
                                        "...###\n"
                                        "#..#..\n"
                                        "#..###\n"
                                        "#.....\n"
                                        "......\n");
}

TEST(FbPutRect, DrawsRightEdgeAtXresInPadding) {
  fake_screen screen{{.xres = 6, .yres = 6, .padding = 4}};
  fb_put_rect(3, 1, 6, 2, DRAVIK_RED);
  EXPECT_THAT(screen.painted(), ElementsAre(Pair(3, 1), Pair(4, 1), Pair(5, 1), Pair(6, 1), Pair(3, 2),
                                            Pair(4, 2), Pair(5, 2), Pair(6, 2)));
}

TEST(FbPutRect, SkipsRightEdgeBeyondXres) {
  fake_screen screen{6, 6};
  fb_put_rect(3, 1, 7, 3, DRAVIK_RED);
  EXPECT_EQ(screen.drawing(DRAVIK_RED), "......\n"
                                        "...###\n"
                                        "...#..\n"
                                        "...###\n"
                                        "......\n"
                                        "......\n");
}

TEST(FbPutRect, SkipsBottomEdgeBelowScreen) {
  fake_screen screen{6, 4};
  fb_put_rect(1, 1, 4, 4, DRAVIK_RED);
  EXPECT_EQ(screen.drawing(DRAVIK_RED), "......\n"
                                        ".####.\n"
                                        ".#..#.\n"
                                        ".#..#.\n");
}

TEST(FbPutRect, DrawsTwoSidesOfCornerFarAway) {
  fake_screen screen{5, 4};
  fb_put_rect(1, 1, INT_MAX, INT_MAX, DRAVIK_RED);
  EXPECT_EQ(screen.drawing(DRAVIK_RED), ".....\n"
                                        ".####\n"
                                        ".#...\n"
                                        ".#...\n");
}

TEST(FbPutRect, DrawsOneRowOneColumnAndOnePixel) {
  fake_screen screen{8, 6};
  fb_put_rect(1, 1, 4, 1, DRAVIK_RED);
  fb_put_rect(6, 1, 6, 4, DRAVIK_RED);
  fb_put_rect(2, 3, 2, 3, DRAVIK_RED);
  EXPECT_EQ(screen.drawing(DRAVIK_RED), "........\n"
                                        ".####.#.\n"
                                        "......#.\n"
                                        "..#...#.\n"
                                        "......#.\n"
                                        "........\n");
}

TEST(FbPutRect, DrawsRandomRectanglesOnRandomScreens) {
  expect_same_on_random_screens([](fake_screen &screen, seeded_random &random) {
    const corners at{random};
    const uint16_t colour = random.colour();
    fb_put_rect(at.x0, at.y0, at.x1, at.y1, colour);
    span_model{screen, colour}.outlined(at.x0, at.y0, at.x1, at.y1);
  });
}

TEST(FbPutRectThick, GrowsEdgesInwards) {
  fake_screen screen{15, 11};
  fb_put_rect_thick(2, 2, 12, 8, DRAVIK_RED, 2);
  EXPECT_EQ(screen.drawing(DRAVIK_RED), "...............\n"
                                        "...............\n"
                                        "..###########..\n"
                                        "..###########..\n"
                                        "..##.......##..\n"
                                        "..##.......##..\n"
                                        "..##.......##..\n"
                                        "..###########..\n"
                                        "..###########..\n"
                                        "...............\n"
                                        "...............\n");
}

TEST(FbPutRectThick, FillsWithLargeThickness) {
  fake_screen screen{15, 11};
  fb_put_rect_thick(2, 2, 12, 8, DRAVIK_RED, 20);
  span_model{screen, DRAVIK_RED}.filled(2, 2, 12, 8);
  EXPECT_TRUE(screen.same());
}

TEST(FbPutRectThick, ClampsThicknessToWidthMinusOne) {
  fake_screen screen{6, 5};
  fb_put_rect_thick(1, 1, 2, 3, DRAVIK_RED, INT_MAX); // 2 columns: edges 1 wide
  EXPECT_EQ(screen.drawing(DRAVIK_RED), "......\n"
                                        ".##...\n"
                                        ".##...\n"
                                        ".##...\n"
                                        "......\n");
}

TEST(FbPutRectThick, DrawsSameFromBottomRight) {
  fake_screen screen{15, 11};
  fb_put_rect_thick(12, 8, 2, 2, DRAVIK_RED, 2);
  span_model{screen, DRAVIK_RED}.thick(2, 2, 12, 8, 2);
  EXPECT_TRUE(screen.same());
  EXPECT_EQ(screen.painted().size(), 11U * 7 - 7U * 3);
}

TEST(FbPutRectThick, DrawsNothingInOtherTwoOrders) {
  fake_screen screen{15, 11};
  fb_put_rect_thick(12, 2, 2, 8, DRAVIK_RED, 2);
  fb_put_rect_thick(2, 8, 12, 2, DRAVIK_RED, 2);
  EXPECT_THAT(screen.painted(), IsEmpty());
}

TEST(FbPutRectThick, DrawsNothingWithoutThickness) {
  fake_screen screen{15, 11};
  for (const int32_t thickness : {0, -1, INT_MIN})
    fb_put_rect_thick(2, 2, 12, 8, DRAVIK_RED, thickness);
  EXPECT_THAT(screen.painted(), IsEmpty());
}

TEST(FbPutRectThick, DrawsNothingForOneColumnOrRow) {
  fake_screen screen{15, 11};
  fb_put_rect_thick(2, 2, 2, 8, DRAVIK_RED, 2);
  fb_put_rect_thick(2, 2, 12, 2, DRAVIK_RED, 2);
  fb_put_rect_thick(2, 2, 2, 2, DRAVIK_RED, 2);
  EXPECT_THAT(screen.painted(), IsEmpty());
}

TEST(FbPutRectThick, DrawsColumnsUpToXres) {
  fake_screen screen{6, 6};
  fb_put_rect_thick(1, 1, 7, 4, DRAVIK_RED, 2);
  // Of columns 6 and 7 the first lands in the next line.
  EXPECT_EQ(screen.drawing(DRAVIK_RED), "......\n"
                                        ".#####\n"
                                        "######\n"
                                        "######\n"
                                        "######\n"
                                        "#.....\n");
}

TEST(FbPutRectThick, DrawsEveryThicknessOnScreen) {
  fake_screen screen{{.xres = 40, .yres = 30, .padding = 2}};
  for (int32_t thickness = -1; thickness <= 40; ++thickness) {
    screen.reset();
    fb_put_rect_thick(3, 4, 35, 27, DRAVIK_RED, thickness);
    span_model{screen, DRAVIK_RED}.thick(3, 4, 35, 27, thickness);
    EXPECT_TRUE(screen.same()) << thickness;
  }
}

TEST(FbPutRectThick, DrawsRandomRectanglesOnRandomScreens) {
  expect_same_on_random_screens([](fake_screen &screen, seeded_random &random) {
    const corners at{random};
    const uint16_t colour = random.colour();
    const int32_t thickness = random.one_in(4) ? random.between(-1, 400) : random.between(1, 6);
    fb_put_rect_thick(at.x0, at.y0, at.x1, at.y1, colour, thickness);
    span_model{screen, colour}.thick(at.x0, at.y0, at.x1, at.y1, thickness);
  });
}

} // namespace
} // namespace dravik::test
