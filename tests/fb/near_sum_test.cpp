// Sums with coordinates of circles, compared with double precision.

#include "fb/near_sum.hpp"

#include <gtest/gtest.h>
#include <vector>

namespace dravik::fb {
namespace {

constexpr int32_t largest_radius = 340;

int32_t truncated_by_doubles(int32_t centre, double offset) {
  return static_cast<int32_t>(static_cast<int64_t>(centre + offset));
}

/// The coordinates of an outline next to whole numbers.
std::vector<double> near_coordinates(int32_t radius) {
  constexpr double pi = 3.141592653589793;
  std::vector<double> found;
  const double r = radius, step = pi / (r * 3.6);
  for (double theta = 0.0; theta <= pi + step; theta += step)
    for (const double value : {r * std::cos(theta), r * std::sin(theta)})
      if (std::fabs(value - std::round(value)) < near_whole)
        found.insert(found.end(), {value, -value});
  return found;
}

void compare_at(int32_t centre, double offset, const near_sum &sum) {
  if (sum.truncated(centre) != truncated_by_doubles(centre, offset))
    ADD_FAILURE() << centre << " + " << std::hexfloat << offset;
}

/// Centres next to each sum from which on doubles are less dense.
void compare_at_powers(double offset, int32_t radius) {
  const near_sum sum(offset);
  for (int64_t power = 1; power <= int64_t{1} << 30; power *= 2)
    for (int64_t beside = -2; beside <= 2; ++beside) {
      const int64_t centre = power + beside - static_cast<int64_t>(std::round(offset));
      if (centre >= radius && centre <= INT32_MAX - radius)
        compare_at(static_cast<int32_t>(centre), offset, sum);
    }
}

TEST(NearSum, RoundsLikeDoublesForEveryRadius) {
  for (int32_t radius = 1; radius <= largest_radius; ++radius)
    for (const double offset : near_coordinates(radius)) {
      const near_sum sum(offset);
      for (int32_t centre = radius; centre < 2000; ++centre)
        compare_at(centre, offset, sum);
      compare_at_powers(offset, radius);
    }
}

TEST(NearSum, RoundsLikeDoublesAtEveryDistance) {
  for (const double whole : {-340.0, -1.0, 0.0, 1.0, 2.0, 7.0, 340.0})
    for (double distance = 9e-7; distance > 1e-17; distance *= 0.7)
      for (const double offset : {whole + distance, whole - distance})
        if (std::fabs(offset) <= largest_radius)
          compare_at_powers(offset, largest_radius);
}

TEST(NearSum, IsBelowForOtherCoordinates) {
  for (const double offset : {-339.99, -1.5, -0.001, 0.001, 0.5, 3.25, 339.99})
    for (const int32_t centre : {340, 341, 1000, 1 << 20, 1 << 30})
      compare_at(centre, offset, near_sum(offset));
}

} // namespace
} // namespace dravik::fb
