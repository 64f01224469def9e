// A screen in plain memory for drawing tests, next to a model of it.
//
//   fake_screen screen{{.xres = 32, .yres = 24, .padding = 6}};
//   fb_put_pixel(3, 4, 0xF800);
//   screen.model().put(3, 4, 0xF800);
//   EXPECT_TRUE(screen.same());
//
// The memory has guard bands before and after the lines, and every pixel of it starts as a marker of its
// own, so that tests detect stray writes. Images of small figures are compared as text: see drawing().
#pragma once

#include "dravik.h"

#include <gtest/gtest.h>
#include <string>
#include <utility>
#include <vector>

namespace dravik::test {

struct screen_shape {
  uint32_t xres = 320;
  uint32_t yres = 240;
  uint32_t padding = 0;      ///< bytes between the end of a line and the next, even
  uint32_t misalignment = 0; ///< distance of the first pixel from a 4-byte boundary, 0 or 2
  uint32_t guard_lines = 8;  ///< lines of guard before the screen, and as many after it
};

/// Whether a position at or after the first pixel is before the end of the last line.
inline bool is_in_memory(int64_t x, int64_t y) noexcept {
  const int64_t line_length = fbinfo[FBINFO_LINE_LENGTH];
  return y * line_length + x * 2 < line_length * fbinfo[FBINFO_YRES];
}

/// Memory that a model draws on, addressed as the library addresses its own.
class model_plane {
public:
  model_plane(std::vector<uint8_t> &memory, size_t origin, uint32_t line_length) noexcept
      : memory_(&memory), origin_(origin), line_length_(line_length) {}

  /// Store a pixel anywhere, in the guards too; end the program for one beyond them.
  void put(int64_t x, int64_t y, uint16_t colour) const noexcept;
  uint16_t get(int64_t x, int64_t y) const noexcept;

private:
  uint8_t *at(int64_t x, int64_t y) const noexcept;

  std::vector<uint8_t> *memory_;
  size_t origin_;
  uint32_t line_length_;
};

class fake_screen {
public:
  /// Make the screen and let the library draw on it.
  explicit fake_screen(const screen_shape &shape = {});
  fake_screen(uint32_t xres, uint32_t yres) : fake_screen(screen_shape{.xres = xres, .yres = yres}) {}
  ~fake_screen();
  fake_screen(const fake_screen &) = delete;
  fake_screen &operator=(const fake_screen &) = delete;

  /// Set the exported address and record to this screen: for tests that have several.
  void use() const noexcept;
  /// Fill screen and model with the markers again.
  void reset() noexcept;

  uint32_t line_length() const noexcept { return line_length_; }
  /// The model to draw on with the expected pixels.
  model_plane model() noexcept { return {model_, origin_, line_length_}; }
  /// The library's screen; do not write to it.
  model_plane drawn() noexcept { return {drawn_, origin_, line_length_}; }

  /// Whether screen and model are the same byte by byte, guards and padding included. If not, reports the
  /// first differences, saves images of the screen and the differences, and copies the screen to the model.
  testing::AssertionResult same();

  /// The visible part as text, a line each: '.' for a marker, '#' for `colour`, '?' for anything else. The
  /// guards and the padding must be as they were: if not, "(astray)" follows.
  std::string drawing(uint16_t colour);

  /// Positions (x, y) of all pixels that are no longer markers, in order of their addresses. Those left of
  /// the screen or in the padding count as columns from `xres` on of the line before.
  std::vector<std::pair<int, int>> painted();

private:
  bool is_marker(size_t pixel) const noexcept;
  std::string place_of(size_t pixel) const;
  void write_pictures() const;

  screen_shape shape_;
  uint32_t line_length_;
  size_t origin_; ///< bytes of guard before the first pixel
  std::vector<uint8_t> drawn_, model_;
};

} // namespace dravik::test
