// The events of the board's devices, and dravik-sim events, which prints them.

#include "dravik.h"
#include "sim/follower.hpp"
#include "sim/launcher.hpp"
#include "support/board.hpp"
#include "support/emulation.hpp"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <gmock/gmock.h>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

constexpr const char *brightness = "/sys/class/backlight/pwm-backlight.0/brightness";

class SimEvents : public testing::Test {
protected:
  static void light(int32_t level) {
    lcd_bl_init();
    lcd_bl_set(level);
    lcd_bl_exit();
  }
  const board board_;
};

// ------------------------------------------------------------------------------------------- the backlight

TEST_F(SimEvents, ReportBacklight) {
  ASSERT_EQ(lcd_bl_init(), 1);
  lcd_bl_set(500);
  lcd_bl_set(2000);
  lcd_bl_off();
  lcd_bl_on();
  lcd_bl_exit();
  EXPECT_THAT(board_.events(),
              ElementsAre("backlight: 500", "backlight: 1000", "backlight: off", "backlight: on"));
  EXPECT_EQ(board_.read(brightness), "1000");
}

TEST_F(SimEvents, ReportBacklightSetByShell) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  launch({"run", board_.path(), "--", "sh", "-c", std::string{"echo 70 >"} + brightness});
  EXPECT_THAT(board_.events(), ElementsAre("backlight: 70"));
}

TEST_F(SimEvents, OmitBacklightWithInjectedFault) {
  board_.set_fault("write", brightness, "EIO");
  light(7);
  EXPECT_EQ(board_.read(brightness), "500\n");
  EXPECT_THAT(board_.events(), testing::IsEmpty());
  EXPECT_THAT(board_.read("tmp/dravik.log"), testing::HasSubstr("setup err, value = 7"));
}

TEST_F(SimEvents, OmitOtherAttributes) {
  const unique_fd attribute{::open("/sys/class/backlight/pwm-backlight.0/max_brightness", O_WRONLY)};
  EXPECT_EQ(::write(attribute.get(), "9", 1), 1);
  EXPECT_THAT(board_.events(), testing::IsEmpty());
}

TEST_F(SimEvents, OmitPlacedWritesWithInjectedFault) {
  board_.set_fault("write", "/dev/fb0", "EIO");
  const unique_fd screen{::open("/dev/fb0", O_RDWR)};
  EXPECT_EQ(::pwrite(screen.get(), "x", 1, 0), -1);
  EXPECT_EQ(errno, EIO);
  EXPECT_EQ(::write(screen.get(), "x", 1), -1);
}

// ------------------------------------------------------------------------------------------- the command

TEST_F(SimEvents, ShowExistingEventsOnce) {
  light(1);
  light(2);
  const outcome result = launch({"events", board_.path(), "--once"});
  EXPECT_EQ(result.exit_status(), 0);
  EXPECT_EQ(result.output, "backlight: 1\nbacklight: 2\n");
}

TEST_F(SimEvents, ShowNothingOfNewBoardOnce) {
  EXPECT_EQ(launch({"events", board_.path(), "--once"}).output, "");
  board_.remove("events");
  const outcome result = launch({"events", board_.path(), "--once"});
  EXPECT_EQ(result.exit_status(), 0);
  EXPECT_EQ(result.output, "");
}

TEST_F(SimEvents, AreFollowed) {
  light(1);
  follower shown{board_.path()};
  EXPECT_EQ(shown.line(), "backlight: 1");
  for (int32_t level = 2; level < 20; ++level) {
    light(level);
    EXPECT_EQ(shown.line(), "backlight: " + std::to_string(level));
  }
}

TEST_F(SimEvents, AreFollowedFromTheStartOnceTheyWereEmptied) {
  light(100);
  follower shown{board_.path()};
  EXPECT_EQ(shown.line(), "backlight: 100");
  board_.clear_events();
  light(2);
  EXPECT_EQ(shown.line(), "backlight: 2");
}

TEST_F(SimEvents, AreFollowedThoughThereAreNoneYet) {
  board_.remove("events");
  follower shown{board_.path()};
  light(3);
  EXPECT_EQ(shown.line(), "backlight: 3");
}

TEST_F(SimEvents, EndBySignal) {
  light(1);
  follower shown{board_.path()};
  shown.line();
  const int status = shown.end(SIGINT);
  EXPECT_TRUE(WIFSIGNALED(status));
  EXPECT_EQ(WTERMSIG(status), SIGINT);
}

TEST_F(SimEvents, EndWithReader) {
  light(1);
  follower shown{board_.path()};
  shown.line();
  shown.stop_reading(); // and nothing happens on the board
  const int status = shown.end();
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST_F(SimEvents, EndWithBoard) {
  light(1);
  follower shown{board_.path()};
  shown.line();
  std::filesystem::remove_all(board_.path());
  EXPECT_EQ(WEXITSTATUS(shown.end()), 1);
}

TEST_F(SimEvents, RejectsInvalidArguments) {
  const std::pair<std::vector<std::string>, std::string> invalid[] = {
      {{"events"}, "missing BOARD"},
      {{"events", "--once"}, "missing BOARD"},
      {{"events", board_.path(), "--twice"}, "unknown option '--twice'"},
      {{"events", board_.path(), "--once", "more"}, "extra argument 'more'"}};
  for (const auto &[arguments, message] : invalid) {
    const outcome result = launch(arguments);
    EXPECT_EQ(result.exit_status(), 2);
    EXPECT_EQ(result.errors, "dravik-sim: events: " + message + "; try 'dravik-sim events --help'\n");
  }
  const outcome result = launch({"events", board_.path("dev")});
  EXPECT_EQ(result.exit_status(), 1);
  EXPECT_THAT(result.errors, StartsWith("dravik-sim: " + board_.path("dev") + ": not a board; "));
}

} // namespace
} // namespace dravik::test
