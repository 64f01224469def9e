// Sums of a whole number and a coordinate of a circle, without floating point.
#pragma once

#include <cmath>
#include <cstdint>

namespace dravik::fb {

/// Distance from a whole number below which a point is cached exactly; far above all rounding errors here.
inline constexpr double near_whole = 1e-6;

/// A coordinate next to a whole number, added to that of the centre as doubles are: the rounded sum is below
/// the whole sum where doubles are dense enough to represent that.
class near_sum {
public:
  near_sum() = default;
  explicit near_sum(double offset) noexcept {
    const double nearest = std::floor(offset + 0.5), beyond = offset - nearest;
    if (std::fabs(beyond) >= near_whole) {
      whole_ = static_cast<int32_t>(std::floor(offset));
      return;
    }
    whole_ = static_cast<int32_t>(nearest);
    // The spacing of doubles changes after 1, 2, 4, 8 and so on.
    for (uint32_t power = 1; power != 0 && is_below(beyond); power *= 2)
      exact_from_ = power + 1;
  }

  /// Return the sum with a coordinate that is not less than the radius, truncated.
  int32_t truncated(int32_t centre) const noexcept {
    const uint32_t sum = static_cast<uint32_t>(centre) + static_cast<uint32_t>(whole_);
    return static_cast<int32_t>(sum - (sum - 1 < exact_from_ - 1));
  }

private:
  /// Return whether adding a small number to the least of the sums above moves it down.
  bool is_below(double beyond) const noexcept { return exact_from_ + beyond < exact_from_; }

  int32_t whole_ = 0;
  uint32_t exact_from_ = 1; ///< from this sum on, the rounded sum is whole; so is 0
};

} // namespace dravik::fb
