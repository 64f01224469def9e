// The demonstration and the board: the pages show the inputs, the LED shows the camera's state.

#include "examples/living_dashcam.hpp"
#include "support/paths.hpp"

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
constexpr uint32_t dial_x = 480, dial_y = 216, reach = 89;

TEST(DashcamSensor, HasItsSpotInTheMiddleAtRest) {
  const shot seen = sensor_page({"accel=0,0,1000"});
  EXPECT_EQ(seen.at(dial_x, dial_y), DRAVIK_DEFAULT_THEME);
  EXPECT_EQ(seen.at(dial_x + 20, dial_y + 20), surface);
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
  application dashcam{on, dashcam_path, {"--screen", "sensor"}};
  EXPECT_EQ(dashcam.finish(), 0);
  const shot seen{on, {}};
  EXPECT_EQ(seen.at(dial_x, dial_y), edge) << "the cross";
  EXPECT_THAT(seen.colours(388, 124, 184, 184), Not(Contains(DRAVIK_DEFAULT_THEME)));
}

/// A figure of the temperature: those of this size are 24 pixels wide and 36 high.
std::vector<uint16_t> temperature_figure(const shot &seen, uint32_t number) {
  return seen.area(342 + 24 * number, 394, 24, 36);
}

TEST(DashcamSensor, ShowsTheTemperature) {
  const shot two = sensor_page({"temperature=55.2"}), one = sensor_page({"temperature=45.2"});
  EXPECT_EQ(temperature_figure(two, 0), temperature_figure(two, 1)) << "5 and 5";
  EXPECT_EQ(temperature_figure(one, 1), temperature_figure(two, 1)) << "5 and 5";
  EXPECT_NE(temperature_figure(one, 0), temperature_figure(two, 0)) << "4 and 5";
}

/// The colour of the bar below the temperature.
uint16_t temperature_bar(const std::string &degrees) {
  return sensor_page({"temperature=" + degrees}).at(345, 448);
}

TEST(DashcamSensor, TurnsWarmValuesWarm) {
  EXPECT_EQ(temperature_bar("59"), DRAVIK_DEFAULT_THEME);
  EXPECT_EQ(temperature_bar("61"), warm);
  EXPECT_EQ(temperature_bar("79"), warm);
  EXPECT_EQ(temperature_bar("81"), alarm);
}

TEST(DashcamSensor, ChangesTheRangeOfItsDial) {
  const recording_board on;
  set_inputs(on, {"accel=400,0,1000"});
  constexpr uint32_t half_g = reach * 400 / 500, one_g = reach * 400 / 1000, two_g = reach * 400 / 2000;
  EXPECT_EQ(shot_of(on, {"--screen", "sensor"}).at(dial_x + half_g, dial_y), DRAVIK_DEFAULT_THEME);
  EXPECT_EQ(shot_of(on, {"--screen", "sensor", "--press", "next"}).at(dial_x + one_g, dial_y),
            DRAVIK_DEFAULT_THEME);
  EXPECT_EQ(shot_of(on, {"--screen", "sensor", "--press", "next,next"}).at(dial_x + two_g, dial_y),
            DRAVIK_DEFAULT_THEME);
  EXPECT_EQ(shot_of(on, {"--screen", "sensor", "--press", "next,next,next"}).at(dial_x + half_g, dial_y),
            DRAVIK_DEFAULT_THEME);
}

TEST(DashcamSensor, TakesThePositionOfTheCarForItsMiddle) {
  const recording_board on;
  set_inputs(on, {"accel=400,0,1000"});
  EXPECT_EQ(shot_of(on, {"--screen", "sensor", "--press", "ok"}).at(dial_x, dial_y), DRAVIK_DEFAULT_THEME);
  EXPECT_NE(shot_of(on, {"--screen", "sensor", "--press", "ok,ok"}).at(dial_x, dial_y), DRAVIK_DEFAULT_THEME);
}

TEST(DashcamSensor, ShowsThatThereIsNoTemperature) {
  const recording_board on;
  on.remove("proc/ambarella/adc");
  application dashcam{on, dashcam_path, {"--screen", "sensor"}};
  EXPECT_EQ(dashcam.finish(), 0);
  EXPECT_EQ((shot{on, {}}.at(345, 448)), edge) << "an empty bar";
}

TEST(DashcamSensor, ShowsWhetherAMonitorIsAttached) {
  EXPECT_EQ(sensor_page({"hdmi=on"}).at(500, 448), DRAVIK_DEFAULT_THEME);
  EXPECT_EQ(sensor_page({"hdmi=off"}).at(500, 448), edge);
}

// ---------------------------------------------------------------------------------------- while it runs

TEST(DashcamAtWork, ShowsWhatChangesMeanwhile) {
  const recording_board on;
  living_dashcam dashcam{on, {"--screen", "sensor", "--stay"}};
  dashcam.await_line("screen sensor");
  dashcam.set({"hdmi=on", "temperature=55.2", "accel=250,0,1000"});
  dashcam.await_line("monitor attached");
  const shot seen = dashcam.expect_end();
  EXPECT_EQ(seen.at(500, 448), DRAVIK_DEFAULT_THEME);
  EXPECT_EQ(temperature_figure(seen, 0), temperature_figure(seen, 1));
  EXPECT_EQ(seen.at(dial_x + reach / 2, dial_y), DRAVIK_DEFAULT_THEME);
}

/// The figure of the speed on the home page, right of where it has up to three.
std::vector<uint16_t> last_figure_of_speed(const shot &seen) {
  return seen.area(102, 400, 44, 66);
}

TEST(DashcamAtWork, StandsStillWhileTheCarIsParked) {
  const recording_board on;
  set_inputs(on, {"gpio.60=1"});
  std::set<std::vector<uint16_t>> figures;
  for (const std::string time : {"14:32:08", "14:32:15", "14:32:31"}) {
    const shot seen = shot_of(on, {"--screen", "home"}, sim::screen::of_size(640, 480), time);
    figures.insert(last_figure_of_speed(seen));
    EXPECT_THAT(seen.colours(14, 400, 88, 66), testing::ElementsAre(DRAVIK_BLACK)) << "no tens";
    EXPECT_THAT(seen.colours(200, 280, 400, 60), Not(Contains(good))) << "no lane";
  }
  EXPECT_THAT(figures, testing::SizeIs(1));
}

TEST(DashcamAtWork, RunsWithoutItsDevices) {
  const prepared_board on;
  for (const char *device : {"/dev/i2c-0", "/dev/ambad", "/dev/ttyS0"})
    on.set_fault("open", device, "ENODEV");
  on.remove("proc");
  on.remove("sys");
  on.set("realtime", "refused");
  application dashcam{on, dashcam_path, {}};
  dashcam.await_error("digits_640.q7 : 36\n");
  dashcam.send(SIGTERM);
  EXPECT_EQ(dashcam.finish(), 0);
  EXPECT_THAT(on.read("tmp/dravik.log"),
              AllOf(HasSubstr("] board: no GPIO lines\n"), HasSubstr("] board: no G-sensor\n"),
                    HasSubstr("] console: no serial port"), HasSubstr("] sound: engine cannot start")));
}

// ---------------------------------------------------------------------------------------------- the system

/// The row of the region, and that of the panel's size.
std::vector<uint16_t> region_row(const shot &seen) {
  return seen.area(300, 153, 310, 40);
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
  on.write("tmp/add/areacode.bin", file_of_region_1());
  EXPECT_NE(region_row(shot_of(on, {"--screen", "system"})), nowhere);
}

} // namespace
} // namespace dravik::test
