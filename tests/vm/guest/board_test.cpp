// The board's small devices: backlight, GPIO, ADC, accelerometer, HDMI, flash, network.

#include "dravik.h"
#include "guest.hpp"

#include <array>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace dravik::vm;
using ::testing::ElementsAre;
using ::testing::HasSubstr;

constexpr const char *backlight = "/sys/class/backlight/pwm-backlight.0/";

class Board : public ::testing::Test {
protected:
  Board() { clear_events(); }
};

TEST_F(Board, SetsBrightness) {
  ASSERT_EQ(lcd_bl_init(), 1);
  lcd_bl_set(500);
  EXPECT_EQ(read_text(backlight + std::string{"brightness"}), "500\n");
  lcd_bl_set(DRAVIK_BACKLIGHT_HIGH); // on the same descriptor
  EXPECT_EQ(read_text(backlight + std::string{"brightness"}), "1000\n");
  lcd_bl_exit();
  EXPECT_THAT(events(), ElementsAre("backlight: 500", "backlight: 1000"));
}

TEST_F(Board, SwitchesBacklight) {
  ASSERT_EQ(lcd_bl_init(), 1);
  lcd_bl_off();
  EXPECT_EQ(read_text(backlight + std::string{"bl_power"}), "1\n");
  lcd_bl_on();
  EXPECT_EQ(read_text(backlight + std::string{"bl_power"}), "0\n");
  lcd_bl_exit();
  EXPECT_THAT(events(), ElementsAre("backlight: off", "backlight: on"));
}

TEST_F(Board, DrivesGpioLines) {
  ASSERT_EQ(gpio_init(), 0);
  EXPECT_EQ(gpio_set(60, 1), 1);
  EXPECT_EQ(gpio_get(60), 1);
  EXPECT_EQ(gpio_set(60, 2), 0);
  EXPECT_EQ(gpio_get(60), 0);
  ASSERT_TRUE(control("gpio 61 1"));
  EXPECT_EQ(gpio_get(61), 1);
  EXPECT_EQ(gpio_exit(), 0);
  EXPECT_THAT(events(), ElementsAre("gpio: 60 = 1", "gpio: 60 = 0"));
}

TEST_F(Board, ReportsLineThatDriverRejects) {
  ASSERT_EQ(gpio_init(), 0);
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(gpio_get(256), -1);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "AMBA_DEBUG_IOC_GET_GPIO: Invalid argument\n");
  gpio_exit();
}

TEST_F(Board, SetsStatusLed) {
  ASSERT_EQ(gpio_init(), 0);
  EXPECT_EQ(led_orange(), 1);
  EXPECT_EQ(led_red(), 0);
  gpio_exit();
  EXPECT_THAT(events(), ElementsAre("gpio: 82 = 1", "gpio: 83 = 1", "gpio: 82 = 1", "gpio: 83 = 0"));
}

TEST_F(Board, FailsWithoutDriver) {
  ASSERT_EQ(run("rmmod ambad"), 0);
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(gpio_init(), -1);
  EXPECT_THAT(::testing::internal::GetCapturedStderr(), HasSubstr("/dev/ambad: "));
  EXPECT_EQ(hdmi_detect(), -1);
  EXPECT_EQ(read_temperature(), -1);
  EXPECT_EQ(lcd_bl_init(), 0);
  EXPECT_EQ(run("modprobe ambad"), 0);
}

/// Codes are read from the tenth character on; the line ends with a NUL and a newline.
TEST_F(Board, ReadsAdc) {
  std::array<uint32_t, DRAVIK_ADC_CHANNELS> codes = {};
  ASSERT_EQ(read_adc(codes.data()), 0);
  EXPECT_THAT(codes, ElementsAre(0x200, 0x1cf, 0x200, 0x200));
  EXPECT_EQ(read_temperature(), 30007);
  ASSERT_TRUE(write_text("/proc/ambarella/adc",
                         {"adc0 = 0x001\0\nadc1 = 0x1ce\0\nadc2 = 0x3ff\0\nadc3 = 0x000\0\n", 56}));
  ASSERT_EQ(read_adc(codes.data()), 0);
  EXPECT_THAT(codes, ElementsAre(1, 0x1ce, 0x3ff, 0));
}

