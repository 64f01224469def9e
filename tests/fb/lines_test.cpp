// Lines and triangles, next to a plain model.

#include "support/emulation.hpp"
#include "support/random.hpp"
#include "support/screen.hpp"

#include <cstdlib>
#include <gmock/gmock.h>
#include <string>
#include <utility>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::Pair;

struct point {
  int32_t x, y;
};

/// Bresenham's line from one point to another; an error of exactly 0 steps aside.
void model_line(model_plane on, point from, point to, uint16_t colour) {
  const int dx = std::abs(from.x - to.x), dy = std::abs(from.y - to.y);
  const int sx = from.x > to.x ? -1 : 1, sy = from.y > to.y ? -1 : 1;
  int x = from.x, y = from.y;
  if (dy > dx) {
    for (int e = 2 * dx - dy; y != to.y; e += 2 * dx) {
      on.put(x, y, colour);
      y += sy;
      if (e >= 0) {
        x += sx;
        e -= 2 * dy;
      }
    }
  } else {
    for (int e = 2 * dy - dx; x != to.x; e += 2 * dy) {
      on.put(x, y, colour);
      x += sx;
      if (e >= 0) {
        y += sy;
        e -= 2 * dx;
      }
    }
  }
  on.put(x, y, colour);
}

/// Draw a line on the screen and on its model.
void draw_both(fake_screen &screen, point from, point to, uint16_t colour) {
  fb_put_line(from.x, from.y, to.x, to.y, colour);
  model_line(screen.model(), from, to, colour);
}

TEST(FbPutLine, DrawsOnePoint) {
  fake_screen screen{20, 20};
  fb_put_line(10, 10, 10, 10, DRAVIK_RED);
  EXPECT_THAT(screen.painted(), ElementsAre(Pair(10, 10)));
}

TEST(FbPutLine, DrawsShallowLine) {
  fake_screen screen{6, 3};
  fb_put_line(0, 0, 3, 1, DRAVIK_RED);
  EXPECT_EQ(screen.drawing(DRAVIK_RED), "##....\n"
                                        "..##..\n"
                                        "......\n");
}

TEST(FbPutLine, DrawsSteepLine) {
  fake_screen screen{3, 5};
  fb_put_line(0, 0, 1, 3, DRAVIK_RED);
  EXPECT_EQ(screen.drawing(DRAVIK_RED), "#..\n"
                                        "#..\n"
                                        ".#.\n"
                                        ".#.\n"
                                        "...\n");
}

TEST(FbPutLine, DrawsDiagonal) {
  fake_screen screen{4, 4};
  fb_put_line(0, 0, 2, 2, DRAVIK_RED);
  EXPECT_EQ(screen.drawing(DRAVIK_RED), "#...\n"
                                        ".#..\n"
                                        "..#.\n"
                                        "....\n");
}

TEST(FbPutLine, TakesDiagonalStepAtTie) {
  fake_screen screen{4, 3};
  fb_put_line(0, 0, 2, 1, DRAVIK_RED);
  EXPECT_EQ(screen.drawing(DRAVIK_RED), "#...\n"
                                        ".##.\n"
                                        "....\n");
}

TEST(FbPutLine, TakesDiagonalStepAtTieOnTheWayBack) {
  fake_screen screen{4, 3};
  fb_put_line(2, 1, 0, 0, DRAVIK_RED);
  EXPECT_EQ(screen.drawing(DRAVIK_RED), "##..\n"
                                        "..#.\n"
                                        "....\n");
}

TEST(FbPutLine, TakesDiagonalStepAtTieOfSteepLine) {
  fake_screen down{3, 4}, up{3, 4};
  down.use();
  fb_put_line(0, 0, 1, 2, DRAVIK_RED);
  up.use();
  fb_put_line(1, 2, 0, 0, DRAVIK_RED);
  EXPECT_THAT(down.painted(), ElementsAre(Pair(0, 0), Pair(1, 1), Pair(1, 2)));
  EXPECT_THAT(up.painted(), ElementsAre(Pair(0, 0), Pair(0, 1), Pair(1, 2)));
}

TEST(FbPutLine, DrawsHorizontalLineAboveScreen) {
  fake_screen screen{8, 4};
  fb_put_line(2, -1, 4, -1, DRAVIK_RED);
  EXPECT_THAT(screen.painted(), ElementsAre(Pair(2, -1), Pair(3, -1), Pair(4, -1)));
}

