// Circle outlines and discs. Nothing is clipped.
//
// The outline is defined by its arithmetic: points along the angle in double precision, truncated towards
// zero after the centre was added. Computing them takes far longer than storing them, so the figure of a
// radius is kept as offsets from its centre. Only points that lie next to a whole number depend on where the
// centre is, by the rounding of the addition; those are kept as they are and truncated anew at each call.

#include "fb/fill.hpp"

#include <array>
#include <cmath>
#include <span>

namespace dravik::fb {
namespace {

constexpr double pi = 3.141592653589793;
constexpr double steps_per_radian = 3.6;

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
  const double step = pi / (radius * steps_per_radian);
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

bool is_near_whole(double value) noexcept {
  return std::fabs(value - std::nearbyint(value)) < near_whole;
}

/// The outline of one radius on lines of one pitch.
class kept_outline {
public:
  static constexpr int32_t largest_radius = 340;

  bool is_for(int32_t r, ptrdiff_t pitch) const noexcept { return r_ == r && pitch_ == pitch; }

  /// Works the figure out; false when too many of its points lie next to whole numbers to keep them.
  bool build(int32_t r, ptrdiff_t pitch) noexcept {
    const double radius = r;
    const double step = pi / (radius * steps_per_radian);
    double step_sine, step_cosine;
    ::sincos(step, &step_sine, &step_cosine);

    *this = {};
    pitch_ = pitch;
    // Turned by one step at a time; only points that need it get the sine and cosine of their angle.
    point unit = {1.0, 0.0};
    // NOLINTNEXTLINE(cert-flp30-c,clang-analyzer-security.FloatLoopCounter)
    for (double theta = 0.0; theta <= pi; theta += step) {
      const point p = {radius * unit.x, radius * unit.y};
      if (!is_near_whole(p.x) && !is_near_whole(p.y)) {
        keep_rounded(p);
      } else if (!keep_exact(theta, radius)) {
        return false;
      }
      unit = {unit.x * step_cosine - unit.y * step_sine, unit.y * step_cosine + unit.x * step_sine};
    }
    r_ = r;
    return true;
  }

  void draw(const surface &on, int32_t cx, int32_t cy, uint16_t colour) const noexcept {
    pixel *const centre = on.at(cx, cy);
    for (const int32_t offset : std::span{offsets_.data(), offset_count_})
      *step(centre, offset) = colour;
    for (const point &p : std::span{exact_.data(), exact_count_})
      put_pair(on, cx, cy, p, colour);
  }

private:
  void keep_rounded(point p) noexcept {
    const int32_t here = offset({p.x, p.y}), opposite = offset({-p.x, -p.y});
    // Neighbours on the angle often share a pixel.
    const bool repeats =
        offset_count_ >= 2 && offsets_[offset_count_ - 2] == here && offsets_[offset_count_ - 1] == opposite;
    if (repeats)
      return;
    offsets_[offset_count_++] = here;
    offsets_[offset_count_++] = opposite;
  }

  bool keep_exact(double theta, double radius) noexcept {
    if (exact_count_ == exact_.size())
      return false;
    double sine = 0.0, cosine = 1.0;
    if (theta != 0.0)
      ::sincos(theta, &sine, &cosine);
    exact_[exact_count_++] = {radius * cosine, radius * sine};
    return true;
  }

  int32_t offset(point p) const noexcept {
    return static_cast<int32_t>(static_cast<ptrdiff_t>(std::floor(p.y)) * pitch_ +
                                static_cast<ptrdiff_t>(std::floor(p.x)) * 2);
  }

  int32_t r_ = 0;
  ptrdiff_t pitch_ = 0;
  size_t offset_count_ = 0;
  size_t exact_count_ = 0;
  std::array<int32_t, static_cast<size_t>(7.2 * largest_radius) + 4> offsets_ = {};
  std::array<point, 32> exact_ = {};
};

/// The radii drawn last.
struct {
  std::array<kept_outline, 4> outlines;
  size_t oldest;
} constinit kept = {};

const kept_outline *find_outline(int32_t r, ptrdiff_t pitch) noexcept {
  for (const kept_outline &outline : kept.outlines)
    if (outline.is_for(r, pitch))
      return &outline;
  if (r > kept_outline::largest_radius)
    return nullptr;
  kept_outline &outline = kept.outlines[kept.oldest];
  kept.oldest = (kept.oldest + 1) % kept.outlines.size();
  return outline.build(r, pitch) ? &outline : nullptr;
}

void draw_outline(const surface &on, int32_t cx, int32_t cy, int32_t r, uint16_t colour) noexcept {
  if (r < 0)
    return;
  const bool truncates_down = r > 0 && cx >= r && cy >= r;
  const kept_outline *outline = truncates_down ? find_outline(r, on.pitch) : nullptr;
  if (outline != nullptr)
    return outline->draw(on, cx, cy, colour);
  outline_by_definition(on, cx, cy, r, colour);
}

/// One span for each row, its half width found from that of the row before; rows above and below the centre
/// together.
void fill_disc(const surface &on, int32_t cx, int32_t cy, int32_t r, uint16_t colour) noexcept {
  const int64_t limit = int64_t{4} * r * r;
  int64_t half = r;
  pixel *below = on.at(cx, cy), *above = step(below, -on.pitch);
  for (int64_t row = 1; row < int64_t{2} * r; row += 2) {
    while ((2 * half - 1) * (2 * half - 1) + row * row >= limit)
      --half;
    fill_span(below - half, static_cast<size_t>(2 * half), colour);
    fill_span(above - half, static_cast<size_t>(2 * half), colour);
    below = step(below, on.pitch);
    above = step(above, -on.pitch);
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
