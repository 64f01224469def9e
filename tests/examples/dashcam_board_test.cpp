// The demonstration and the board: the pages show the inputs, the LED shows the camera's state.

#include "examples/living_dashcam.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <zlib.h>

namespace dravik::test {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::Not;

shot sensor_page(const std::vector<std::string> &inputs) {
  const recording_board on;
  set_inputs(on, inputs);
  return shot_of(on, {"--screen", "sensor"});
}

// ---------------------------------------------------------------------------------------------- the sensor

/// The centre of the dial, and how far its spot goes at half the Earth's pull.
constexpr uint32_t dial_x = 480, dial_y = 188, reach = 81;

TEST(DashcamSensor, HasItsSpotInTheMiddleAtRest) {
  const shot seen = sensor_page({"accel=0,0,1000"});
  EXPECT_EQ(seen.at(dial_x, dial_y), DRAVIK_DEFAULT_THEME);
  EXPECT_EQ(seen.at(dial_x + 20, dial_y + 20), card_ground);
}

TEST(DashcamSensor, MovesItsSpotWithTheBoard) {
  EXPECT_EQ(sensor_page({"accel=250,0,1000"}).at(dial_x + reach / 2, dial_y), DRAVIK_DEFAULT_THEME)
      << "to the right";
  EXPECT_EQ(sensor_page({"accel=-250,0,1000"}).at(dial_x - reach / 2, dial_y), DRAVIK_DEFAULT_THEME)
      << "to the left";
  const shot forwards = sensor_page({"accel=0,250,1000"});
  EXPECT_EQ(forwards.at(dial_x, dial_y - reach / 2), DRAVIK_DEFAULT_THEME);
  EXPECT_NE(forwards.at(dial_x, dial_y), DRAVIK_DEFAULT_THEME);
}

TEST(DashcamSensor, KeepsItsSpotInTheDial) {
  const shot seen = sensor_page({"accel=3000,0,1000"});
  EXPECT_EQ(seen.at(dial_x + reach, dial_y), DRAVIK_DEFAULT_THEME);
  EXPECT_NE(seen.at(dial_x + reach + 12, dial_y), DRAVIK_DEFAULT_THEME);
}

TEST(DashcamSensor, HasNoSpotWithoutASensor) {
  const recording_board on;
  on.set_fault("open", "/dev/i2c-0", "ENODEV");
  application dashcam{on, DASHCAM, {"--screen", "sensor"}};
  EXPECT_EQ(dashcam.finish(), 0);
  const shot seen{on, {}};
  EXPECT_EQ(seen.at(dial_x, dial_y), edge) << "the cross";
  EXPECT_THAT(seen.colours(388, 96, 184, 184), Not(Contains(DRAVIK_DEFAULT_THEME)));
}

/// A figure of the temperature: those of this size are 24 pixels wide and 36 high.
std::vector<uint16_t> temperature_figure(const shot &seen, uint32_t number) {
  return seen.area(340 + 24 * number, 388, 24, 36);
}

TEST(DashcamSensor, ShowsTheTemperature) {
  const shot hot = sensor_page({"temperature=77.5"}), warm = sensor_page({"temperature=47.5"});
  EXPECT_EQ(temperature_figure(hot, 0), temperature_figure(hot, 1)) << "7 and 7";
  EXPECT_EQ(temperature_figure(warm, 1), temperature_figure(hot, 1)) << "7 and 7";
  EXPECT_NE(temperature_figure(warm, 0), temperature_figure(hot, 0)) << "4 and 7";
}

TEST(DashcamSensor, ShowsThatThereIsNoTemperature) {
  const recording_board on;
  on.remove("proc/ambarella/adc");
  application dashcam{on, DASHCAM, {"--screen", "sensor"}};
  EXPECT_EQ(dashcam.finish(), 0);
  EXPECT_EQ((shot{on, {}}.at(345, 440)), edge) << "an empty bar";
}

TEST(DashcamSensor, ShowsWhetherAMonitorIsAttached) {
  EXPECT_EQ(sensor_page({"hdmi=on"}).at(500, 440), DRAVIK_DEFAULT_THEME);
  EXPECT_EQ(sensor_page({"hdmi=off"}).at(500, 440), edge);
}

// ---------------------------------------------------------------------------------------- while it runs

TEST(DashcamAtWork, ShowsWhatChangesMeanwhile) {
  const recording_board on;
  living_dashcam dashcam{on, {"--screen", "sensor", "--stay"}};
  dashcam.await_line("screen sensor");
  dashcam.set({"hdmi=on", "temperature=77.5", "accel=250,0,1000"});
  dashcam.await_line("monitor attached");
  const shot seen = dashcam.expect_end();
  EXPECT_EQ(seen.at(500, 440), DRAVIK_DEFAULT_THEME);
  EXPECT_EQ(temperature_figure(seen, 0), temperature_figure(seen, 1));
  EXPECT_EQ(seen.at(dial_x + reach / 2, dial_y), DRAVIK_DEFAULT_THEME);
}

TEST(DashcamAtWork, BlinksRedWhileItRecords) {
  const recording_board on;
  living_dashcam dashcam{on, {"--screen", "home", "--stay"}};
  dashcam.await_line("state: recording");
  for (const char *light : {"led: red", "led: off", "led: red"})
    dashcam.await_event(light);
  dashcam.expect_end();
  EXPECT_EQ(on.read("sys/class/backlight/pwm-backlight.0/brightness"), "1000");
}

TEST(DashcamAtWork, DimsTheScreenWhileTheCarIsParked) {
  const recording_board on;
  living_dashcam dashcam{on, {"--screen", "home", "--stay"}};
  dashcam.await_line("state: recording");
  dashcam.set({"gpio.60=1"});
  dashcam.await_event("backlight: 1");
  dashcam.await_event("led: green");
  dashcam.set({"gpio.60=0"});
  dashcam.await_event("backlight: 1000");
  dashcam.await_event("led: red");
  dashcam.expect_end();
}

TEST(DashcamAtWork, LeavesTheLightsInOrder) {
  const recording_board on;
  set_inputs(on, {"gpio.60=1"});
  living_dashcam dashcam{on, {"--screen", "home", "--stay"}};
  dashcam.await_event("led: green");
  dashcam.expect_end();
  EXPECT_EQ(on.read("sys/class/backlight/pwm-backlight.0/brightness"), "1000");
  EXPECT_THAT(on.events(), Contains("led: off"));
}

TEST(DashcamAtWork, NoticesAnImpactOnce) {
  const recording_board on;
  living_dashcam dashcam{on, {"--screen", "home", "--stay"}};
  dashcam.await_line("screen home");
  dashcam.set({"accel=0,-2500,1000"});
  dashcam.await_line("impact of 2500 mg");
  dashcam.set({"accel=0,-2600,1000"});
  for (const char *light : {"led: red", "led: off", "led: red"})
    dashcam.await_event(light); // it has looked again and again
  const shot seen = dashcam.expect_end();
  EXPECT_EQ(seen.at(320, 52), DRAVIK_WHITE) << "the frame of the banner";
  int impacts = 0;
  for (const std::string &line : on.events())
    impacts += line.find("impact") != std::string::npos;
  EXPECT_EQ(impacts, 1);
}

TEST(DashcamAtWork, ShowsNextScreenByKey) {
  const recording_board on;
  living_dashcam dashcam{on, {"--seconds", "1000"}};
  dashcam.await_line("screen splash");
  dashcam.press_next();
  dashcam.press_ok();
  dashcam.press_next();
  dashcam.expect_end();
  const std::string log = on.read("tmp/dravik.log");
  size_t after = 0;
  for (const char *line : {"screen splash", "key next", "screen home", "key ok", "key next", "screen menu"}) {
    after = log.find(std::string{"] "} + line + '\n', after);
    ASSERT_NE(after, std::string::npos) << line << " is missing in\n" << log;
  }
}

TEST(DashcamAtWork, RunsWithoutItsDevices) {
  const prepared_board on;
  for (const char *device : {"/dev/i2c-0", "/dev/ambad", "/dev/ttyS0"})
    on.set_fault("open", device, "ENODEV");
  on.remove("proc");
  on.remove("sys");
  on.set("realtime", "refused");
  application dashcam{on, DASHCAM, {"--turns", "1", "--seconds", "1"}};
  EXPECT_EQ(dashcam.finish(), 0);
  EXPECT_THAT(on.read("tmp/dravik.log"),
              AllOf(HasSubstr("] board: no GPIO lines\n"), HasSubstr("] board: no G-sensor\n"),
                    HasSubstr("] console: no serial port"), HasSubstr("] sound: engine cannot start")));
}

// ---------------------------------------------------------------------------------------------- the system

/// The row of the region, and that of the panel's size.
std::vector<uint16_t> region_row(const shot &seen) {
  return seen.area(300, 156, 310, 40);
}

/// A region file is the checksum of a word that holds the region's number, for 1 this one.
std::string file_of_region_1() {
  const std::string word{"\x02\x08\0\0", 4};
  const uLong value = ::crc32(0, reinterpret_cast<const Bytef *>(word.data()), 4);
  std::string file;
  for (int shift = 0; shift < 32; shift += 8)
    file += static_cast<char>(value >> shift);
  return file;
}

TEST(DashcamSystem, ShowsTheRegion) {
  const recording_board on;
  const std::vector<uint16_t> nowhere = region_row(shot_of(on, {"--screen", "system"}));
  EXPECT_THAT(nowhere, Not(Contains(DRAVIK_WHITE)));
  on.write("tmp/add/areacode.bin", file_of_region_1());
  EXPECT_THAT(region_row(shot_of(on, {"--screen", "system"})), Contains(DRAVIK_WHITE));
}

} // namespace
} // namespace dravik::test
