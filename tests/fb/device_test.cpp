// Start-up, panel control and shut-down on a simulated frame buffer.

#include "dravik.h"
#include "support/board.hpp"
#include "support/emulation.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/mman.h>
#include <vector>

namespace dravik::test {
namespace {

using dravik::sim::screen;
using testing::Each;
using testing::ElementsAre;
using testing::ExitedWithCode;
using testing::IsEmpty;
using testing::StrEq;

bool is_open(int descriptor) {
  return ::fcntl(descriptor, F_GETFD) != -1;
}

bool is_mapped(void *address) {
  return ::msync(address, 1, MS_ASYNC) == 0;
}

TEST(FbInit, ReportsPlainScreen) {
  const board board{64, 32};
  fb_init();
  EXPECT_THAT(fbinfo, ElementsAre(128, 2, 4096, 0, 64, 32, 16, 0, 1, 4096, 32, 0));
  uint32_t copy[12];
  get_cam_fb_info(copy);
  EXPECT_TRUE(std::ranges::equal(copy, fbinfo));
}

TEST(FbInit, ReportsVirtualScreenOfTwiceTheHeight) {
  const board board{screen{64, 32, 64, 64, 16, 128}};
  fb_init();
  EXPECT_THAT(fbinfo, ElementsAre(128, 2, 8192, 0, 64, 32, 16, 0, 2, 8192, 32, 0));
}

TEST(FbInit, CountsWholeBuffers) {
  const board board{screen{64, 32, 64, 95, 16, 128}};
  fb_init();
  EXPECT_EQ(fbinfo[FBINFO_BUFFER_COUNT], 2U);
  EXPECT_EQ(fbinfo[FBINFO_SCREEN_SIZE], 64U * 95 * 2);
}

TEST(FbInit, ReportsWiderVirtualScreen) {
  const board board{screen{64, 32, 100, 32, 16, 200}};
  fb_init();
  EXPECT_THAT(fbinfo, ElementsAre(200, 2, 6400, 0, 64, 32, 16, 0, 1, 6400, 32, 0));
}

TEST(FbInit, IgnoresPaddingInSize) {
  const board board{screen{60, 32, 60, 32, 16, 128}};
  fb_init();
  EXPECT_THAT(fbinfo, ElementsAre(128, 2, 60 * 32 * 2, 0, 60, 32, 16, 0, 1, 60 * 32 * 2, 32, 0));
}

TEST(FbInit, ReportsDeviceOf32BitsPerPixel) {
  const board board{screen{64, 32, 64, 32, 32, 256}};
  fb_init();
  EXPECT_THAT(fbinfo, ElementsAre(256, 4, 8192, 0, 64, 32, 32, 0, 1, 8192, 32, 0));
}

TEST(FbInit, DrawsOn32BitDeviceAsOn16) {
  const board board{screen{64, 32, 64, 32, 32, 256}};
  fb_init();
  fb_put_pixel(3, 2, DRAVIK_MAGENTA);
  std::vector<uint16_t> expected(4096);
  expected[2 * 128 + 3] = DRAVIK_MAGENTA;
  EXPECT_EQ(board.pixels(), expected);
}

TEST(FbInit, MapsTheVisibleMemory) {
  const board board{64, 32};
  fb_init();
  EXPECT_GT(fbfd, 0);
  EXPECT_NE(fbp, nullptr);
  EXPECT_EQ(fbp0, fbp);
  fb_clear_screen(DRAVIK_RED);
  EXPECT_THAT(board.pixels(), Each(DRAVIK_RED));
}

TEST(FbInit, LeavesWhatTheScreenShows) {
  const board board{64, 32};
  board.write("dev/fb0", std::string(4096, 'x'));
  fb_init();
  EXPECT_EQ(board.read("dev/fb0"), std::string(4096, 'x'));
}

TEST(FbInit, DrawsInFirstOfTwoBuffers) {
  const board board{screen{64, 32, 64, 64, 16, 128}};
  board.write("panel", "xoffset=0\nyoffset=32\nblank=0\n"); // the second one is shown
  fb_init();
  fb_clear_screen(DRAVIK_GREEN);
  const std::vector<uint16_t> pixels = board.pixels();
  const auto half = pixels.begin() + 64 * 32;
  EXPECT_EQ(std::count(pixels.begin(), half, DRAVIK_GREEN), 64 * 32);
  EXPECT_EQ(std::count(half, pixels.end(), 0), 64 * 32);
}

TEST(FbInit, BuildsTheColourTableWithTheStartUpTheme) {
  const board board{64, 32};
  fb_init();
  EXPECT_EQ(get_theme_color(), DRAVIK_DEFAULT_THEME);
  EXPECT_EQ(gc[0], 0x0800);
  EXPECT_EQ(gc[433], 0x1BB7);
  EXPECT_EQ(gc[463], 0x0000);
  fb_clear_screen(DRAVIK_THEME);
  EXPECT_THAT(board.pixels(), Each(DRAVIK_DEFAULT_THEME));
}

TEST(FbInit, PutsTheThemeBackToTheStartUpOne) {
  const board board{64, 32};
  set_theme_color(DRAVIK_RED);
  fb_init();
  EXPECT_EQ(get_theme_color(), DRAVIK_DEFAULT_THEME);
}

TEST(FbInit, RequestsNoPanAndNoBlank) {
  const board board{64, 32};
  fb_init();
  EXPECT_THAT(board.events(), IsEmpty());
}

TEST(FbInit, OpensAndMapsAgainOnSecondCall) {
  const board board{64, 32};
  fb_init();
  const int first_descriptor = fbfd;
  uint8_t *const first_mapping = fbp;
  board.set("yres_virtual", "64");
  fb_init();
  EXPECT_NE(fbfd, first_descriptor);
  EXPECT_NE(fbp, first_mapping);
  EXPECT_EQ(fbp0, fbp);
  EXPECT_EQ(fbinfo[FBINFO_BUFFER_COUNT], 2U);
  EXPECT_TRUE(is_open(first_descriptor));
  first_mapping[7] = 0x5A;
  EXPECT_EQ(fbp[7], 0x5A);
}

class FbInitFailure : public testing::Test {
protected:
  ~FbInitFailure() override { EXPECT_FALSE(screen_board.exists("tmp/dravik.log")); }

