// Circle outlines and discs, not clipped.
//
// The outline is defined by its arithmetic: points along the angle in double precision, truncated towards
// zero after the centre is added. Computing them takes much longer than storing them, so outlines are cached
// by radius as offsets from the centre. Only a point next to a whole number depends on the centre, through
// the rounding of the addition. Such points are cached with the sums from which they round to a whole number.

#include "fb/fill.hpp"
#include "fb/near_sum.hpp"

#include <algorithm>
#include <array>
#include <cmath>
#include <span>

namespace dravik::fb {
namespace {

constexpr double pi = 3.141592653589793;
constexpr double steps_per_radius = 3.6; ///< per half circle

/// A point of the outline relative to the centre.
struct point {
  double x, y;
};

constexpr int32_t truncated(double value) noexcept {
  return static_cast<int32_t>(static_cast<int64_t>(value));
}

/// Draw a point and its mirror image, each truncated at its own position.
void put_pair(const surface &on, int32_t cx, int32_t cy, point p, uint16_t colour) noexcept {
  *on.at(truncated(cx + p.x), truncated(cy + p.y)) = colour;
  *on.at(truncated(cx - p.x), truncated(cy - p.y)) = colour;
}

/// Draw by the definition: for outlines that are too large to cache, and for those that extend above or left
/// of the origin of the screen, where truncation rounds the other way.
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

/// A coordinate of a cached outline: the whole number below it.
struct rounded {
  int32_t down;
  double from_middle; ///< distance to the middle between two whole numbers

  explicit rounded(double value) noexcept {
    constexpr int32_t bias = 4096; // makes it positive
    down = static_cast<int32_t>(value + bias) - bias;
    from_middle = std::fabs(value - down - 0.5);
  }
};

/// A cached point next to a whole number, and its mirror image.
struct near_point {
  near_sum x, y, mirrored_x, mirrored_y;
};

/// Cache of outlines for one line length. If it has no space for another outline, it is emptied.
class kept_outlines {
public:
  /// Return false if the outline cannot be cached.
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
    for (const near_point &p : std::span{&exact_[points.exact_first], points.exact_count}) {
      *on.at(p.x.truncated(cx), p.y.truncated(cy)) = colour;
      *on.at(p.mirrored_x.truncated(cx), p.mirrored_y.truncated(cy)) = colour;
    }
    return true;
  }

private:
  /// The cached points of a radius: half of them, since the others are opposite. The point right of the
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

  /// Compute an outline. Return false if too many of its points are next to whole numbers.
  bool build(int32_t r, outline &points) noexcept {
    const double radius = r;
    if (count_ + static_cast<size_t>(steps_per_radius * radius) + 2 > offsets_.size() ||
        exact_count_ + most_exact > exact_.size())
      forget(pitch_);
    outline made = {count_, 0, exact_count_, 0};
    const double step = pi / (radius * steps_per_radius);
    double step_sine, step_cosine;
    ::sincos(step, &step_sine, &step_cosine);
    // Rotated by one step at a time; sine and cosine are computed for exact points only.
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
    // Neighbours often share a pixel, which no branch predictor foresees: store always, count if different.
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
    const double x = radius * cosine, y = radius * sine;
    exact_[made.exact_first + made.exact_count++] = {near_sum(x), near_sum(y), near_sum(-x), near_sum(-y)};
    return true;
  }

  static constexpr int32_t largest_radius = 340;
  static constexpr size_t most_exact = 32; ///< points per outline

  ptrdiff_t pitch_ = 0;
  uint16_t count_ = 0, exact_count_ = 0;
  std::array<outline, largest_radius + 1> outlines_ = {};
  std::array<int32_t, 8192> offsets_ = {};
  std::array<near_point, 128> exact_ = {};
};

constinit kept_outlines kept;

void draw_outline(const surface &on, int32_t cx, int32_t cy, int32_t r, uint16_t colour) noexcept {
  if (r < 0)
    return;
  const bool truncates_down = r > 0 && cx >= r && cy >= r;
  if (!truncates_down || !kept.draw(on, cx, cy, r, colour))
    outline_by_definition(on, cx, cy, r, colour);
}

/// Draw the rows above and below the centre together, as blocks of two rows far apart. Their half width
/// follows from that of the rows before.
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
