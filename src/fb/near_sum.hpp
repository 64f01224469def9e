// Sums of a whole number and a coordinate of a circle, without floating point.
#pragma once

#include <cstdint>

namespace dravik::fb {

/// A coordinate next to a whole number, added to that of the centre as doubles are: the rounded sum is below
/// the whole sum where doubles are dense enough to represent that.
class near_sum {
public:
  near_sum() = default;
  /// @param beside 0 for a coordinate whose sums are whole or above; -n for one that makes sums of 1 to 2^(n-1)
  ///   round below: the spacing of doubles changes after 1, 2, 4, 8 and so on
  constexpr near_sum(int32_t whole, int beside) noexcept
      : whole_(whole), below_until_(beside < 0 ? 1U << (-beside - 1) : 0) {}

  /// Return the sum with a coordinate that is not less than the radius, truncated.
  constexpr int32_t truncated(int32_t centre) const noexcept {
    const uint32_t sum = static_cast<uint32_t>(centre) + static_cast<uint32_t>(whole_);
    return static_cast<int32_t>(sum - (sum - 1 < below_until_));
  }

private:
  int32_t whole_ = 0;
  uint32_t below_until_ = 0; ///< the last sum that is rounded below; 0 is not
};

} // namespace dravik::fb
