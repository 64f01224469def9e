// Circle outlines, next to their own arithmetic taken literally, and discs, next to the inequality of
// their pixels.

#include "support/emulation.hpp"
#include "support/random.hpp"
#include "support/screen.hpp"

#include <climits>
#include <cmath>
#include <gmock/gmock.h>
#include <utility>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

/// The outline point by point: double precision, every coordinate truncated towards zero.
void model_circle(model_plane on, int32_t cx, int32_t cy, int32_t r, uint16_t colour) {
  const double radius = r, x = cx, y = cy;
  const double step = 3.141592653589793 / (radius * 3.6);
  double theta = 0.0, sine = 0.0, cosine = 1.0;
  for (;;) {
    on.put(static_cast<int32_t>(x + radius * cosine), static_cast<int32_t>(y + radius * sine), colour);
    on.put(static_cast<int32_t>(x - radius * cosine), static_cast<int32_t>(y - radius * sine), colour);
    theta += step;
    if (!(theta <= 3.141592653589793))
      return;
    ::sincos(theta, &sine, &cosine);
  }
}

/// Draw an outline on the screen and on its model and compare them.
testing::AssertionResult same_circle(fake_screen &screen, int32_t cx, int32_t cy, int32_t r,
                                     uint16_t colour) {
  fb_put_circle(cx, cy, r, colour);
  model_circle(screen.model(), cx, cy, r, colour);
  testing::AssertionResult result = screen.same();
  if (!result)
    result << "radius " << r << " about " << cx << ", " << cy;
  return result;
}

uint32_t side_of(int32_t r) {
  return static_cast<uint32_t>(2 * r + 20);
}

// The mirror image of the last point, a hair above the middle, makes the pixel (15, 9).
TEST(FbPutCircle, DrawsRadiusFive) {
  fake_screen screen{18, 17};
  fb_put_circle(10, 10, 5, DRAVIK_RED);
  EXPECT_EQ(screen.drawing(DRAVIK_RED), "..................\n"
                                        "..................\n"
                                        "..................\n"
                                        "..................\n"
                                        "..................\n"
                                        ".......######.....\n"
                                        "......#......#....\n"
                                        ".....#........#...\n"
                                        ".....#........#...\n"
                                        ".....#........##..\n"
                                        ".....#........##..\n"
                                        ".....#........#...\n"
                                        ".....#........#...\n"
                                        "......#......#....\n"
                                        ".......######.....\n"
                                        "..........#.......\n"
                                        "..................\n");
}

TEST(FbPutCircle, DrawsCentreForRadiusZero) {
  fake_screen screen{8, 8};
  fb_put_circle(3, 5, 0, DRAVIK_RED);
  EXPECT_THAT(screen.painted(), ElementsAre(Pair(3, 5)));
}

TEST(FbPutCircle, DrawsNothingForNegativeRadius) {
  fake_screen screen{8, 8};
  for (const int32_t r : {-1, -5, INT_MIN})
    fb_put_circle(3, 5, r, DRAVIK_RED);
  EXPECT_THAT(screen.painted(), IsEmpty());
}

// About the origin, truncation pulls from both sides: all but the first two points fall on the centre.
TEST(FbPutCircle, TruncatesTowardsZeroOnBothSides) {
  fake_screen screen{8, 8};
  fb_put_circle(0, 0, 1, DRAVIK_RED);
  EXPECT_THAT(screen.painted(), ElementsAre(Pair(7, -1), Pair(0, 0), Pair(1, 0)));
}

TEST(FbPutCircle, IsNotClippedAtTheRightAndBottom) {
  fake_screen screen{8, 8};
  fb_put_circle(7, 7, 1, DRAVIK_RED);
  // Column 8 of line 7 is column 0 of line 8.
  EXPECT_THAT(screen.painted(), ElementsAre(Pair(6, 6), Pair(7, 6), Pair(6, 7), Pair(7, 7), Pair(0, 8)));
}

