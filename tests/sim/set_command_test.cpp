// dravik-sim set, as an application that is running on the board sees its changes.

#include "base/unique_fd.hpp"
#include "dravik.h"
#include "host/card.hpp"
#include "sim/launcher.hpp"
#include "support/board.hpp"
#include "support/stderr_capture.hpp"

#include <atomic>
#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <thread>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

using four_codes = std::array<uint32_t, 4>;

four_codes checked_codes() {
  four_codes read = {};
  EXPECT_EQ(read_adc(read.data()), 0);
  return read;
}

class SimSet : public testing::Test {
protected:
  outcome try_to_set(std::vector<std::string> words) const {
    words.insert(words.begin(), {"set", board_.path()});
    return launch(words);
  }
  void expect_set(const std::vector<std::string> &words) const {
    const outcome result = try_to_set(words);
    EXPECT_EQ(result.exit_status(), 0) << result.errors;
    EXPECT_EQ(result.output + result.errors, "");
  }
  void expect_rejection(const std::string &word, const std::string &message) const {
    const outcome result = try_to_set({word});
    EXPECT_EQ(result.exit_status(), 2) << word;
    EXPECT_EQ(result.errors, "dravik-sim: set: " + message + "\n");
    EXPECT_EQ(result.output, "");
  }

  void expect_refusal(const std::string &word, const std::string &range) const {
    expect_rejection(word, "invalid '" + word + "'; must be " + range);
  }

  const board board_;
};

TEST_F(SimSet, ReadsPlausibleValuesOfNewBoard) {
  EXPECT_EQ(checked_codes(), (four_codes{0x200, 0x1CF, 0x200, 0x200}));
  for (int32_t channel = 0; channel < 4; ++channel)
    EXPECT_EQ(read_adc_hex(channel), static_cast<int32_t>(checked_codes()[static_cast<size_t>(channel)]));
  EXPECT_EQ(read_temperature(), 30007); // code 463
  EXPECT_EQ(hdmi_detect(), 0);
}

TEST_F(SimSet, SetsNearestTemperatureOfConverter) {
  for (const char *wanted : {"41.5", "0", "-0.9", "25", "30.007", "85.3", "116.5"}) {
    expect_set({std::string{"temperature="} + wanted});
    const double milli_degrees = std::atof(wanted) * 1000;
    double nearest = 1e9;
    for (const int32_t entry : adc_temp_table)
      nearest = std::min(nearest, std::abs(entry - milli_degrees));
    EXPECT_EQ(std::abs(read_temperature() - milli_degrees), nearest) << wanted;
  }
}

TEST_F(SimSet, AcceptsEndsOfTemperatureScale) {
  expect_set({"temperature=117"});
  EXPECT_EQ(read_temperature(), 117000);
  expect_set({"temperature=-1"});
  EXPECT_EQ(read_temperature(), -1000);
}

TEST_F(SimSet, AcceptsCodesInBothNotations) {
  expect_set({"adc.0=0x3ff", "adc.2=17", "adc.3=0"});
  EXPECT_EQ(checked_codes(), (four_codes{0x3FF, 0x1CF, 17, 0}));
  char line[31];
  EXPECT_EQ(read_adc_str(2, line), 0);
  EXPECT_STREQ(line, "adc2 = 0x011");
}

TEST_F(SimSet, AddsMissingLines) {
  board_.write("proc/ambarella/adc", "by hand");
  expect_set({"adc.2=5"});
  EXPECT_EQ(board_.read("proc/ambarella/adc"), std::string("by hand\nadc1 = 0x000\0\nadc2 = 0x005\0\n", 36));
  board_.remove("proc/ambarella/adc");
  expect_set({"adc.0=6"});
  EXPECT_EQ(board_.read("proc/ambarella/adc"), std::string("adc0 = 0x006\0\n", 14));
}

TEST_F(SimSet, ChangesGpioLineOfOpenDriver) {
  ASSERT_EQ(gpio_init(), 0);
  expect_set({"gpio.68=1", "gpio.200=1"});
  EXPECT_EQ(gpio_get(68), 1);
  EXPECT_EQ(gpio_get(200), 1);
  EXPECT_EQ(gpio_set(68, 0), 0);
  EXPECT_EQ(board_.read("gpio/68"), "0\n");
  gpio_exit();
}

class SimPress : public SimSet {
protected:
  outcome press(std::vector<std::string> words) const {
    words.insert(words.begin(), {"press", board_.path()});
    return launch(words);
  }
};