  const board screen_board{64, 32};
};

TEST_F(FbInitFailure, TreatsDescriptorZeroAsNoDevice) {
  screen_board.set_fault("descriptor-0", "/dev/fb0");
  EXPECT_EXIT(fb_init(), ExitedWithCode(1), StrEq("error cannot open framebuffer device.\n"));
}

TEST_F(FbInitFailure, ReportsFailedOpenAtFixedInformation) {
  screen_board.set_fault("open", "/dev/fb0", "EACCES");
  EXPECT_EXIT(fb_init(), ExitedWithCode(1), StrEq("error reading fixed info\n"));
}

TEST_F(FbInitFailure, ReportsMissingDeviceAtFixedInformation) {
  screen_board.remove("dev/fb0");
  EXPECT_EXIT(fb_init(), ExitedWithCode(1), StrEq("error reading fixed info\n"));
}

TEST_F(FbInitFailure, KeepsDescriptorOfOpen) {
  screen_board.set_fault("open", "/dev/fb0", "EACCES");
  EXPECT_EXIT(
      {
        std::atexit([] { std::fprintf(stderr, "%d", fbfd); });
        fb_init();
      },
      ExitedWithCode(1), StrEq("error reading fixed info\n-1"));
}

TEST_F(FbInitFailure, ReportsFixedInformation) {
  screen_board.set_fault("fscreeninfo", "/dev/fb0");
  EXPECT_EXIT(fb_init(), ExitedWithCode(1), StrEq("error reading fixed info\n"));
}

TEST_F(FbInitFailure, ReportsVariableInformation) {
  screen_board.set_fault("vscreeninfo", "/dev/fb0");
  EXPECT_EXIT(fb_init(), ExitedWithCode(1), StrEq("error reading var info\n"));
}

TEST_F(FbInitFailure, ReportsMapping) {
  screen_board.set_fault("mmap", "/dev/fb0", "ENOMEM");
  EXPECT_EXIT(fb_init(), ExitedWithCode(1), StrEq("error: failed to map framebuffer device to memory.\n"));
}

TEST(FbExit, UnmapsAndCloses) {
  const board board{64, 32};
  fb_init();
  SKIP_UNDER_EMULATION("accepts msync() of memory that is not mapped");
  ASSERT_TRUE(is_mapped(fbp));
  EXPECT_EQ(fb_exit(), 0);
  EXPECT_FALSE(is_mapped(fbp));
  EXPECT_FALSE(is_open(fbfd));
}

TEST(FbExit, KeepsTheGlobals) {
  const board board{64, 32};
  fb_init();
  const int descriptor = fbfd;
  uint8_t *const address = fbp;
  fb_exit();
  EXPECT_EQ(fbfd, descriptor);
  EXPECT_EQ(fbp, address);
  EXPECT_EQ(fbp0, address);
  EXPECT_THAT(fbinfo, ElementsAre(128, 2, 4096, 0, 64, 32, 16, 0, 1, 4096, 32, 0));
  EXPECT_EQ(get_theme_color(), DRAVIK_DEFAULT_THEME);
}

TEST(FbExit, ReturnsTheResultOfClose) {
  const board board{64, 32};
  fb_init();
  EXPECT_EQ(fb_exit(), 0);
  EXPECT_EQ(fb_exit(), -1);
}

TEST(FbExit, AllowsReopeningScreen) {
  const board board{64, 32};
  fb_init();
  fb_exit();
  fb_init();
  fb_put_pixel(1, 0, DRAVIK_RED);
  EXPECT_EQ(board.pixels().at(1), DRAVIK_RED);
  EXPECT_EQ(fb_exit(), 0);
}

TEST(FbPanDisplay, ShowsTheBufferOfStartUpEachTime) {
  const board board{screen{64, 32, 80, 64, 16, 160}};
  board.write("panel", "xoffset=5\nyoffset=32\nblank=0\n");
  fb_init();
  board.write("panel", "xoffset=0\nyoffset=0\nblank=0\n"); // someone else pans meanwhile
  EXPECT_EQ(fb_pan_display(), 0);
  EXPECT_EQ(fb_pan_display(), 0);
  EXPECT_THAT(board.events(), ElementsAre("fb0: pan 5 32", "fb0: pan 5 32"));
}

TEST(FbPanDisplay, ReturnsTheResultOfTheRequest) {
  const board board{64, 32};
  fb_init();
  board.set_fault("pan", "/dev/fb0");
  EXPECT_EQ(fb_pan_display(), -1);
}

TEST(FbLcd, BlanksWithOffAndUnblanksWithOn) {
  const board board{64, 32};
  fb_init();
  EXPECT_EQ(fb_lcd_off(), 0);
  EXPECT_EQ(fb_lcd_on(), 0);
  EXPECT_THAT(board.events(), ElementsAre("fb0: blank 1", "fb0: blank 0"));
}

TEST(FbLcd, ReturnsResultOfRequest) {
  const board board{64, 32};
  fb_init();
  board.set_fault("blank", "/dev/fb0");
  EXPECT_EQ(fb_lcd_off(), -1);
  EXPECT_EQ(fb_lcd_on(), -1);
}

TEST(FbLcd, FailsOnClosedDevice) {
  const board board{64, 32};
  fb_init();
  fb_exit();
  EXPECT_EQ(fb_lcd_off(), -1);
  EXPECT_EQ(fb_lcd_on(), -1);
  EXPECT_EQ(fb_pan_display(), -1);
  EXPECT_THAT(board.events(), IsEmpty());
}

TEST(GetFbBuffer, CopiesBothBuffersOfADevice) {
  const board board{screen{64, 32, 64, 64, 16, 128}};
  fb_init();
  fb_put_pixel(63, 31, DRAVIK_RED);
  fb_put_pixel(0, 32, DRAVIK_GREEN); // the first line of the second buffer
  std::vector<uint8_t> copy(8192);
  get_fb_buffer(0, 0, copy.data());
  EXPECT_EQ(std::string(copy.begin(), copy.end()), board.read("dev/fb0"));
  EXPECT_EQ(copy[64 * 32 * 2 - 1], 0xF8);
  EXPECT_EQ(copy[64 * 32 * 2 + 1], 0x07);
}

} // namespace
} // namespace dravik::test
