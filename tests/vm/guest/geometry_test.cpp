// Frame buffers of other sizes, with padded lines and several screens: those of the test driver, which also reports
// panning and blanking.

#include "screen_model.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace dravik::vm;

struct geometry {
  uint32_t width, height, padding, screens;
};

/// Replace the frame buffer by the driver's.
void load_panel(const geometry &wanted) {
  ASSERT_EQ(run("rmmod ambad"), 0);
  char options[128];
  std::snprintf(options, sizeof options, "modprobe ambad width=%u height=%u padding=%u screens=%u",
                wanted.width, wanted.height, wanted.padding, wanted.screens);
  ASSERT_EQ(run(options), 0);
  ASSERT_TRUE(wait_until([] { return exists("/dev/fb1"); }));
  ASSERT_EQ(run("mv /dev/fb0 /dev/cirrus && mv /dev/fb1 /dev/fb0"), 0);
  clear_events();
}

void unload_panel() {
  run("mv /dev/fb0 /dev/fb1; mv /dev/cirrus /dev/fb0; rmmod ambad; modprobe ambad");
}

class Geometry : public ::testing::TestWithParam<geometry> {
protected:
  void SetUp() override { load_panel(GetParam()); }
  void TearDown() override { unload_panel(); }
};

TEST_P(Geometry, DescribesScreen) {
  const auto [width, height, padding, screens] = GetParam();
  fb_init();
  const uint32_t size = width * height * screens * 2;
  EXPECT_THAT(fbinfo, ::testing::ElementsAre(width * 2 + padding, 2, size, 0, width, height, 16, 0, screens,
                                             size, height, 0));
  fb_exit();
}

TEST_P(Geometry, DrawsOnEveryLineAndNotOnPadding) {
  const auto [width, height, padding, screens] = GetParam();
  fb_init();
  screen_model expected{width, height};
  for (uint32_t y = 0; y < height; ++y) {
    const auto row = static_cast<int32_t>(y);
    fb_put_line(0, row, static_cast<int32_t>(width) - 1, row, static_cast<uint16_t>(y * 257 + 1));
    expected.fill(0, y, width - 1, y, static_cast<uint16_t>(y * 257 + 1));
  }
  fb_put_rect_fill(1, 1, static_cast<int32_t>(width) + 50, 8, 0xF81F);
  expected.fill(1, 1, width - 1, 8, 0xF81F);
  EXPECT_EQ(device_pixels(), expected.pixels);
  EXPECT_TRUE(is_padding_clear());
  fb_exit();
}

TEST_P(Geometry, ReportsPanningAndBlanking) {
  fb_init();
  EXPECT_EQ(fb_pan_display(), 0);
  EXPECT_EQ(fb_lcd_off(), 0);
  EXPECT_EQ(fb_lcd_on(), 0);
  EXPECT_THAT(events(), ::testing::ElementsAre("fb0: pan 0 0", "fb0: blank 1", "fb0: blank 0"));
  fb_exit();
}

std::string name_of(const ::testing::TestParamInfo<geometry> &info) {
  const auto [width, height, padding, screens] = info.param;
  return std::to_string(width) + "x" + std::to_string(height) + "_padding" + std::to_string(padding) +
         "_screens" + std::to_string(screens);
}

INSTANTIATE_TEST_SUITE_P(Driver, Geometry,
                         ::testing::Values(geometry{320, 240, 64, 2}, geometry{800, 480, 0, 2},
                                           geometry{479, 271, 2, 2}),
                         name_of);

/// The mapping has no space for padding, so it ends before the last lines; see fb_init().
TEST(GeometryOfOneScreen, EndsBeforePaddedLines) {
  load_panel({320, 240, 64, 1});
  fb_init();
  EXPECT_LT(fbinfo[FBINFO_SCREEN_SIZE], fbinfo[FBINFO_LINE_LENGTH] * fbinfo[FBINFO_YRES]);
  fb_put_line(0, 0, 319, 0, 0xFFFF);
  EXPECT_EXIT(fb_put_line(0, 239, 319, 239, 0xFFFF), ::testing::KilledBySignal(SIGSEGV), "");
  fb_exit();
  unload_panel();
}

} // namespace
