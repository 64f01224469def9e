// "info" and "net".

#include "ctl_fixture.hpp"

#include <filesystem>
#include <fstream>
#include <sys/utsname.h>

namespace dravik::ctl_test {
namespace {

using testing::HasSubstr;
using testing::MatchesRegex;

using CtlInfo = CtlTool;

TEST_F(CtlInfo, ReportsTheScreen) {
  EXPECT_EQ(asked({"info"}, ".screen"),
            R"({"width":640,"height":480,"bits_per_pixel":16,"line_length":1280,"buffers":1})");
  board_.set("xres", "320");
  board_.set("yres", "240");
  board_.set("xres_virtual", "320");
  board_.set("yres_virtual", "480");
  board_.set("line_length", "704");
  EXPECT_EQ(asked({"info"}, ".screen"),
            R"({"width":320,"height":240,"bits_per_pixel":16,"line_length":704,"buffers":2})");
}

TEST_F(CtlInfo, ReportsVersionKernelAndTime) {
  utsname names;
  ASSERT_EQ(::uname(&names), 0);
  EXPECT_EQ(asked({"info"}, ".version"), DRAVIK_VERSION);
  EXPECT_EQ(asked({"info"}, ".kernel"),
            std::string{names.sysname} + " " + names.release + " " + names.machine);
  EXPECT_THAT(asked({"info"}, ".time"),
              MatchesRegex("[0-9]{4}-[01][0-9]-[0-3][0-9] [0-9]{2}:[0-9]{2}:[0-9]{2}"));
  EXPECT_EQ(asked({"info"}, ".uptime_seconds > 0"), "true");
}

TEST_F(CtlInfo, ContinuesWithoutScreen) {
  board_.remove("dev/fb0");
  EXPECT_EQ(asked({"info"}, ".screen, .devices.screen, .devices.adc"), "null\nfalse\ntrue");
}

TEST_F(CtlInfo, ContinuesIfScreenFails) {
  for (const char *request : {"fscreeninfo", "vscreeninfo", "mmap", "descriptor-0"}) {
    board_.clear_faults();
    board_.set_fault(request, "/dev/fb0");
    EXPECT_EQ(asked({"info"}, ".screen, .devices.screen"), "null\nfalse") << request;
  }
}

TEST_F(CtlInfo, ReportsWhichDevicesAnswer) {
  EXPECT_EQ(asked({"info"}, ".devices"),
            R"({"screen":true,"gpio":true,"adc":true,"backlight":true,)"
            R"("accelerometer_bus":true,"serial_port":true,"hdmi":true,"card":false})");
  board_.remove("proc/ambarella");
  board_.remove("sys/class/backlight/pwm-backlight.0/brightness");
  board_.remove("proc/modules");
  board_.remove("dev/i2c-0");
  board_.remove("dev/ttyS0");
  board_.write("sys/block/mmcblk0/size", "15523840\n");
  EXPECT_EQ(
      asked({"info"}, ".devices | .gpio, .adc, .backlight, .accelerometer_bus, .serial_port, .hdmi, .card"),
      "false\nfalse\nfalse\nfalse\nfalse\nfalse\ntrue");
}

TEST_F(CtlInfo, ChangesNothingOnTheBoard) {
  asked({"info"}, ".");
  EXPECT_EQ(board_.read("sys/class/backlight/pwm-backlight.0/brightness"), "500\n");
  EXPECT_EQ(board_.read("sys/class/backlight/pwm-backlight.0/bl_power"), "0\n");
  for (const std::string &event : board_.events())
    EXPECT_THAT(event, Not(HasSubstr("blank")));
}

TEST_F(CtlInfo, ReportsTheRegion) {
  EXPECT_EQ(asked({"info"}, ".region"), "null");
  board_.write("tmp/add/areacode.bin", std::string("\x74\x48\x8c\x3e", 4));
  EXPECT_EQ(asked({"info"}, ".region"), "null") << "a value of no region";
  checked_output({"region", "write", "US", "/tmp/add/areacode.bin"});
  EXPECT_EQ(asked({"info"}, ".region"), R"({"number":1,"code":"US"})");
}

TEST_F(CtlInfo, PrintsSameNamesAsText) {
  const std::string text = checked_output({"info"});
  EXPECT_THAT(text, testing::StartsWith("version: " DRAVIK_VERSION "\nkernel: "));
  EXPECT_THAT(text, HasSubstr("\nscreen:\n  width: 640\n  height: 480\n  bits per pixel: 16\n"));
  EXPECT_THAT(text, HasSubstr("\nregion: -\n"));
  EXPECT_THAT(text, HasSubstr("\n  - name: lo\n    mac: -\n    ip: 127.0.0.1\n"));
}

using CtlNet = CtlTool;

TEST_F(CtlNet, ReportsTheLoopback) {
  EXPECT_EQ(checked_output({"net", "lo"}), "name: lo\nmac: -\nip: 127.0.0.1\n");
  EXPECT_EQ(asked({"net", "lo"}, "."), R"({"name":"lo","mac":null,"ip":"127.0.0.1"})");
}

TEST_F(CtlNet, ReportsEveryInterfaceWithItsHardwareAddress) {
  if (!std::filesystem::exists("/sys/class/net"))
    GTEST_SKIP() << "/sys is empty";
  size_t count = 0;
  for (const auto &entry : std::filesystem::directory_iterator{"/sys/class/net"}) {
    const std::string name = entry.path().filename().string();
    std::ifstream file{entry.path() / "address"};
    std::string mac;
    if (!(file >> mac) || mac.size() != 17)
      continue; // no interface, or one of another kind of network
    const std::string expected = mac == "00:00:00:00:00:00" ? "null" : mac;
    EXPECT_EQ(asked({"net", name}, ".mac"), expected) << name;
    ++count;
    EXPECT_EQ(asked({"net"}, ".interfaces[] | select(.name == \"" + name + "\") | .mac"), expected) << name;
  }
  EXPECT_GE(count, 1U);
}

TEST_F(CtlNet, ReportsWhenThereIsNoSuchInterface) {
  expect_refusal({"net", "none0"}, 1, "net: no interface 'none0'");
  expect_refusal({"net", "a-name-of-sixteen"}, 1, "net: no interface 'a-name-of-sixteen'");
  expect_usage_error({"net", "lo", "eth0"}, "extra argument 'eth0'");
}

} // namespace
} // namespace dravik::ctl_test
