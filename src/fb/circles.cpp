// Circle outlines and discs, not clipped.
//
// The outline is defined by its arithmetic: points along the angle in double precision, truncated towards
// zero after the centre is added. Computing them takes much longer than storing them, so outlines are cached
// by radius as offsets from the centre. Only a point next to a whole number depends on the centre, through
// the rounding of the addition. Such points are cached with the sums from which they round to a whole number.

#include "fb/fill.hpp"
#include "fb/half_circle.hpp"
#include "fb/near_sum.hpp"
#include "fb/whole_points.hpp"

#include <array>
#include <cmath>
#include <span>

namespace dravik::fb {
namespace {

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

/// A cached point next to a whole number, and its mirror image.
struct near_point {
  near_sum x, y, mirrored_x, mirrored_y;
};

/// Cache of outlines for one line length. If it has no space for another outline, it is emptied.
class kept_outlines {
public:
  /// Return false if the outline cannot be cached.
  bool draw(const surface &on, int32_t cx, int32_t cy, int32_t r, uint16_t colour) noexcept {
    if (r > largest_tabled_radius)
      return false;
    if (pitch_ != on.pitch)
      forget(on.pitch);
    outline &points = outlines_[static_cast<size_t>(r)];
    if (points.exact_count == 0)
      build(r, points);
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

  /// Compute an outline in fixed point.
  void build(int32_t r, outline &points) noexcept {
    const whole_points whole(r);
    const auto all = static_cast<size_t>(whole.all());
    if (count_ + all > offsets_.size() || exact_count_ + whole.size() > exact_.size())
      forget(pitch_);
    points = {count_, 0, exact_count_, 0};
    half_circle at(r);
    int32_t done = 0;
    for (const whole_point &p : whole) {
      keep_rounded(at, p.step - done);
      keep_exact(at, p);
      at.advance();
      done = p.step + 1;
    }
    keep_rounded(at, whole.all() - done);
    points.count = static_cast<uint16_t>(count_ - points.first);
    points.exact_count = static_cast<uint16_t>(exact_count_ - points.exact_first);
  }

  /// Cache points up to the next one that is next to a whole number.
  void keep_rounded(half_circle &at, int32_t steps) noexcept {
    int32_t *const first = &offsets_[count_], *next = first;
    const ptrdiff_t pitch = pitch_;
    for (; steps > 0; --steps, at.advance()) {
      // Neighbours often share a pixel, which no branch predictor foresees: store always, count if different.
      *next = static_cast<int32_t>(at.y() * pitch + at.x() * 2);
      next += next == first || next[-1] != *next;
    }
    count_ = static_cast<uint16_t>(next - offsets_.data());
  }

  void keep_exact(const half_circle &at, const whole_point &p) noexcept {
    exact_[exact_count_++] = {{at.x(), p.x}, {at.y(), p.y}, {at.minus_x(), -p.x}, {at.minus_y(), -p.y}};
  }

  ptrdiff_t pitch_ = 0;
  uint16_t count_ = 0, exact_count_ = 0;
  std::array<outline, largest_tabled_radius + 1> outlines_ = {};
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