TEST_F(SimPress, HoldsLineHighWhileKeyIsPressed) {
  ASSERT_EQ(gpio_init(), 0);
  std::atomic<bool> is_pressing = true;
  std::thread pressing{[&] {
    EXPECT_EQ(press({"--hold", "300", "next", "200"}).exit_status(), 0);
    is_pressing = false;
  }};
  bool next_was_high = false;
  bool other_was_high = false;
  while (is_pressing) {
    next_was_high |= gpio_get(61) == 1;
    other_was_high |= gpio_get(200) == 1;
    EXPECT_FALSE(gpio_get(61) == 1 && gpio_get(200) == 1);
  }
  pressing.join();
  EXPECT_TRUE(next_was_high && other_was_high);
  EXPECT_EQ(gpio_get(61) + gpio_get(200), 0);
  gpio_exit();
}

TEST_F(SimPress, RejectsOtherKeysAndTimes) {
  const auto expect_misuse = [&](const std::vector<std::string> &words, const std::string &message) {
    const outcome result = press(words);
    EXPECT_EQ(result.exit_status(), 2);
    EXPECT_EQ(result.errors, "dravik-sim: press: " + message + "\n");
  };
  for (const std::string key : {"menu", "256", "6x", ""})
    expect_misuse({"next", key}, "invalid key '" + key + "'; must be next, ok or 0 to 255");
  for (const std::string hold : {"0", "60001", "long", ""})
    expect_misuse({"--hold", hold, "ok"}, "invalid --hold '" + hold + "'; must be 1 to 60000");
  expect_misuse({}, "missing KEY; try 'dravik-sim press --help'");
  EXPECT_FALSE(board_.exists("gpio/61"));
}

TEST_F(SimSet, ChangesAccelerationOfOpenSensor) {
  const stderr_capture errors;
  ASSERT_EQ(gsensor_init(), 0);
  expect_set({"accel=-500,2500,1000"});
  std::array<int32_t, 3> now = {};
  gsensor_get_data(&now[0], &now[1], &now[2]);
  EXPECT_THAT(now, ElementsAre(-500, 2500, 1000));
  gsensor_exit();
}

TEST_F(SimSet, KeepsOtherSettingsOfSensor) {
  board_.set("xres", "320");
  expect_set({"accel=1,2,3"});
  EXPECT_THAT(board_.read("board.conf"), testing::HasSubstr("\nxres=320\n"));
  EXPECT_THAT(board_.read("board.conf"), testing::EndsWith("\naccel=1,2,3\n"));
}

TEST_F(SimSet, AttachesAndDetachesMonitor) {
  expect_set({"hdmi=on"});
  EXPECT_EQ(hdmi_detect(), 1);
  expect_set({"hdmi=off"});
  EXPECT_EQ(hdmi_detect(), 0);
}

TEST_F(SimSet, UsesLastOfSeveralValues) {
  expect_set({"adc.1=1", "temperature=0", "hdmi=on", "hdmi=off"});
  EXPECT_EQ(read_temperature(), -34); // nearer than 76
  EXPECT_EQ(hdmi_detect(), 0);
}

TEST_F(SimSet, KeepsOldTextForCurrentReaders) {
  const unique_fd reader{::open(board_.path("proc/ambarella/adc").c_str(), O_RDONLY)};
  const std::string before = board_.read("proc/ambarella/adc");
  expect_set({"temperature=80"});
  std::string text(before.size() + 1, '\0');
  text.resize(static_cast<size_t>(::read(reader.get(), text.data(), text.size())));
  EXPECT_EQ(text, before);
}

TEST_F(SimSet, ChangesNothingIfOneValueIsInvalid) {
  EXPECT_EQ(try_to_set({"hdmi=on", "gpio.1=1", "adc.4=0"}).exit_status(), 2);
  EXPECT_EQ(hdmi_detect(), 0);
  EXPECT_FALSE(board_.exists("gpio/1"));
}

TEST_F(SimSet, LeavesNoFilesBehind) {
  expect_set({"temperature=20", "accel=0,0,0"});
  const outcome left = run({"find", board_.path(), "-name", "*.new*"});
  EXPECT_EQ(left.output, "");
}

TEST_F(SimSet, RejectsUnknownInputs) {
  for (const char *word : {"", "=", "volume=3", "gpio=1", "gpio.=1", "gpio.x=1", "gpio.-1=1", "gpio.1x=1",
                           "adc=1", "hdmi", "temperature", "temperature.1=20", "accel.0=0,0,0", "HDMI=on"})
    expect_rejection(word, std::string{"unknown input '"} + word + "'; try 'dravik-sim set --help'");
}