TEST(FbPutLine, ContinuesHorizontalLineInNeighbouringLines) {
  fake_screen screen{4, 4};
  fb_put_line(5, 1, -2, 1, DRAVIK_RED);
  EXPECT_EQ(screen.drawing(DRAVIK_RED), "..##\n"
                                        "####\n"
                                        "##..\n"
                                        "....\n");
}

TEST(FbPutLine, DrawsVerticalLineBeyondBothEnds) {
  fake_screen screen{4, 2};
  fb_put_line(1, 3, 1, -2, DRAVIK_RED);
  EXPECT_THAT(screen.painted(),
              ElementsAre(Pair(1, -2), Pair(1, -1), Pair(1, 0), Pair(1, 1), Pair(1, 2), Pair(1, 3)));
}

TEST(FbPutLine, ContinuesRightOfScreenInNextLines) {
  fake_screen screen{4, 4};
  fb_put_line(4, 0, 4, 1, DRAVIK_RED);
  fb_put_line(6, 0, 6, 1, DRAVIK_GREEN);
  EXPECT_EQ(screen.drawing(DRAVIK_RED), "....\n"
                                        "#.?.\n"
                                        "#.?.\n"
                                        "....\n");
}

TEST(FbPutLine, DrawsThemeCodeAsPlainColour) {
  fake_screen screen{8, 4};
  set_theme_color(DRAVIK_RED);
  fb_put_line(1, 1, 5, 2, DRAVIK_THEME);
  EXPECT_EQ(screen.drawn().get(1, 1), DRAVIK_THEME);
}

TEST(FbPutLine, DrawsEverySlopeInBothDirections) {
  constexpr int32_t reach = 66;
  fake_screen screen{{.xres = 2 * reach + 1, .yres = 2 * reach + 1, .padding = 6}};
  const point centre = {reach, reach};
  for (int32_t y = 0; y <= 2 * reach; y += stride())
    for (int32_t x = 0; x <= 2 * reach; x += stride()) {
      const auto there = static_cast<uint16_t>(y * 300 + x * 2), back = static_cast<uint16_t>(there + 1);
      draw_both(screen, centre, {x, y}, there);
      ASSERT_TRUE(screen.same()) << "to " << x << ", " << y;
      draw_both(screen, {x, y}, centre, back);
      ASSERT_TRUE(screen.same()) << "from " << x << ", " << y;
    }
}

