// Whole-screen clears and the dark shading.

#include "fb/clip.hpp"
#include "fb/colour_table.hpp"
#include "fb/fill.hpp"

namespace dravik::fb {
namespace {

constexpr int32_t shading_width = 320; ///< columns that the whole-screen shading covers
constexpr int32_t shading_last = 207;  ///< its last line; line 0 is never painted

void shade(const surface &on, range columns, range rows) noexcept {
  rows = {std::max(rows.first, 1), std::min({rows.last, shading_last, on.height - 1})};
  if (columns.empty())
    return;
  for (const shade_run &run : shading_runs) {
    const range lines = {std::max<int32_t>(rows.first, run.first), std::min<int32_t>(rows.last, run.last)};
    if (lines.empty())
      continue;
    fill_block(on.at(columns.first, lines.first), on.pitch, columns.count(), lines.count(), run.colour);
  }
}

} // namespace
} // namespace dravik::fb

extern "C" {

using namespace dravik::fb;

void fb_clear_screen(uint32_t colour) noexcept {
  const surface on = screen();
  const uint16_t paint = colour == DRAVIK_THEME ? gc[theme_entry] : static_cast<uint16_t>(colour);
  const range columns = {0, std::max(on.width - 1, 0)}, rows = {0, std::max(on.height - 1, 0)};
  fill_block(on.at(0, 0), on.pitch, columns.count(), rows.count(), paint);
}

void fb_clear_screen_gradient() noexcept {
  const surface on = screen();
  shade(on, {0, std::min(on.width, shading_width) - 1}, {1, shading_last});
}

void fb_clear_region_gradient(int32_t x0, int32_t y0, int32_t x1, int32_t y1) noexcept {
  const surface on = screen();
  shade(on, clipped(between(x0, x1), on.width), {y0, y1});
}

} // extern "C"