TEST_F(SimSet, RejectsInvalidValues) {
  for (const char *value : {"", "2", "on", "01", "-1"})
    expect_refusal(std::string{"gpio.68="} + value, "0 or 1, line 0 to 255");
  expect_refusal("gpio.256=1", "0 or 1, line 0 to 255");
  for (const char *value : {"", "hot", "-1.001", "117.001", "1e9", "nan", "inf", "20C", "20,5"})
    expect_refusal(std::string{"temperature="} + value, "-1 to 117");
  for (const char *value : {"", "0,0", "0,0,0,0", "0,0,16001", "0,0,1g"})
    expect_refusal(std::string{"accel="} + value, "X,Y,Z, each -16000 to 16000");
  for (const char *value : {"", "1024", "0x400", "0x", "ff", "-1"})
    expect_refusal(std::string{"adc.0="} + value, "0 to 0x3ff, channel 0 to 3");
  expect_refusal("adc.4=0", "0 to 0x3ff, channel 0 to 3");
  for (const char *value : {"", "1", "ON"})
    expect_refusal(std::string{"hdmi="} + value, "on or off");
}

TEST_F(SimSet, RequiresBoardAndInput) {
  for (const std::vector<std::string> &words : {std::vector<std::string>{"set"}, {"set", board_.path()}}) {
    const outcome result = launch(words);
    EXPECT_EQ(result.exit_status(), 2);
    EXPECT_EQ(result.errors, std::string{"dravik-sim: set: missing "} +
                                 (words.size() == 1 ? "BOARD" : "KEY=VALUE") +
                                 "; try 'dravik-sim set --help'\n");
  }
  const outcome result = launch({"set", board_.path("dev"), "hdmi=on"});
  EXPECT_EQ(result.exit_status(), 1);
  EXPECT_THAT(result.errors, StartsWith("dravik-sim: " + board_.path("dev") + ": not a board; "));
}

TEST_F(SimSet, KeepsUnreadableFile) {
  const std::string settings = board_.read("board.conf");
  board_.remove("proc/ambarella/adc");
  board_.write("proc/ambarella/adc/in the way", "");
  const outcome result = try_to_set({"accel=1,2,3", "temperature=20"});
  EXPECT_EQ(result.exit_status(), 1);
  EXPECT_EQ(result.errors, "dravik-sim: " + board_.path("proc/ambarella/adc") + ": Is a directory\n");
  EXPECT_EQ(board_.read("board.conf"), settings);
}

TEST_F(SimSet, ReportsUnwritableBoard) {
  board_.remove("gpio");
  board_.write("gpio", "in the way");
  const outcome result = try_to_set({"gpio.1=1"});
  EXPECT_EQ(result.exit_status(), 1);
  EXPECT_THAT(result.errors, StartsWith("dravik-sim: " + board_.path("gpio")));
}

class SimSetCard : public SimSet {
protected:
  SimSetCard() {
    std::string error;
    if (!dravik::sim::make_card(board_.path(), dravik::sim::smallest_card_mebibytes, error))
      ADD_FAILURE() << error;
  }
};

TEST_F(SimSetCard, RemovesAndInsertsCard) {
  EXPECT_EQ(sd_card_check_plugin(), 0);
  expect_set({"card=out"});
  EXPECT_EQ(sd_card_check_plugin(), -1);
  expect_set({"card=in"});
  EXPECT_EQ(sd_card_check_plugin(), 0);
}

TEST_F(SimSetCard, SetsSwitchLineOfLockedCard) {
  const stderr_capture messages;
  ASSERT_EQ(gpio_init(), 0);
  EXPECT_EQ(sd_card_check_lock(), 1);
  expect_set({"card=locked"});
  EXPECT_EQ(sd_card_check_lock(), 0);
  expect_set({"card=in"});
  EXPECT_EQ(sd_card_check_lock(), 1);
  gpio_exit();
}

TEST_F(SimSet, RejectsInsertingMissingCard) {
  const outcome result = try_to_set({"card=in"});
  EXPECT_EQ(result.exit_status(), 1);
  EXPECT_THAT(result.errors, StartsWith("dravik-sim: "));
}

TEST_F(SimSetCard, MountsAndUnmountsCard) {
  expect_set({"card=umount"});
  EXPECT_EQ(sd_card_check_mount(), 1);
  EXPECT_EQ(try_to_set({"card=umount"}).errors, "dravik-sim: memory card: is not mounted\n");
  expect_set({"card=mount"});
  EXPECT_EQ(sd_card_check_mount(), 0);
  const outcome result = try_to_set({"card=mount"});
  EXPECT_EQ(result.exit_status(), 1);
  EXPECT_EQ(result.errors, "dravik-sim: memory card: is mounted already\n");
}

TEST_F(SimSet, AcceptsActionsOfCard) {
  expect_refusal("card=away", "in, locked, out, mount or umount");
}

} // namespace
} // namespace dravik::test
