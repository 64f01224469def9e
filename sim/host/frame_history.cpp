// The screen of a board as it is now, and which of its parts changed since an earlier frame.

#include "host/frame_history.hpp"

#include <algorithm>
#include <cstring>
#include <utility>

namespace dravik::sim {
namespace {

bool has_geometry_of(const screen_image &one, const screen_image &other) {
  return one.width == other.width && one.height == other.height &&
         one.bytes_per_pixel == other.bytes_per_pixel;
}

} // namespace

void frame_history::restart(screen_image &fresh) {
  std::swap(latest_, fresh);
  ++number_;
  line_changed_at_.assign(latest_.height, number_);
  block_changed_at_.assign(size_t{latest_.height} * blocks(), number_);
}

bool frame_history::mark_line(const screen_image &before, uint32_t y) {
  const size_t line = size_t{y} * latest_.line_bytes();
  const uint8_t *now = latest_.pixels.data() + line;
  const uint8_t *then = before.pixels.data() + line;
  if (std::memcmp(now, then, latest_.line_bytes()) == 0)
    return false;
  line_changed_at_[y] = number_;
  const size_t block_bytes = size_t{block_pixels} * latest_.bytes_per_pixel;
  for (size_t block = 0; block < blocks(); ++block) {
    const size_t start = block * block_bytes;
    const size_t size = std::min(block_bytes, latest_.line_bytes() - start);
    if (std::memcmp(now + start, then + start, size) != 0)
      block_changed_at_[size_t{y} * blocks() + block] = number_;
  }
  return true;
}

bool frame_history::update(screen_image &fresh) {
  if (number_ == 0 || !has_geometry_of(latest_, fresh)) {
    restart(fresh);
    return true;
  }
  std::swap(latest_, fresh);
  ++number_;
  bool has_changed = false;
  for (uint32_t y = 0; y < latest_.height; ++y)
    has_changed |= mark_line(fresh, y);
  number_ -= has_changed ? 0 : 1;
  return has_changed;
}

/// The columns from the first block that changed to the last; none if the line did not change.
frame_history::area frame_history::changed_part(uint32_t y, uint32_t seen) const {
  if (line_changed_at_[y] <= seen)
    return {0, y, 0, 1};
  const auto line = block_changed_at_.begin() + static_cast<std::ptrdiff_t>(size_t{y} * blocks());
  const auto end = line + static_cast<std::ptrdiff_t>(blocks());
  const auto has_changed = [=](uint32_t at) { return at > seen; };
  const auto first = std::find_if(line, end, has_changed);
  const auto last = std::find_if(std::reverse_iterator{end}, std::reverse_iterator{first}, has_changed);
  const auto x = static_cast<uint32_t>(first - line) * block_pixels;
  const auto right = static_cast<uint32_t>(last.base() - line) * block_pixels;
  return {x, y, std::min(right, latest_.width) - x, 1};
}

std::vector<frame_history::area> frame_history::changes_since(uint32_t seen) const {
  std::vector<area> areas;
  area open = {};
  for (uint32_t y = 0; y < latest_.height; ++y) {
    const area line = changed_part(y, seen);
    if (line.x == open.x && line.width == open.width) {
      ++open.height;
      continue;
    }
    if (open.width > 0)
      areas.push_back(open);
    open = line;
  }
  if (open.width > 0)
    areas.push_back(open);
  return areas;
}

} // namespace dravik::sim
