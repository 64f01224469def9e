// The screen of the benchmarks, and comparisons of its contents.

#include "harness.hpp"

#include <algorithm>
#include <cstring>

namespace bench {
namespace {

/// The screen is in the middle, so that comparisons detect drawing above or below it.
constexpr size_t margin = size_t{screen_pitch} * 32;

alignas(4096) uint8_t memory[margin + screen_bytes + margin];

uint8_t *screen() {
  return memory + margin;
}

/// A ground on which no painting can hide.
void lay_ground() {
  uint32_t noise = 1;
  for (uint8_t &byte : memory) {
    noise = noise * 1664525 + 1013904223;
    byte = static_cast<uint8_t>(noise >> 24);
  }
}

} // namespace

void use_screen() {
  fbp = fbp0 = screen();
  fbinfo[FBINFO_LINE_LENGTH] = screen_pitch;
  fbinfo[FBINFO_BYTES_PER_PIXEL] = 2;
  fbinfo[FBINFO_SCREEN_SIZE] = fbinfo[FBINFO_COPY_SIZE] = screen_bytes;
  fbinfo[FBINFO_XRES] = screen_width;
  fbinfo[FBINFO_YRES] = fbinfo[FBINFO_LINE_COUNT] = screen_height;
  fbinfo[FBINFO_BITS_PER_PIXEL] = 16;
  fbinfo[FBINFO_BUFFER_COUNT] = 1;
  set_theme_color(DRAVIK_DEFAULT_THEME);
}

uint16_t *pixel_at(int x, int y) {
  return reinterpret_cast<uint16_t *>(screen() + y * screen_pitch + x * 2);
}

void set_block(const box &b) {
  uint16_t *at = pixel_at(b.x, b.y);
  for (int row = 0; row < b.height; ++row, at += screen_pitch / 2)
    std::memset(at, ink_byte, static_cast<size_t>(b.width) * 2);
}

std::vector<box> spread_boxes(int width, int height, size_t count) {
  std::vector<box> boxes;
  uint32_t noise = 7;
  const auto below = [&noise](int limit) {
    noise = noise * 1664525 + 1013904223;
    return static_cast<int>((noise >> 8) % static_cast<uint32_t>(limit));
  };
  while (boxes.size() < count) {
    const int x = below(screen_width - width + 1), y = below(screen_height - height + 1);
    boxes.push_back({x, y, width, height});
  }
  return boxes;
}

std::vector<uint32_t> painted_offsets(const std::function<void()> &job) {
  std::vector<bool> touched(screen_bytes / 2);
  // Twice, on opposite backgrounds, since a pixel may be drawn in the colour that it had.
  for (const int ground : {0x00, 0xFF}) {
    std::memset(memory, ground, sizeof memory);
    job();
    for (size_t i = 0; i < touched.size(); ++i)
      touched[i] = touched[i] || pixel_at(0, 0)[i] != (ground << 8 | ground);
  }
  std::vector<uint32_t> offsets;
  for (size_t i = 0; i < touched.size(); ++i)
    if (touched[i])
      offsets.push_back(static_cast<uint32_t>(i * 2));
  return offsets;
}

void store_at(const std::vector<uint32_t> &offsets) {
  uint8_t *const base = screen();
  for (const uint32_t offset : offsets)
    *reinterpret_cast<uint16_t *>(base + offset) = ink;
}

std::vector<std::unique_ptr<row_record>> &rows() {
  static std::vector<std::unique_ptr<row_record>> all;
  return all;
}

std::vector<std::unique_ptr<distribution>> &distributions() {
  static std::vector<std::unique_ptr<distribution>> all;
  return all;
}

void add_distribution(std::string name, std::function<void(std::vector<double> &)> take) {
  distribution *made = distributions().emplace_back(std::make_unique<distribution>()).get();
  made->name = std::move(name);
  benchmark::RegisterBenchmark(made->name.c_str(), [made, take = std::move(take)](benchmark::State &state) {
    for ([[maybe_unused]] auto once : state)
      take(made->microseconds);
  })->Iterations(1);
}

bool paint_the_same(const std::function<void()> &a, const std::function<void()> &b) {
  lay_ground();
  a();
  const std::vector<uint8_t> painted(std::begin(memory), std::end(memory));
  lay_ground();
  b();
  return std::ranges::equal(painted, memory);
}

} // namespace bench
