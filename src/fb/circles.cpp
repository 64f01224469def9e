// Circle outlines and discs. Nothing is clipped.
//
// The outline is defined by its arithmetic: points along the angle in double precision, truncated towards
// zero after the centre was added. Computing them takes far longer than storing them, so the figures of the
// radii drawn are kept as offsets from their centres. Only points that lie next to a whole number depend on
// where the centre is, by the rounding of the addition; those are kept as they are and truncated anew at each
// call.

#include "fb/fill.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

namespace dravik::fb {
namespace {

constexpr double pi = 3.141592653589793;
constexpr double steps_per_radius = 3.6; ///< of half a circle

/// A point of the outline relative to the centre.
struct point {
  double x, y;
};

constexpr int32_t truncated(double value) noexcept {
  return static_cast<int32_t>(static_cast<int64_t>(value));
}

/// The point and its mirror image, rounded where they stand.
void put_pair(const surface &on, int32_t cx, int32_t cy, point p, uint16_t colour) noexcept {
  *on.at(truncated(cx + p.x), truncated(cy + p.y)) = colour;
  *on.at(truncated(cx - p.x), truncated(cy - p.y)) = colour;
}

/// The definition: for figures too large to keep, and those that reach above or left of the screen's origin,
/// where truncation rounds the other way.
void outline_by_definition(const surface &on, int32_t cx, int32_t cy, int32_t r, uint16_t colour) noexcept {
  const double radius = r;
  const double step = pi / (radius * steps_per_radius);
  double sine = 0.0, cosine = 1.0;
  for (double theta = step;; theta += step) { // NOLINT(cert-flp30-c): the sum is the definition
    put_pair(on, cx, cy, {radius * cosine, radius * sine}, colour);
    if (!(theta <= pi))
      return;
    ::sincos(theta, &sine, &cosine);
  }
}

/// Rounding errors of all the arithmetic here stay far below this distance.
constexpr double near_whole = 1e-6;

/// A coordinate of an outline that is kept, and the whole number below it.
struct rounded {
  int32_t down;
  double from_middle; ///< the distance to the middle between two whole numbers

  explicit rounded(double value) noexcept {
    constexpr int32_t bias = 4096; // makes it positive
    down = static_cast<int32_t>(value + bias) - bias;
    from_middle = std::fabs(value - down - 0.5);
  }
};

/// The outlines drawn on lines of one pitch. When there is no room for one more, all are forgotten.
class kept_outlines {
public:
  /// False when the outline cannot be kept.
  bool draw(const surface &on, int32_t cx, int32_t cy, int32_t r, uint16_t colour) noexcept {
    if (r > largest_radius)
      return false;
    if (pitch_ != on.pitch)
      forget(on.pitch);
    outline &points = outlines_[static_cast<size_t>(r)];
    if (points.exact_count == 0 && !build(r, points))
      return false;
    pixel *const centre = on.at(cx, cy), *const opposite = step(centre, -on.pitch - 2);
    for (const int32_t offset : std::span{&offsets_[points.first], points.count}) {
      *step(centre, offset) = colour;
      *step(opposite, -offset) = colour;
    }
    for (const point &p : std::span{&exact_[points.exact_first], points.exact_count})
      put_pair(on, cx, cy, p, colour);
    return true;
  }

private:
  /// Where the points of a radius stand: half of them, since the others lie opposite. The point right of the
  /// centre is always an exact one.
  struct outline {
    uint16_t first, count;
    uint16_t exact_first, exact_count;
  };

  void forget(ptrdiff_t pitch) noexcept {
    pitch_ = pitch;
    count_ = exact_count_ = 0;
    outlines_ = {};
  }

