// Points along half a circle in fixed point: as fast on machines without hardware floating point. Their whole
// parts are those of the definition in double precision, which the test compares for every radius.
#pragma once

#include <array>
#include <cstdint>

namespace dravik::fb {

constexpr double pi = 3.141592653589793;
constexpr double steps_per_radius = 3.6; ///< per half circle

/// Return the high 32 bits. The shift is unsigned: compilers for ARM multiply the result of a signed one as a
/// number of 64 bits.
constexpr int32_t high_half(int64_t value) noexcept {
  return static_cast<int32_t>(static_cast<uint64_t>(value) >> 32);
}

/// A number from 0 to below 1/2: high / 2^32 + low / 2^64.
struct fraction {
  int32_t high, low;

  constexpr explicit fraction(uint64_t by_2_64) noexcept
      : high(high_half(static_cast<int64_t>(by_2_64 + 0x80000000U))), low(static_cast<int32_t>(by_2_64)) {}
};

constexpr fraction one_by(uint64_t divisor) noexcept {
  return fraction(UINT64_MAX / divisor);
}

/// Return the product, up to 3 less than the exact one: made of three products of 32 bits.
constexpr int64_t product(int64_t value, fraction by) noexcept {
  const int32_t high = high_half(value);
  const auto low = static_cast<uint32_t>(value);
  return int64_t{high} * by.high + (int64_t{high} * by.low >> 32) +
         static_cast<int64_t>(uint64_t{low} * static_cast<uint32_t>(by.high) >> 32);
}

/// The points (r cos(n step), r sin(n step)) for n = 0, 1, 2 and so on, where step is pi / (3.6 r). Between
/// points, a coordinate moves as far as the last time, less 2 (1 - cos(step)) times itself.
class half_circle {
public:
  /// @param radius 1 to 340
  constexpr explicit half_circle(int32_t radius) noexcept : x_(radius * (int64_t{1} << places)) {
    const uint64_t half_square = half_arc_square / static_cast<uint32_t>(radius * radius);
    const int64_t versine = series(static_cast<int64_t>(half_square), fraction(half_square), cosine_factors);
    versine_ = fraction(static_cast<uint64_t>(versine));
    x_move_ = -radius * (versine >> (64 - places));
    y_move_ = series(arc, fraction(half_square), sine_factors);
  }

  /// Go to the next point.
  constexpr void advance() noexcept {
    x_ += x_move_;
    y_ += y_move_;
    x_move_ -= 2 * product(x_, versine_);
    y_move_ -= 2 * product(y_, versine_);
  }

  /// Coordinates and their negatives, rounded down. One next to a whole number is that number.
  constexpr int32_t x() const noexcept { return whole(x_); }
  constexpr int32_t y() const noexcept { return whole(y_); }
  constexpr int32_t minus_x() const noexcept { return whole(-x_); }
  constexpr int32_t minus_y() const noexcept { return whole(-y_); }

private:
  using factors = std::array<fraction, 3>;

  /// Return first (1 - t factor[0] (1 - t factor[1] (1 - t factor[2]))).
  static constexpr int64_t series(int64_t first, fraction t, const factors &of) noexcept {
    int64_t sum = first, term = first;
    for (const fraction &factor : of) {
      term = -product(product(term, t), factor);
      sum += term;
    }
    return sum;
  }

  /// Round down after adding 2^-21, which is 1 in the high half.
  static constexpr int32_t whole(int64_t coordinate) noexcept {
    return (high_half(coordinate) + 1) >> (places - 32);
  }

  static constexpr int places = 53;                            ///< binary ones of a coordinate
  static constexpr double step_length = pi / steps_per_radius; ///< on the circle, for every radius
  static constexpr auto arc = static_cast<int64_t>(step_length * 0x1p53);
  static constexpr auto half_arc_square = static_cast<uint64_t>(step_length * step_length * 0x1p63);
  // From each term of Taylor's series to the next, with half the square of the step.
  static constexpr factors cosine_factors = {one_by(6), one_by(15), one_by(28)};
  static constexpr factors sine_factors = {one_by(3), one_by(10), one_by(21)};

  int64_t x_, y_ = 0;
  int64_t x_move_ = 0, y_move_ = 0; ///< to the next point
  fraction versine_{0};             ///< 1 - cos(step)
};

} // namespace dravik::fb
