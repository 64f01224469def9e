// Points of circle outlines in fixed point and their sums with centres, compared with double precision for
// every radius that is cached.

#include "fb/half_circle.hpp"
#include "fb/near_sum.hpp"
#include "fb/whole_points.hpp"
#include "support/emulation.hpp"

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

namespace dravik::fb {
namespace {

/// A coordinate closer than this to a whole number may reach it by the rounding of a sum of 31 bits.
constexpr double near_whole = 0x1p-22;

struct double_point {
  double x, y;
};

/// Half the outline in double precision.
std::vector<double_point> half_outline(int32_t radius) {
  const double r = radius, step = pi / (r * steps_per_radius);
  std::vector<double_point> points = {{r, 0.0}};
  for (double theta = step; theta <= pi; theta += step)
    points.push_back({r * std::cos(theta), r * std::sin(theta)});
  return points;
}

bool is_near_whole(double value) {
  return std::fabs(value - std::round(value)) < near_whole;
}

/// As near_sum: at a whole number, or rounded down.
int32_t whole_part(double value) {
  return static_cast<int32_t>(is_near_whole(value) ? std::round(value) : std::floor(value));
}

TEST(HalfCircle, HasTheWholePartsOfDoublesForEveryRadius) {
  for (int32_t radius = 1; radius <= largest_tabled_radius; ++radius) {
    half_circle at(radius);
    for (const auto &[x, y] : half_outline(radius)) {
      ASSERT_EQ(at.x(), whole_part(x)) << "radius " << radius;
      ASSERT_EQ(at.y(), whole_part(y)) << "radius " << radius;
      ASSERT_EQ(at.minus_x(), whole_part(-x)) << "radius " << radius;
      ASSERT_EQ(at.minus_y(), whole_part(-y)) << "radius " << radius;
      at.advance();
    }
  }
}

TEST(WholePoints, AreAllPointsNextToWholeNumbers) {
  for (int32_t radius = 1; radius <= largest_tabled_radius; ++radius) {
    const std::vector<double_point> points = half_outline(radius);
    std::vector<int32_t> expected, found;
    for (size_t n = 0; n < points.size(); ++n)
      if (is_near_whole(points[n].x) || is_near_whole(points[n].y))
        expected.push_back(static_cast<int32_t>(n));
    const whole_points whole(radius);
    for (const whole_point &p : whole)
      found.push_back(p.step);
    ASSERT_EQ(found, expected) << "radius " << radius;
    ASSERT_EQ(whole.all(), static_cast<int32_t>(points.size())) << "radius " << radius;
  }
}

int32_t truncated_by_doubles(int32_t centre, double offset) {
  return static_cast<int32_t>(static_cast<int64_t>(centre + offset));
}

void compare_at(int32_t centre, double offset, const near_sum &sum) {
  if (sum.truncated(centre) != truncated_by_doubles(centre, offset))
    ADD_FAILURE() << centre << " + " << std::hexfloat << offset;
}

/// Centres next to each sum from which on doubles are less dense.
void compare_at_powers(double offset, int32_t radius, const near_sum &sum) {
  for (int64_t power = 1; power <= int64_t{1} << 30; power *= 2)
    for (int64_t beside = -2; beside <= 2; ++beside) {
      const int64_t centre = power + beside - static_cast<int64_t>(std::round(offset));
      if (centre >= radius && centre <= INT32_MAX - radius)
        compare_at(static_cast<int32_t>(centre), offset, sum);
    }
}

void compare(double offset, int32_t radius, int beside) {
  const near_sum sum(whole_part(offset), beside);
  for (int32_t centre = radius; centre < 2000; ++centre)
    compare_at(centre, offset, sum);
  compare_at_powers(offset, radius, sum);
}

TEST(WholePoints, HaveTheSumsOfDoublesForEveryRadius) {
  for (int32_t radius = 1; radius <= largest_tabled_radius; ++radius) {
    const std::vector<double_point> points = half_outline(radius);
    for (const whole_point &p : whole_points(radius)) {
      const auto &[x, y] = points[static_cast<size_t>(p.step)];
      compare(x, radius, p.x);
      compare(y, radius, p.y);
      compare(-x, radius, -p.x);
      compare(-y, radius, -p.y);
    }
  }
}

// The others are cached as their whole parts.
TEST(HalfCircle, HasTheSumsOfDoublesAwayFromWholeNumbers) {
  for (int32_t radius = 1; radius <= largest_tabled_radius; radius += test::stride())
    for (const auto &[x, y] : half_outline(radius))
      for (const double offset : {x, y, -x, -y})
        if (!is_near_whole(offset))
          compare_at_powers(offset, radius, {whole_part(offset), 0});
}

TEST(NearSum, IsBelowUpToAPowerOfTwo) {
  EXPECT_EQ(near_sum(-3, -1).truncated(3), 0);
  EXPECT_EQ(near_sum(-3, -1).truncated(4), 0);
  EXPECT_EQ(near_sum(-3, -1).truncated(5), 2);
  EXPECT_EQ(near_sum(7, -5).truncated(9), 15);
  EXPECT_EQ(near_sum(7, -5).truncated(10), 17);
  EXPECT_EQ(near_sum(7, -31).truncated((1 << 30) - 7), (1 << 30) - 1);
  EXPECT_EQ(near_sum(7, -31).truncated((1 << 30) - 6), (1 << 30) + 1);
  EXPECT_EQ(near_sum(7, 5).truncated(9), 16);
  EXPECT_EQ(near_sum(7, 0).truncated(9), 16);
}

} // namespace
} // namespace dravik::fb
