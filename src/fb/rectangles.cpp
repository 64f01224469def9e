// Rectangles: filled, outlined, and with thick edges.

#include "fb/clip.hpp"
#include "fb/fill.hpp"

namespace dravik::fb {
namespace {

void fill(const surface &on, range columns, range rows, uint16_t colour) noexcept {
  if (columns.empty() || rows.empty())
    return;
  fill_block(on.at(columns.first, rows.first), on.pitch, columns.count(), rows.count(), colour);
}

void fill_clipped(const surface &on, range columns, range rows, uint16_t colour) noexcept {
  fill(on, clipped(columns, on.width), clipped(rows, on.height), colour);
}

/// Draw the side edges. Intentional: a side at x == xres is drawn in column 0 of the next line, one
/// further right is dropped; columns left of 0 are drawn at the end of the previous line, rows above 0
/// before the screen.
void fill_side(const surface &on, range columns, range rows, uint16_t colour) noexcept {
  fill(on, {columns.first, std::min(columns.last, on.width)}, clipped_end(rows, on.height), colour);
}

/// Draw an outline that fits on the screen: the top and bottom edges as two rows far apart, and both sides
/// in one pass.
void outline_inside(const surface &on, range columns, range rows, uint16_t colour) noexcept {
  pixel *at = on.at(columns.first, rows.first);
  const ptrdiff_t across = (ptrdiff_t{columns.last} - columns.first) * 2;
  const ptrdiff_t down = on.pitch, height = ptrdiff_t{rows.last} - rows.first;
  fill_block(at, height * down, columns.count(), 2, colour);
  for (ptrdiff_t left = height - 1; left > 0; --left) {
    at = step(at, down);
    *at = colour;
    *step(at, across) = colour;
  }
}

void outline(const surface &on, range columns, range rows, uint16_t colour) noexcept {
  if (columns.within(on.width) && rows.within(on.height))
    return outline_inside(on, columns, rows, colour);
  fill_clipped(on, columns, {rows.first, rows.first}, colour);
  fill_clipped(on, columns, {rows.last, rows.last}, colour);
  fill_side(on, {columns.first, columns.first}, rows, colour);
  fill_side(on, {columns.last, columns.last}, rows, colour);
}

/// Draw bands of `t` pixels along the inside of each edge; 1 <= t, and t is less than the width
/// and the height.
void thick_outline(const surface &on, range columns, range rows, int32_t t, uint16_t colour) noexcept {
  fill_clipped(on, columns, {rows.first, rows.first + (t - 1)}, colour);
  fill_clipped(on, columns, {rows.last - (t - 1), rows.last}, colour);
  // On the screen, the bands above include the corners.
  const bool inside = columns.within(on.width) && rows.within(on.height);
  const range sides = inside ? range{rows.first + t, rows.last - t} : rows;
  fill_side(on, {columns.first, columns.first + (t - 1)}, sides, colour);
  fill_side(on, {columns.last - (t - 1), columns.last}, sides, colour);
}

/// Return the distance of two numbers, which may exceed their type.
constexpr uint32_t distance(int32_t a, int32_t b) noexcept {
  return a < b ? static_cast<uint32_t>(b) - static_cast<uint32_t>(a)
               : static_cast<uint32_t>(a) - static_cast<uint32_t>(b);
}

} // namespace
} // namespace dravik::fb

extern "C" {

using namespace dravik::fb;

void fb_put_rect_fill(int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint16_t colour) noexcept {
  fill_clipped(screen(), between(x0, x1), between(y0, y1), colour);
}

void fb_put_rect(int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint16_t colour) noexcept {
  outline(screen(), between(x0, x1), between(y0, y1), colour);
}

void fb_put_rect_thick(int32_t x0, int32_t y0, int32_t x1, int32_t y1, uint16_t colour,
                       int32_t thickness) noexcept {
  // Intentional: the other two orders of corners draw nothing.
  if ((x0 < x1) != (y0 < y1) || x0 == x1 || y0 == y1 || thickness < 1)
    return;
  const uint32_t t = std::min({static_cast<uint32_t>(thickness), distance(x0, x1), distance(y0, y1)});
  thick_outline(screen(), between(x0, x1), between(y0, y1), static_cast<int32_t>(t), colour);
}

} // extern "C"
