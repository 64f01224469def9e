// Straight lines and triangle outlines. Nothing is clipped.

#include "fb/fill.hpp"

namespace dravik::fb {
namespace {

/// A line as its stepping sees it: `steps` moves along one axis, of which `slope / steps` also go aside.
struct stepping {
  pixel *at;
  ptrdiff_t along; ///< bytes of a move along the driving axis
  ptrdiff_t aside; ///< bytes of a move aside
  uint32_t steps;  ///< moves; the line has one pixel more
  uint32_t slope;  ///< moves that also go aside, not above `steps`
};

/// Bresenham's line; an error term of exactly 0 steps aside.
void step_by_error(const stepping &line, uint16_t colour) noexcept {
  const auto forth = static_cast<int32_t>(2 * line.slope);
  const auto back = static_cast<int32_t>(2 * line.steps);
  int32_t error = forth - static_cast<int32_t>(line.steps);
  pixel *at = line.at;
  *at = colour;
  for (uint32_t left = line.steps; left > 0; --left) {
    const int32_t diagonal = ~(error >> 31); // all ones unless the error is negative
    error += forth - (back & diagonal);
    at = step(at, line.along + (line.aside & ptrdiff_t{diagonal}));
    *at = colour;
  }
}

/// Up to this many steps, rounding the slope up to 2^-32 cannot carry a position over the next pixel's edge:
/// positions come within 1 / (2 * steps) of it at the nearest, and `steps` roundings add less than steps /
/// 2^32.
constexpr uint32_t exact_steps = 46340;
/// Below this many steps the division costs more than it saves.
constexpr uint32_t worth_dividing = 24;

/// The same line from a position in 32.32 fixed point, whose steps do not wait for each other.
void step_by_position(const stepping &line, uint16_t colour) noexcept {
  const uint64_t slope = ((uint64_t{line.slope} << 32) + line.steps - 1) / line.steps;
  uint64_t position = uint64_t{1} << 31;
  pixel *at = line.at;
  for (uint32_t left = line.steps + 1; left > 0; --left) {
    *step(at, static_cast<ptrdiff_t>(position >> 32) * line.aside) = colour;
    position += slope;
    at = step(at, line.along);
  }
}

void draw(const stepping &line, uint16_t colour) noexcept {
  if (line.slope == 0) {
    fill_column(line.at, line.along, size_t{line.steps} + 1, colour);
  } else if (sizeof(void *) == 8 && line.steps >= worth_dividing && line.steps <= exact_steps) {
    step_by_position(line, colour);
  } else {
    step_by_error(line, colour);
  }
}

/// Lines of one row; either end may come first.
void draw_row(const surface &on, int32_t x0, int32_t x1, int32_t y, uint16_t colour) noexcept {
  const int32_t left = x0 < x1 ? x0 : x1, right = x0 < x1 ? x1 : x0;
  fill_span(on.at(left, y), size_t{static_cast<uint32_t>(right) - static_cast<uint32_t>(left)} + 1, colour);
}

void draw_line(const surface &on, int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint16_t colour) noexcept {
  if (y0 == y1)
    return draw_row(on, x0, x1, y0, colour);
  const bool leftwards = x0 > x1, upwards = y0 > y1;
  const auto ux0 = static_cast<uint32_t>(x0), ux1 = static_cast<uint32_t>(x1);
  const auto uy0 = static_cast<uint32_t>(y0), uy1 = static_cast<uint32_t>(y1);
  const uint32_t dx = leftwards ? ux0 - ux1 : ux1 - ux0;
  const uint32_t dy = upwards ? uy0 - uy1 : uy1 - uy0;
  const ptrdiff_t across = leftwards ? -2 : 2;
  const ptrdiff_t down = upwards ? -on.pitch : on.pitch;
  pixel *const from = on.at(x0, y0);
  if (dy > dx) {
    draw({from, down, across, dy, dx}, colour);
  } else {
    draw({from, across, down, dx, dy}, colour);
  }
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