TEST(FbPutCircle, DrawsEveryRadiusAroundSeveralCentres) {
  seeded_random random;
  for (int32_t r = 0; r <= 420; r += stride()) {
    fake_screen screen{{.xres = side_of(r), .yres = side_of(r), .padding = r % 3 == 0 ? 6U : 0U}};
    for (const auto &[right, down] :
         {std::pair{0, 0}, {7, 1}, {random.between(0, 19), random.between(0, 19)}})
      ASSERT_TRUE(same_circle(screen, r + right, r + down, r, random.colour()));
  }
}

TEST(FbPutCircle, DrawsEveryCentreAroundOrigin) {
  fake_screen screen{{.xres = 40, .yres = 40, .guard_lines = 40}};
  for (int32_t r = 0; r <= 14; ++r)
    for (int32_t cy = -18; cy <= 18; ++cy)
      for (int32_t cx = -18 + (cy + r + 32) % stride(); cx <= 18; cx += stride()) {
        screen.reset();
        ASSERT_TRUE(same_circle(screen, cx, cy, r, DRAVIK_RED));
      }
}

TEST(FbPutCircle, DrawsLargeCirclesAcrossTopLeft) {
  seeded_random random;
  for (int32_t r = 15; r <= 420; r += stride() * random.between(1, 9)) {
    fake_screen screen{{.xres = side_of(r), .yres = side_of(r), .guard_lines = side_of(r)}};
    for (const auto &[cx, cy] : {std::pair{0, 0}, {r - 1, r}, {r, r - 1}, {-1, 3}, {2, -r}})
      ASSERT_TRUE(same_circle(screen, cx, cy, r, random.colour()));
  }
}

TEST(FbPutCircle, DrawsRadiiInAnyOrderAtSeveralPitches) {
  seeded_random random;
  constexpr int32_t radii[] = {3, 9, 10, 24, 36, 50, 57, 90, 341};
  fake_screen packed{720, 720}, padded{{.xres = 720, .yres = 720, .padding = 10, .misalignment = 2}};
  fake_screen *screens[] = {&packed, &padded};
  for (int i = 0; i < rounds(1500); ++i) {
    const int32_t r = random.one_in(100) ? 341 : radii[random.between(0, 7)];
    fake_screen &screen = *screens[random.between(0, 1)];
    screen.use();
    ASSERT_TRUE(
        same_circle(screen, random.between(r - 2, 718 - r), random.between(r, 718 - r), r, random.colour()))
        << "call " << i;
  }
}

class ManyRadii : public testing::Test {
protected:
  testing::AssertionResult same_somewhere(int32_t r) {
    return same_circle(screen, random.between(r, 718 - r), random.between(r, 718 - r), r, random.colour());
  }

  seeded_random random;
  fake_screen screen{{.xres = 720, .yres = 720, .padding = 4}};
};

TEST_F(ManyRadii, DrawInAnyOrder) {
  for (int i = 0; i < rounds(1500); ++i)
    ASSERT_TRUE(same_somewhere(random.between(0, 345)));
}

// These have points on whole coordinates in every quarter.
TEST_F(ManyRadii, DrawMultiplesOfTenInAnyOrder) {
  for (int i = 0; i < rounds(1000); ++i)
    ASSERT_TRUE(same_somewhere(10 * random.between(1, 20)));
}

