// The serial console on a real port: the host reads what it sends.

#include "dravik.h"
#include "guest.hpp"

#include <gtest/gtest.h>
#include <termios.h>

namespace {

using namespace dravik::vm;

class Console : public ::testing::Test {
protected:
  void SetUp() override { ASSERT_EQ(console_init(), 0); }
  ~Console() override { console_exit(); }
};

TEST_F(Console, ConfiguresPort) {
  termios settings;
  ASSERT_EQ(::tcgetattr(console_write_fd, &settings), 0);
  EXPECT_EQ(::cfgetospeed(&settings), speed_t{B115200});
  EXPECT_EQ(settings.c_lflag & (ICANON | ECHO | ISIG), 0U);
  EXPECT_EQ(settings.c_oflag & OPOST, 0U);
  EXPECT_NE(settings.c_cflag & CLOCAL, 0U);
  EXPECT_EQ(settings.c_cflag & CRTSCTS, 0U);
}

TEST_F(Console, SendsText) {
  console_printf("lane kept %d %s\n", 42, "times");
  EXPECT_EQ(ask("await lane kept 42 times"), "ok");
}

TEST_F(Console, SendsMessagesInOrder) {
  for (int i = 0; i < 40; ++i)
    console_printf("<%02d>", i);
  EXPECT_EQ(
      ask("await <00><01><02><03><04><05><06><07><08><09><10><11><12><13><14><15><16><17><18><19><20><21><22>"
          "<23><24><25><26><27><28><29><30><31><32><33><34><35><36><37><38><39>"),
      "ok");
}

TEST_F(Console, SendsFullRing) {
  console_printf("%s end of ring\n", std::string(4000, '#').c_str());
  EXPECT_EQ(ask("await ##### end of ring"), "ok");
}

} // namespace