TEST_F(Board, DetectsMonitor) {
  EXPECT_EQ(hdmi_detect(), 0);
  ASSERT_TRUE(write_text("/proc/ambarella/hdmi_edid", "Basic EDID: 1920x1080\n"));
  EXPECT_EQ(hdmi_detect(), 1);
  ASSERT_TRUE(write_text("/proc/ambarella/hdmi_edid", "No HDMI\n"));
  EXPECT_EQ(hdmi_detect(), 0);
}

TEST_F(Board, ConfiguresAccelerometer) {
  ASSERT_EQ(gsensor_init(), 0);
  EXPECT_THAT(events(), ElementsAre("i2c-0: 0x18 register 0x20 = 0x00", "i2c-0: 0x18 register 0x1f = 0x00",
                                    "i2c-0: 0x18 register 0x2e = 0x00", "i2c-0: 0x18 register 0x21 = 0x00",
                                    "i2c-0: 0x18 register 0x22 = 0x00", "i2c-0: 0x18 register 0x23 = 0x00",
                                    "i2c-0: 0x18 register 0x24 = 0x00", "i2c-0: 0x18 register 0x25 = 0x00",
                                    "i2c-0: 0x18 register 0x20 = 0x50", "i2c-0: 0x18 register 0x20 = 0x5f",
                                    "i2c-0: 0x18 register 0x23 = 0x88", "i2c-0: 0x18 register 0x23 = 0x98"));
  EXPECT_EQ(gsensor_exit(), 0);
}

TEST_F(Board, ReadsAcceleration) {
  ASSERT_EQ(gsensor_init(), 0);
  for (const char *setting :
       {"register 0x28 0x40", "register 0x29 0xe0", "register 0x2a 0xf0", "register 0x2b 0x7f"})
    ASSERT_TRUE(control(setting)); // x: -508 counts; y: 2047 counts, the largest
  int32_t x = 0, y = 0, z = 0;
  EXPECT_EQ(gsensor_check_data_ready(), 0);
  gsensor_get_data(&x, &y, &z);
  EXPECT_THAT((std::array{x, y, z}), ElementsAre(-1016, 4094, 1000));
  gsensor_exit();
}

TEST_F(Board, ReadsSplashLanguageFromFlash) {
  ASSERT_EQ(run("modprobe nandsim id_bytes=0x20,0xa1,0x00,0x15 parts=1,1 && test -c /dev/mtd1"), 0);
  std::string page(2048, '\xFF');
  page.replace(896, 2, "JA");
  ASSERT_TRUE(write_text("/tmp/page", page));
  // A page of 2048 bytes.
  ASSERT_EQ(run("nandwrite -q /dev/mtd1 /tmp/page >/dev/null"), 0);
  std::array<char, 3> language = {};
  EXPECT_EQ(get_splash_lang(language.data()), 0);
  EXPECT_STREQ(language.data(), "JA");
}

TEST_F(Board, ReadsNetworkAddresses) {
  ASSERT_EQ(run("modprobe dummy && ip link set dummy0 address 02:00:5e:10:00:ff up && "
                "ip addr add 192.168.42.7/24 dev dummy0"),
            0);
  std::array<uint8_t, DRAVIK_MAC_SIZE> mac = {};
  get_netdev_mac("dummy0", mac.data());
  EXPECT_THAT(mac, ElementsAre(2, 0, 0x5e, 0x10, 0, 0xff));
  std::array<char, DRAVIK_IP_TEXT_SIZE> ip = {};
  EXPECT_EQ(get_netdev_ip("dummy0", ip.data()), 0);
  EXPECT_STREQ(ip.data(), "192.168.42.7");
  EXPECT_EQ(get_netdev_ip("absent", ip.data()), -1);
}

TEST_F(Board, ToolQueriesBacklight) {
  EXPECT_EQ(output_of("dravik-ctl backlight 700"), "power: on\nbrightness: 700\n");
  EXPECT_EQ(output_of("dravik-ctl backlight"), "power: on\nbrightness: 700\n");
}

TEST_F(Board, ToolListsDevices) {
  const std::string info = output_of("dravik-ctl info");
  for (const char *line : {"width: 640", "screen: yes", "gpio: yes", "adc: yes", "backlight: yes",
                           "accelerometer bus: yes", "serial port: yes", "hdmi: yes", "card: yes"})
    EXPECT_THAT(info, HasSubstr(line));
}

} // namespace
