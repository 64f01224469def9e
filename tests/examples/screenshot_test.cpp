// The demonstration's screenshots: the files on the memory card.

#include "examples/saved_picture.hpp"
#include "support/emulation.hpp"
#include "support/paths.hpp"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace dravik::test {
namespace {

using sim::screen;
using testing::HasSubstr;
using testing::IsEmpty;

const std::string is_saved = "dashcam: screenshot: saved on the memory card\n";

class DashcamScreenshot : public testing::TestWithParam<uint32_t> {};

TEST_P(DashcamScreenshot, SavesVisibleScreen) {
  screen shown = screen::of_size(640, 480);
  shown.line_length += GetParam();
  shown.yres_virtual = 960;
  const board on{shown};
  add_demonstration_files(on);
  application dashcam{on, dashcam_path, {"--screenshot", "--screen", "journey", "--time", "14:32:08"}};
  EXPECT_EQ(dashcam.finish(), 0);
  EXPECT_THAT(dashcam.errors(), HasSubstr(is_saved));
  expect_what_the_screen_shows(expect_saved_picture(on), {on, shown});
}

INSTANTIATE_TEST_SUITE_P(All, DashcamScreenshot, testing::Values(0, 24), [](const auto &one) {
  return one.param == 0 ? "OfPlainLines" : "OfLinesWithAGapBehindThem";
});

TEST(DashcamScreenshotKey, SavesTheScreenAndGoesOn) {
  const board on{640, 480};
  add_demonstration_files(on);
  application dashcam{on, dashcam_path, {"--screen", "menu", "--stay"}};
  dashcam.await_error("digits_640.q7 : 36\n");
  dashcam.send(SIGUSR1);
  dashcam.await_error(is_saved);
  dashcam.send(SIGTERM);
  EXPECT_EQ(dashcam.finish(), 0);
  const bmp_picture picture = expect_saved_picture(on);
  for (uint32_t x = 0; x < 640; ++x)
    ASSERT_EQ(picture.at(x, 43), DRAVIK_DEFAULT_THEME) << "the line below the status bar";
}

TEST(DashcamScreenshotKey, IsRefusedOnAPanelOfAnotherSize) {
  const board on{320, 240};
  add_demonstration_files(on);
  application dashcam{on, dashcam_path, {"--screen", "menu", "--screenshot"}};
  EXPECT_EQ(dashcam.finish(), 1);
  EXPECT_THAT(dashcam.errors(), HasSubstr("dashcam: screenshot: requires a panel of 640 by 480\n"));
  EXPECT_THAT(card_of(on), IsEmpty());
}

TEST(DashcamScreenshotKey, FailsWhenTheCardIsOut) {
  const board on{640, 480};
  add_demonstration_files(on);
  std::filesystem::remove(on.path("tmp/mmcblk0p1"));
  application dashcam{on, dashcam_path, {"--screen", "menu", "--screenshot"}};
  EXPECT_EQ(dashcam.finish(), 1);
  EXPECT_THAT(dashcam.errors(),
              HasSubstr("dashcam: screenshot: cannot be saved; requires a memory card with free space\n"));
}

TEST(DashcamScreenshotKey, LeavesNoCutFileOnAFullCard) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  const board on{640, 480};
  add_demonstration_files(on);
  on.write("tmp/mmcblk0p1/kept", "kept");
  // Files grow to 100 blocks of 512 bytes, and then writing fails: a screenshot has 614466 bytes.
  const char *script = "trap '' XFSZ; ulimit -f 100; exec \"$0\" --screenshot --screen menu";
  application dashcam{on, "/bin/sh", {"-c", script, dashcam_path}};
  EXPECT_EQ(dashcam.finish(), 1);
  EXPECT_THAT(dashcam.errors(),
              HasSubstr("dashcam: screenshot: cannot be saved; requires a memory card with free space\n"));
  EXPECT_THAT(card_of(on), testing::ElementsAre("kept"));
}

} // namespace
} // namespace dravik::test