TEST(FbPutCircle, DrawsFarToTheRight) {
  fake_screen screen{{.xres = 200'000, .yres = 44}};
  for (int32_t r = 1; r <= 20; ++r)
    ASSERT_TRUE(same_circle(screen, 199'970, 21, r, static_cast<uint16_t>(DRAVIK_RED + r)));
}

TEST(FbPutCircle, DrawsThemeCodeAsPlainColour) {
  fake_screen screen{20, 20};
  set_theme_color(DRAVIK_RED);
  fb_put_circle(10, 10, 5, DRAVIK_THEME);
  EXPECT_EQ(screen.drawn().get(15, 10), DRAVIK_THEME);
}

/// Every pixel whose middle is within the circle around the corner of four pixels.
void model_disc(model_plane on, int32_t cx, int32_t cy, int32_t r, uint16_t colour) {
  for (int32_t y = cy - r; y < cy + r; ++y)
    for (int32_t x = cx - r; x < cx + r; ++x) {
      const int32_t across = 2 * (x - cx) + 1, down = 2 * (y - cy) + 1;
      if (across * across + down * down < 4 * r * r)
        on.put(x, y, colour);
    }
}

testing::AssertionResult same_disc(fake_screen &screen, int32_t cx, int32_t cy, int32_t r, uint16_t colour) {
  fb_put_circle_fill(cx, cy, r, colour);
  model_disc(screen.model(), cx, cy, r, colour);
  testing::AssertionResult result = screen.same();
  if (!result)
    result << "radius " << r << " about " << cx << ", " << cy;
  return result;
}

TEST(FbPutCircleFill, DrawsRadiusFive) {
  fake_screen screen{18, 17};
  fb_put_circle_fill(10, 10, 5, DRAVIK_RED);
  EXPECT_EQ(screen.drawing(DRAVIK_RED), "..................\n"
                                        "..................\n"
                                        "..................\n"
                                        "..................\n"
                                        "..................\n"
                                        "........####......\n"
                                        "......########....\n"
                                        "......########....\n"
                                        ".....##########...\n"
                                        ".....##########...\n"
                                        ".....##########...\n"
                                        ".....##########...\n"
                                        "......########....\n"
                                        "......########....\n"
                                        "........####......\n"
                                        "..................\n"
                                        "..................\n");
}

TEST(FbPutCircleFill, DrawsFourPixelsForRadiusOne) {
  fake_screen screen{8, 8};
  fb_put_circle_fill(3, 5, 1, DRAVIK_RED);
  EXPECT_THAT(screen.painted(), ElementsAre(Pair(2, 4), Pair(3, 4), Pair(2, 5), Pair(3, 5)));
}

TEST(FbPutCircleFill, DrawsKnownNumberOfPixels) {
  constexpr std::pair<int32_t, size_t> counts[] = {{0, 0}, {1, 4}, {2, 12}, {3, 32}, {5, 80}, {10, 316}};
  for (const auto &[r, count] : counts) {
    fake_screen screen{24, 24};
    fb_put_circle_fill(12, 12, r, DRAVIK_RED);
    EXPECT_EQ(screen.painted().size(), count) << r;
  }
}

TEST(FbPutCircleFill, DrawsNothingForNegativeRadius) {
  fake_screen screen{8, 8};
  for (const int32_t r : {-1, -4, INT_MIN})
    fb_put_circle_fill(4, 4, r, DRAVIK_RED);
  EXPECT_THAT(screen.painted(), IsEmpty());
}

TEST(FbPutCircleFill, DrawsEveryRadius) {
  seeded_random random;
  for (int32_t r = 0; r <= 300; r += stride()) {
    fake_screen screen{{.xres = side_of(r), .yres = side_of(r), .padding = r % 3 == 0 ? 6U : 0U}};
    ASSERT_TRUE(same_disc(screen, r + random.between(0, 19), r + random.between(0, 19), r, random.colour()));
  }
}

TEST(FbPutCircleFill, DrawsLargeRadius) {
  fake_screen screen{{.xres = 2400, .yres = 2400, .guard_lines = 1}};
  ASSERT_TRUE(same_disc(screen, 1200, 1200, 1200, DRAVIK_RED));
  ASSERT_TRUE(same_disc(screen, 1201, 1200, 1199, DRAVIK_GREEN));
}

TEST(FbPutCircleFill, IsNotClipped) {
  fake_screen screen{{.xres = 30, .yres = 30, .padding = 2, .guard_lines = 30}};
  for (int32_t r = 0; r <= 12; ++r)
    for (int32_t cy = -14; cy <= 44; cy += 2)
      for (int32_t cx = -14 + (cy + r + 14) % stride(); cx <= 44; cx += stride()) {
        screen.reset();
        ASSERT_TRUE(same_disc(screen, cx, cy, r, DRAVIK_RED));
      }
}

TEST(FbPutCircleFill, DrawsThemeCodeAsPlainColour) {
  fake_screen screen{20, 20};
  set_theme_color(DRAVIK_RED);
  fb_put_circle_fill(10, 10, 5, DRAVIK_THEME);
  EXPECT_EQ(screen.drawn().get(10, 10), DRAVIK_THEME);
}

} // namespace
} // namespace dravik::test