  /// Works an outline out; false when too many of its points lie next to whole numbers to keep them.
  bool build(int32_t r, outline &points) noexcept {
    const double radius = r;
    if (count_ + static_cast<size_t>(steps_per_radius * radius) + 2 > offsets_.size() ||
        exact_count_ + most_exact > exact_.size())
      forget(pitch_);
    outline made = {count_, 0, exact_count_, 0};
    const double step = pi / (radius * steps_per_radius);
    double step_sine, step_cosine;
    ::sincos(step, &step_sine, &step_cosine);
    // Turned by one step at a time; only points that need it get the sine and cosine of their angle.
    point unit = {1.0, 0.0};
    // NOLINTNEXTLINE(cert-flp30-c,clang-analyzer-security.FloatLoopCounter)
    for (double theta = 0.0; theta <= pi; theta += step) {
      const rounded x(radius * unit.x), y(radius * unit.y);
      if (std::max(x.from_middle, y.from_middle) < 0.5 - near_whole) {
        keep_rounded(made, static_cast<int32_t>(y.down * pitch_ + x.down * 2));
      } else if (!keep_exact(made, theta, radius)) {
        return false;
      }
      unit = {unit.x * step_cosine - unit.y * step_sine, unit.y * step_cosine + unit.x * step_sine};
    }
    points = made;
    count_ = static_cast<uint16_t>(made.first + made.count);
    exact_count_ = static_cast<uint16_t>(made.exact_first + made.exact_count);
    return true;
  }

  void keep_rounded(outline &made, int32_t offset) noexcept {
    // Neighbours on the angle often share a pixel, and nothing foretells which.
    int32_t *const next = &offsets_[made.first + made.count];
    *next = offset;
    made.count += made.count == 0 || next[-1] != offset;
  }

  bool keep_exact(outline &made, double theta, double radius) noexcept {
    if (made.exact_count == most_exact)
      return false;
    double sine = 0.0, cosine = 1.0;
    if (theta != 0.0)
      ::sincos(theta, &sine, &cosine);
    exact_[made.exact_first + made.exact_count++] = {radius * cosine, radius * sine};
    return true;
  }

  static constexpr int32_t largest_radius = 340;
  static constexpr size_t most_exact = 32; ///< points of one outline

  ptrdiff_t pitch_ = 0;
  uint16_t count_ = 0, exact_count_ = 0;
  std::array<outline, largest_radius + 1> outlines_ = {};
  std::array<int32_t, 8192> offsets_ = {};
  std::array<point, 128> exact_ = {};
};

constinit kept_outlines kept;

void draw_outline(const surface &on, int32_t cx, int32_t cy, int32_t r, uint16_t colour) noexcept {
  if (r < 0)
    return;
  const bool truncates_down = r > 0 && cx >= r && cy >= r;
  if (!truncates_down || !kept.draw(on, cx, cy, r, colour))
    outline_by_definition(on, cx, cy, r, colour);
}

/// Rows above and below the centre together, as blocks of two rows far apart; their half width is found from
/// that of the rows before.
void fill_disc(const surface &on, int32_t cx, int32_t cy, int32_t r, uint16_t colour) noexcept {
  const ptrdiff_t down = on.pitch;
  pixel *below = on.at(cx, cy);
  ptrdiff_t to_above = -down;
  int64_t half = r, beyond = 2 - int64_t{4} * r; // (2 * half - 1)^2 + row^2 - (2 * r)^2
  for (int64_t row = 1; row < int64_t{2} * r; row += 2) {
    for (; beyond >= 0; --half)
      beyond -= 8 * (half - 1);
    fill_block(below - half, to_above, static_cast<size_t>(2 * half), 2, colour);
    beyond += 4 * (row + 1);
    below = step(below, down);
    to_above -= 2 * down;
  }
}

} // namespace
} // namespace dravik::fb

extern "C" {

void fb_put_circle(int32_t cx, int32_t cy, int32_t r, uint16_t colour) noexcept {
  dravik::fb::draw_outline(dravik::fb::screen(), cx, cy, r, colour);
}

void fb_put_circle_fill(int32_t cx, int32_t cy, int32_t r, uint16_t colour) noexcept {
  dravik::fb::fill_disc(dravik::fb::screen(), cx, cy, r, colour);
}

} // extern "C"
