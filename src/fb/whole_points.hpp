// The points of circle outlines that are next to whole numbers.
//
// They are at 0 and 150 degrees, and wherever a multiple of 30 degrees is a whole number of steps. Doubles do
// not represent these angles, so the coordinates are beside whole numbers by 1e-16 to 2e-11, and the addition
// of the centre decides which pixel is drawn. All other coordinates are at least 2.8e-6 from whole numbers; no
// sum below 2^31 reaches one, since doubles are at most 2.4e-7 apart there.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace dravik::fb {

/// Largest radius of the tables.
constexpr int32_t largest_tabled_radius = 340;

/// The `beside` of near_sum for the coordinate of an angle that is next to a whole number.
namespace beside_whole {

/// y at 150 degrees, of the radii 2, 4, 6 and so on.
constexpr std::array<int8_t, 170> at_150 = {
    -1,  -5,  -3,  -3,  8,   -8,  9,   -8, 10,  10,  -10, 10,  8,   12,  10,  9,   -12, -9,  10,
    11,  -12, 12,  -11, 13,  12,  13,  12, -11, -11, 13,  -13, -12, -12, -13, -14, -14, -11, -13,
    -12, -14, -12, 13,  12,  15,  15,  13, 14,  14,  -14, 15,  -12, 16,  14,  15,  -15, -15, 16,
    -15, -14, -12, -12, 14,  -14, -15, 14, -16, 16,  -14, -15, 15,  -10, 15,  -14, -15, 16,  16,
    15,  -16, 14,  -14, -16, 13,  16,  17, 16,  15,  -16, -15, 16,  17,  -16, -15, -15, -16, 15,
    -16, 16,  14,  17,  -15, -17, -16, 16, 17,  -15, -8,  17,  -16, -16, -13, 16,  -17, -17, -15,
    -17, -17, -17, -17, -15, -17, 17,  17, -17, 18,  18,  -18, -16, 17,  -17, -14, -15, 16,  16,
    -16, 17,  -15, -15, -18, -17, 15,  15, -17, -17, -13, -18, 18,  -18, -18, -18, 17,  18,  14,
    17,  18,  17,  17,  17,  -17, -18, 17, 19,  17,  18,  18,  -18, 17,  17,  -17, -9,  18};

/// x at 90 degrees and y at 180, of the radii 5, 10, 15 and so on. 0: the sum of the steps exceeds pi.
constexpr std::array<int8_t, 68> at_90 = {
    3,  8,   5,   9,   -10, 11, -11, 10, 6,   -11, 9,   -9, -12, -13, -13, 12,  13, 14, 7,   14,  -13, 13, 14,
    14, -13, -14, 14,  -14, 14, 14,  15, -15, 14,  -13, 15, 16,  -15, 16,  -16, 16, 14, -15, -16, -16, 16, 15,
    16, -15, -17, -14, -16, 16, -14, 16, 13,  17,  9,   15, 16,  16,  17,  -15, 15, 15, -17, 15,  -15, 17};
constexpr std::array<int8_t, 68> at_180 = {8,  9,  11, 10, 0,  0,  0, 12, 14, 14, 13, 14, 0,  0, 14, 0,  0,
                                           16, 16, 16, 0,  0,  15, 0, 0,  16, 16, 17, 15, 16, 0, 15, 15, 17,
                                           0,  17, 16, 0,  15, 0,  0, 0,  16, 16, 17, 0,  17, 0, 15, 19, 0,
                                           0,  18, 18, 0,  0,  19, 0, 18, 18, 0,  19, 0,  18, 0, 0,  20, 19};

/// y at 30 degrees, x at 60 and x at 120, of the radii 10, 20, 30 and so on.
constexpr std::array<int8_t, 34> at_30 = {-4,  -5, -5,  -7,  8,   -6,  -8, -9, -7,  10,  11,  -11,
                                          -10, 11, -10, -11, 0,   -10, -8, 10, 12,  -12, -13, 10,
                                          12,  13, 12,  13,  -13, 13,  11, -9, -13, -14};
constexpr std::array<int8_t, 34> at_60 = {4,   8,   6,   9,   -10, 11, -11, 11,  10,  -10, 12, -10,
                                          -13, -13, -13, 8,   14,  15, 12,  15,  -14, 13,  14, 14,
                                          -13, -14, 15,  -13, 14,  15, 16,  -16, 14,  -14};
constexpr std::array<int8_t, 34> at_120 = {8,   9,   11, 11,  -10, -11, -13, 8,  15,  15,  13, 14,
                                           -14, -13, 15, -16, -14, 16,  16,  16, -15, -16, 13, -16,
                                           14,  17,  17, 17,  10,  17,  -16, 17, -12, 18};

} // namespace beside_whole

/// A point next to whole numbers: its step from the first point, and the `beside` of its coordinates.
struct whole_point {
  int32_t step;
  int8_t x, y;
};

/// The points of a radius that are next to whole numbers, in order.
class whole_points {
public:
  /// @param radius 1 to largest_tabled_radius
  constexpr explicit whole_points(int32_t radius) noexcept : radius_(radius), all_(step_at(180) + 1) {
    using namespace beside_whole;
    add(0, 0, 0);
    if (radius % 10 == 0) {
      add(30, 0, entry(at_30, 10));
      add(60, entry(at_60, 10), 0);
    }
    if (radius % 5 == 0)
      add(90, entry(at_90, 5), 0);
    if (radius % 10 == 0)
      add(120, entry(at_120, 10), 0);
    if (radius % 2 == 0)
      add(150, 0, entry(at_150, 2));
    if (radius % 5 == 0 && entry(at_180, 5) == 0)
      --all_;
    else if (radius % 5 == 0)
      add(180, 0, entry(at_180, 5));
  }

  constexpr size_t size() const noexcept { return count_; }
  constexpr const whole_point *begin() const noexcept { return points_.data(); }
  constexpr const whole_point *end() const noexcept { return points_.data() + count_; }

  /// Return the number of all points of half the circle.
  constexpr int32_t all() const noexcept { return all_; }

private:
  template <size_t Size>
  constexpr int8_t entry(const std::array<int8_t, Size> &of, int32_t every) const noexcept {
    return of[static_cast<size_t>(radius_ / every - 1)];
  }

  /// Return the number of steps to an angle, or to before it.
  constexpr int32_t step_at(int32_t degrees) const noexcept { return degrees * radius_ / 50; }

  constexpr void add(int32_t degrees, int8_t x, int8_t y) noexcept {
    points_[count_++] = {step_at(degrees), x, y};
  }

  int32_t radius_, all_;
  size_t count_ = 0;
  std::array<whole_point, 7> points_ = {};
};

} // namespace dravik::fb