TEST(FbPutLine, DrawsRandomLinesAcrossAndAroundScreen) {
  seeded_random random;
  fake_screen screen{{.xres = 96, .yres = 64, .padding = 2, .misalignment = 2, .guard_lines = 12}};
  const auto any_point = [&random] { return point{random.between(-30, 125), random.between(-10, 73)}; };
  for (int i = 0; i < rounds(400'000); ++i) {
    const point from = any_point();
    point to = any_point();
    if (random.one_in(12))
      to.x = from.x;
    if (random.one_in(12))
      to.y = from.y;
    draw_both(screen, from, to, random.colour());
    ASSERT_TRUE(screen.same()) << i << ": " << from.x << ", " << from.y << " to " << to.x << ", " << to.y;
  }
}

/// Screens of shapes on which long lines run shallow, steep and in between.
class LongLines : public testing::TestWithParam<screen_shape> {};

TEST_P(LongLines, DrawRandomEnds) {
  seeded_random random;
  fake_screen screen{GetParam()};
  const int32_t right = static_cast<int32_t>(GetParam().xres) - 1;
  const int32_t bottom = static_cast<int32_t>(GetParam().yres) - 1;
  for (int batch = 0; batch < rounds(60); ++batch) {
    for (int i = 0; i < 60; ++i)
      draw_both(screen, {random.between(0, right), random.between(0, bottom)},
                {random.between(0, right), random.between(0, bottom)}, random.colour());
    ASSERT_TRUE(screen.same()) << "batch " << batch;
  }
}

TEST_P(LongLines, DrawFromEdgeToEdge) {
  seeded_random random;
  fake_screen screen{GetParam()};
  const int32_t right = static_cast<int32_t>(GetParam().xres) - 1;
  const int32_t bottom = static_cast<int32_t>(GetParam().yres) - 1;
  for (int i = 0; i < rounds(1000); ++i) {
    const int32_t x0 = random.between(0, right), x1 = random.between(0, right);
    const int32_t y0 = random.between(0, bottom), y1 = random.between(0, bottom);
    draw_both(screen, {0, y0}, {right, y1}, random.colour());
    draw_both(screen, {right, y0}, {0, y1}, random.colour());
    draw_both(screen, {x0, 0}, {x1, bottom}, random.colour());
    draw_both(screen, {x0, bottom}, {x1, 0}, random.colour());
    if (i % 5 == 4) {
      ASSERT_TRUE(screen.same()) << i;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Shapes, LongLines,
                         testing::Values(screen_shape{.xres = 3000, .yres = 50},
                                         screen_shape{.xres = 51, .yres = 3000, .padding = 6},
                                         screen_shape{.xres = 1000, .yres = 999, .misalignment = 2}),
                         [](const auto &shape) {
                           return std::to_string(shape.param.xres) + "x" + std::to_string(shape.param.yres);
                         });

/// Screens for lines of up to 48119 steps with up to 64 aside.
class EndlessLines : public testing::Test {
protected:
  static constexpr uint32_t longest = 48119, highest = 64;

  /// Shallow forth, steep back.
  void draw_both_ways(int32_t steps, int32_t aside, uint16_t colour) {
    wide.use();
    draw_both(wide, {0, 0}, {steps, aside}, colour);
    high.use();
    draw_both(high, {aside, steps}, {0, 0}, colour);
  }
  void expect_same(int32_t steps, int32_t aside) {
    ASSERT_TRUE(wide.same()) << steps << " by " << aside;
    ASSERT_TRUE(high.same()) << steps << " by " << aside;
  }

  fake_screen wide{{.xres = longest + 1, .yres = highest + 1, .guard_lines = 1}};
  fake_screen high{{.xres = highest + 1, .yres = longest + 1}};
};

TEST_F(EndlessLines, DrawAtLongestLengthOf32BitFractions) {
  for (int32_t aside = 1; aside <= 64 && !HasFailure(); aside += stride()) {
    for (int32_t steps = 46338; steps <= 46343; ++steps)
      draw_both_ways(steps, aside, static_cast<uint16_t>(steps));
    expect_same(46338, aside);
  }
}

// Here fractions of 32 bits, rounded up, would carry some position over the edge of the next pixel.
TEST_F(EndlessLines, DrawBeyondThatLength) {
  constexpr std::pair<int32_t, int32_t> lines[] = {
      {46859, 55}, {47269, 29}, {47543, 12}, {48023, 46}, {48119, 10}};
  for (const auto &[steps, aside] : lines) {
    draw_both_ways(steps, aside, DRAVIK_RED);
    expect_same(steps, aside);
  }
}

void model_triangle(model_plane on, point a, point b, point c, uint16_t colour) {
  model_line(on, a, b, colour);
  model_line(on, b, c, colour);
  model_line(on, c, a, colour);
}

TEST(FbPutTriangle, DrawsOutlineOnly) {
  fake_screen screen{7, 5};
  fb_put_triangle(1, 1, 5, 1, 1, 3, DRAVIK_RED);
  // The way back from (5, 1) to (1, 3) is stepped leftwards: the diagonal step is taken at ties.
  EXPECT_EQ(screen.drawing(DRAVIK_RED), ".......\n"
                                        ".#####.\n"
                                        ".#.##..\n"
                                        ".##....\n"
                                        ".......\n");
}

TEST(FbPutTriangle, DrawsOnePixelForEqualPoints) {
  fake_screen screen{8, 8};
  fb_put_triangle(3, 4, 3, 4, 3, 4, DRAVIK_RED);
  EXPECT_THAT(screen.painted(), ElementsAre(Pair(3, 4)));
}

TEST(FbPutTriangle, IsThreeLinesInTheOrderOfTheCorners) {
  seeded_random random;
  fake_screen screen{{.xres = 64, .yres = 48, .padding = 10}};
  const auto any_point = [&random] { return point{random.between(-20, 83), random.between(-6, 53)}; };
  for (int i = 0; i < rounds(30'000); ++i) {
    const point a = any_point(), c = any_point();
    const point b = random.one_in(10) ? a : any_point();
    const uint16_t colour = random.colour();
    screen.reset();
    fb_put_triangle(a.x, a.y, b.x, b.y, c.x, c.y, colour);
    model_triangle(screen.model(), a, b, c, colour);
    ASSERT_TRUE(screen.same()) << a.x << ", " << a.y << "; " << b.x << ", " << b.y << "; " << c.x << ", "
                               << c.y;
  }
}

} // namespace
} // namespace dravik::test
