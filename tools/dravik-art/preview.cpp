// Drawing through the library onto a screen in memory.

#include "dravik-art/preview.hpp"

#include "base/byte_reader.hpp"
#include "dravik.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

namespace dravik::art {
namespace {

/// Show through where the library paints nothing. No ramp on a transparent background has this colour.
constexpr uint16_t unpainted = DRAVIK_MAGENTA;

/// Discards standard error during its lifetime: the library prints its progress there.
class quiet_stderr {
public:
  quiet_stderr() noexcept : kept_(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)) {
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere >= 0 && kept_ >= 0)
      ::dup2(nowhere, STDERR_FILENO);
    if (nowhere >= 0)
      ::close(nowhere);
  }
  quiet_stderr(const quiet_stderr &) = delete;
  quiet_stderr &operator=(const quiet_stderr &) = delete;
  ~quiet_stderr() {
    if (kept_ < 0)
      return;
    ::dup2(kept_, STDERR_FILENO);
    ::close(kept_);
  }

private:
  int kept_;
};

/// Make a block of memory the library's screen.
void use_as_screen(std::vector<uint16_t> &plane, uint32_t width, uint32_t height) noexcept {
  const uint32_t line_length = width * 2;
  fbp = fbp0 = reinterpret_cast<uint8_t *>(plane.data());
  fbinfo[FBINFO_LINE_LENGTH] = line_length;
  fbinfo[FBINFO_BYTES_PER_PIXEL] = 2;
  fbinfo[FBINFO_SCREEN_SIZE] = line_length * height;
  fbinfo[FBINFO_XRES] = width;
  fbinfo[FBINFO_YRES] = fbinfo[FBINFO_LINE_COUNT] = height;
  fbinfo[FBINFO_BITS_PER_PIXEL] = 16;
}

/// Whether the library holds these bytes in its first slot.
bool is_loaded(std::span<const uint8_t> bytes) noexcept {
  if (q7bmp_ptr[0] == nullptr)
    return false;
  byte_reader header{{q7bmp_ptr[0], 16}};
  header.seek(12);
  return header.u32le() == bytes.size() && std::memcmp(q7bmp_ptr[0], bytes.data(), bytes.size()) == 0;
}

/// Margin around each image of a sheet, in pixels.
constexpr uint32_t margin = 4;

void put(png::picture &into, size_t pixel, std::array<uint8_t, 4> rgba) noexcept {
  std::ranges::copy(rgba, into.rgba.begin() + static_cast<ptrdiff_t>(pixel * 4));
}

std::array<uint8_t, 4> pixel_of(const png::picture &from, size_t pixel) noexcept {
  const uint8_t *const at = from.rgba.data() + pixel * 4;
  return {at[0], at[1], at[2], at[3]};
}

} // namespace

painter::~painter() {
  q7bmp_free();
}

bool painter::load(const std::string &path, const archive &checked, uint16_t theme, std::string &error) {
  set_theme_color(theme);
  const char *const name = path.c_str();
  {
    const quiet_stderr quiet;
    q7bmp_alloc(1, &name);
  }
  if (is_loaded(checked.bytes()))
    return true;
  error = path + ": changed while being read";
  return false;
}

png::picture painter::draw(uint32_t index, const image_record &record, ramp_choice ramp) const {
  std::vector<uint16_t> plane(size_t{record.width} * record.height, unpainted);
  use_as_screen(plane, record.width, record.height);
  fb_q7bmp_show(0, 0, 0, static_cast<int32_t>(index), ramp.foreground, ramp.background, DRAVIK_TOP_LEFT);
  const bool may_show_through = ramp.background == DRAVIK_TRANSPARENT;
  png::picture drawn{record.width, record.height, std::vector<uint8_t>(plane.size() * 4)};
  for (size_t i = 0; i < plane.size(); ++i)
    if (plane[i] != unpainted || !may_show_through)
      put(drawn, i, to_rgba(plane[i]));
  return drawn;
}

std::array<uint8_t, 4> background_rgba(uint16_t background) noexcept {
  if (background == DRAVIK_TRANSPARENT)
    return {};
  return to_rgba(background == DRAVIK_THEME ? get_theme_color() : background);
}

sheet::sheet(uint64_t cells, uint32_t widest, uint32_t highest, uint32_t columns) noexcept
    : cell_width_(uint64_t{widest} + 2 * margin), cell_height_(uint64_t{highest} + 2 * margin),
      columns_(std::min<uint64_t>(columns, cells)) {
  if (columns_ == 0) {
    const double area = static_cast<double>(cells) * static_cast<double>(cell_height_);
    const auto side = static_cast<uint64_t>(std::ceil(std::sqrt(area / static_cast<double>(cell_width_))));
    columns_ = std::clamp<uint64_t>(side, 1, cells);
  }
  rows_ = (cells + columns_ - 1) / columns_;
}

png::picture sheet::blank(uint64_t width, uint64_t height) {
  return {static_cast<uint32_t>(width), static_cast<uint32_t>(height),
          std::vector<uint8_t>(static_cast<size_t>(width * height * 4))};
}

void sheet::place(uint64_t cell, const png::picture &what, std::array<uint8_t, 4> background) noexcept {
  const uint64_t origin = cell / columns_ * cell_height_ * width() + cell % columns_ * cell_width_;
  for (uint64_t y = 0; y < cell_height_; ++y)
    for (uint64_t x = 0; x < cell_width_; ++x)
      put(picture_, static_cast<size_t>(origin + y * width() + x), background);
  const uint64_t left = (cell_width_ - what.width) / 2, top = (cell_height_ - what.height) / 2;
  for (size_t i = 0; i < what.rgba.size() / 4; ++i)
    put(picture_, static_cast<size_t>(origin + (top + i / what.width) * width() + left + i % what.width),
        pixel_of(what, i));
}

png::picture enlarged(const png::picture &from, uint32_t factor) {
  png::picture into{from.width * factor, from.height * factor, {}};
  const size_t pixels = size_t{into.width} * into.height;
  into.rgba.resize(pixels * 4);
  for (size_t i = 0; i < pixels; ++i) {
    const size_t x = i % into.width / factor, y = i / into.width / factor;
    put(into, i, pixel_of(from, y * from.width + x));
  }
  return into;
}

} // namespace dravik::art
