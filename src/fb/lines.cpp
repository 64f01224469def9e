// Straight lines and triangle outlines, not clipped.

#include "fb/fill.hpp"
#include "fb/vectors.hpp"

#include <array>

namespace dravik::fb {
namespace {

/// A line of `steps` steps along one axis; `slope / steps` of them also step aside.
struct stepping {
  pixel *at;
  ptrdiff_t along; ///< bytes per step along the driving axis
  ptrdiff_t aside; ///< bytes per step aside
  uint32_t steps;  ///< the line has one pixel more
  uint32_t slope;  ///< steps that also step aside, at most `steps`
};

/// Draw by Bresenham's algorithm; an error term of exactly 0 steps aside.
void step_by_error(const stepping &line, uint16_t colour) noexcept {
  const ptrdiff_t along = line.along, aside = line.aside;
  const auto forth = static_cast<int32_t>(2 * line.slope);
  const auto back = static_cast<int32_t>(2 * line.steps);
  int32_t error = forth - static_cast<int32_t>(line.steps);
  pixel *at = line.at;
  *at = colour;
  for (uint32_t left = line.steps; left > 0; --left) {
    if (error >= 0) {
      error -= back;
      at = step(at, aside);
    }
    error += forth;
    at = step(at, along);
    *at = colour;
  }
}

/// Up to this many steps, rounding the slope up to 2^-32 cannot carry a position over the edge of the next
/// pixel: the exact position stays at least 1 / (2 * steps) away from it, and `steps` rounding errors add up
/// to less than steps / 2^32.
constexpr uint32_t exact_steps = 46340;

/// 2^32 / steps, rounded up: for short lines, a table is faster than a division. The slope, a product of it,
/// is too large by less than steps / 2^32, which is far from the limit above.
constexpr auto short_inverses = [] {
  std::array<uint64_t, 64> table{};
  for (size_t steps = 1; steps < table.size(); ++steps)
    table[steps] = ((uint64_t{1} << 32) + steps - 1) / steps;
  return table;
}();

/// Return slope / steps in 32.32 fixed point, rounded up.
uint64_t fixed_slope(const stepping &line) noexcept {
  if (line.steps < short_inverses.size())
    return short_inverses[line.steps] * line.slope;
  return ((uint64_t{line.slope} << 32) + line.steps - 1) / line.steps;
}

/// Draw by a position in 32.32 fixed point: its steps do not depend on each other.
void step_by_position(const stepping &line, uint16_t colour) noexcept {
  const uint64_t slope = fixed_slope(line);
  uint64_t position = uint64_t{1} << 31;
  pixel *at = line.at;
#pragma GCC unroll 4
  for (uint32_t left = line.steps + 1; left > 0; --left) {
    *step(at, static_cast<ptrdiff_t>(position >> 32) * line.aside) = colour;
    position += slope;
    at = step(at, line.along);
  }
}

void draw(const stepping &line, uint16_t colour) noexcept {
  if (line.slope == 0) {
    fill_column(line.at, line.along, size_t{line.steps} + 1, colour);
  } else if (has_wide_registers && line.steps <= exact_steps) {
    step_by_position(line, colour);
  } else {
    step_by_error(line, colour);
  }
}

/// Draw a line within one row, in either direction.
void draw_row(const surface &on, int32_t x0, int32_t x1, int32_t y, uint16_t colour) noexcept {
  const int32_t left = x0 < x1 ? x0 : x1, right = x0 < x1 ? x1 : x0;
  fill_span(on.at(left, y), size_t{static_cast<uint32_t>(right) - static_cast<uint32_t>(left)} + 1, colour);
}

/// Return `value`, or its negative if the mask is all ones.
constexpr ptrdiff_t negated_if(ptrdiff_t mask, ptrdiff_t value) noexcept {
  return (value ^ mask) - mask;
}

void draw_line(const surface &on, int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint16_t colour) noexcept {
  if (y0 == y1)
    return draw_row(on, x0, x1, y0, colour);
  // Without branches: the direction of a line is unpredictable.
  const ptrdiff_t leftwards = -ptrdiff_t{x0 > x1}, upwards = -ptrdiff_t{y0 > y1};
  const auto dx = static_cast<uint32_t>(negated_if(leftwards, ptrdiff_t{x1} - x0));
  const auto dy = static_cast<uint32_t>(negated_if(upwards, ptrdiff_t{y1} - y0));
  const ptrdiff_t across = negated_if(leftwards, 2), down = negated_if(upwards, on.pitch);
  const bool is_steep = dy > dx;
  draw({on.at(x0, y0), is_steep ? down : across, is_steep ? across : down, is_steep ? dy : dx,
        is_steep ? dx : dy},
       colour);
}

} // namespace
} // namespace dravik::fb

extern "C" {

void fb_put_line(int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint16_t colour) noexcept {
  dravik::fb::draw_line(dravik::fb::screen(), x0, y0, x1, y1, colour);
}

void fb_put_triangle(int32_t x0, int32_t y0, int32_t x1, int32_t y1, int32_t x2, int32_t y2,
                     uint16_t colour) noexcept {
  const dravik::fb::surface on = dravik::fb::screen();
  dravik::fb::draw_line(on, x0, y0, x1, y1, colour);
  dravik::fb::draw_line(on, x1, y1, x2, y2, colour);
  dravik::fb::draw_line(on, x2, y2, x0, y0, colour);
}

} // extern "C"
