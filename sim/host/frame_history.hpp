// The screen of a board as it is now, and which of its parts changed since an earlier frame.
#pragma once

#include "host/screen_image.hpp"

#include <vector>

namespace dravik::sim {

/// Pages differ in the frame that they have seen. Since each part knows the frame that changed it last, no copy
/// of what a page has seen is kept.
class frame_history {
public:
  /// The newest frame; 0 before the first.
  uint32_t number() const noexcept { return number_; }

  /// Take a frame, which becomes the newest if it differs from the one before; then `fresh` is the latter.
  bool update(screen_image &fresh);

  const screen_image &latest() const noexcept { return latest_; }

  struct area {
    uint32_t x, y, width, height;
  };
  /// Areas that contain all pixels that changed after frame `seen`.
  std::vector<area> changes_since(uint32_t seen) const;

private:
  static constexpr uint32_t block_pixels = 64;

  void restart(screen_image &fresh);
  bool mark_line(const screen_image &before, uint32_t y);
  area changed_part(uint32_t y, uint32_t seen) const;
  uint32_t blocks() const noexcept { return (latest_.width + block_pixels - 1) / block_pixels; }

  screen_image latest_;
  uint32_t number_ = 0;
  std::vector<uint32_t> line_changed_at_;
  std::vector<uint32_t> block_changed_at_; ///< of each line, from the left
};

} // namespace dravik::sim
