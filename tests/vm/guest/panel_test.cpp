// Drawing on a panel that the emulator shows: the host compares what is scanned out.

#include "screen_model.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

namespace {

using namespace dravik::vm;

class Panel : public ::testing::Test {
protected:
  Panel() {
    fb_init();
    fb_clear_screen(0);
  }
  ~Panel() override { fb_exit(); }

  void expect_shown() {
    EXPECT_EQ(device_pixels(), expected.pixels);
    EXPECT_EQ(panel_shows(expected.pixels), "ok");
  }

  screen_model expected{640, 480};
};

TEST_F(Panel, DescribesScreen) {
  EXPECT_THAT(fbinfo, ::testing::ElementsAre(1280, 2, 614400, 0, 640, 480, 16, 0, 1, 614400, 480, 0));
}

TEST_F(Panel, ShowsPureColours) {
  constexpr uint16_t colours[] = {0xF800, 0x07E0, 0x001F, 0xFFFF, 0x0821, 0xFFE0, 0x0001, 0x0020};
  for (uint32_t i = 0; i < std::size(colours); ++i) {
    fb_put_rect_fill(static_cast<int32_t>(80 * i), 0, static_cast<int32_t>(80 * i + 79), 479, colours[i]);
    expected.fill(80 * i, 0, 80 * i + 79, 479, colours[i]);
  }
  expect_shown();
}

TEST_F(Panel, ShowsPixelsInCorners) {
  for (const auto &[x, y] : {std::pair{0U, 0U}, {639U, 0U}, {0U, 479U}, {639U, 479U}, {320U, 240U}}) {
    fb_put_pixel(x, y, 0xFFFF);
    expected.fill(x, y, x, y, 0xFFFF);
  }
  expect_shown();
}

TEST_F(Panel, ShowsRandomRectangles) {
  std::mt19937 random{20260101};
  const auto below = [&](uint32_t limit) { return static_cast<uint32_t>(random() % limit); };
  for (int i = 0; i < 300; ++i) {
    const auto [x0, x1] = std::minmax({below(640), below(640)});
    const auto [y0, y1] = std::minmax({below(480), below(480)});
    const auto colour = static_cast<uint16_t>(below(65536));
    fb_put_rect_fill(static_cast<int32_t>(x1), static_cast<int32_t>(y0), static_cast<int32_t>(x0),
                     static_cast<int32_t>(y1), colour);
    expected.fill(x0, y0, x1, y1, colour);
  }
  expect_shown();
}

TEST_F(Panel, ClearsToThemeColour) {
  set_theme_color(0x4D2A);
  fb_clear_screen(DRAVIK_THEME);
  expected.fill(0, 0, 639, 479, 0x4D2A);
  expect_shown();
}

TEST_F(Panel, CopiesFrameBufferMemory) {
  fb_put_rect_fill(10, 20, 300, 400, 0x1357);
  std::vector<uint16_t> copy(size_t{640} * 480);
  get_fb_buffer(0, 0, reinterpret_cast<uint8_t *>(copy.data()));
  expected.fill(10, 20, 300, 400, 0x1357);
  EXPECT_EQ(copy, expected.pixels);
}

TEST_F(Panel, PansAndBlanks) {
  EXPECT_EQ(fb_pan_display(), 0);
  EXPECT_EQ(fb_lcd_off(), 0);
  EXPECT_EQ(fb_lcd_on(), 0);
}

TEST_F(Panel, KeepsPictureWhileBlanked) {
  fb_put_rect_fill(100, 100, 200, 200, 0x07FF);
  expected.fill(100, 100, 200, 200, 0x07FF);
  fb_lcd_off();
  fb_lcd_on();
  expect_shown();
}

} // namespace
