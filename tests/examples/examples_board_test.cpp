// The examples of sound, board, memory card, console and event log: their output, console and playback.

#include "examples/example_run.hpp"
#include "examples/living_dashcam.hpp"
#include "support/played_sound.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace dravik::test {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::MatchesRegex;
using testing::StartsWith;

// --------------------------------------------------------------------------------------- sound

/// A WAV file of 48000 Hz, 16 bits, one channel; the library reads the samples only.
std::string wav_of(const std::vector<int16_t> &samples) {
  std::string file(44, '\0');
  file.append(reinterpret_cast<const char *>(samples.data()), samples.size() * sizeof(int16_t));
  return file;
}

std::vector<int16_t> tone(size_t frames) {
  std::vector<int16_t> samples(frames);
  for (size_t i = 0; i < frames; ++i)
    samples[i] = static_cast<int16_t>(1000 + i % 4801 * 3);
  return samples;
}

class SoundExample : public testing::Test {
protected:
  SoundExample() {
    on_.set("sound_clock", "none");
    on_.set("sound_record", "samples");
    on_.write("tone.wav", wav_of(tone_));
  }

  const std::vector<int16_t> tone_ = tone(24000);
  const prepared_board on_;
  const std::string path_ = on_.path("tone.wav");
};

TEST_F(SoundExample, PlaysTheWholeFile) {
  EXPECT_EQ(expect_success(on_, "sound", {path_}), "playing " + path_ + "\n");
  const std::vector<int16_t> both = played_samples(on_);
  ASSERT_GE(both.size(), 2 * tone_.size());
  for (size_t i = 0; i < both.size(); ++i)
    ASSERT_EQ(both[i], i / 2 < tone_.size() ? tone_[i / 2] : 0) << "sample " << i;
  EXPECT_THAT(on_.read("sound/mixer"), HasSubstr("numid 1 = 107\n")) << "80 per cent";
}

TEST_F(SoundExample, FailsWithoutTheFile) {
  expect_failure(on_, "sound", {"none.wav"}, "sound: none.wav: cannot be read\n");
}

TEST_F(SoundExample, FailsWithoutRealTimePriority) {
  on_.set("realtime", "refused");
  expect_failure(on_, "sound", {path_},
                 "sound: " + path_ +
                     ": engine not started; run it on a board as root, or under dravik-sim\n");
}

TEST_F(SoundExample, FailsWithoutASoundCard) {
  on_.set_fault("open", "sound", "ENODEV");
  expect_failure(on_, "sound", {path_},
                 ": not played; run it on a board with a sound card, or under dravik-sim\n");
}

// --------------------------------------------------------------------------------------- the board

std::vector<std::string> led_events(const board &on) {
  std::vector<std::string> events;
  for (const std::string &line : on.events())
    if (line.starts_with("led: ") && (events.empty() || events.back() != line))
      events.push_back(line);
  return events;
}

TEST(GpioExample, PrintsTheLevelAndShowsTheColours) {
  const board on;
  set_inputs(on, {"gpio.60=1", "gpio.68=0"});
  EXPECT_EQ(expect_success(on, "gpio", {"60"}), "line 60: 1\n");
  // The two lines are set one after the other: other colours show in between.
  EXPECT_THAT(led_events(on), IsSupersetOf({"led: red", "led: green", "led: orange"}));
  EXPECT_EQ(led_events(on).back(), "led: off");
  EXPECT_EQ(expect_success(on, "gpio"), "line 68: 0\n");
}

TEST(GpioExample, FailsWithoutTheDriver) {
  const board on;
  on.remove("dev/ambad");
  expect_failure(on, "gpio", {}, "gpio: no GPIO driver; run it on a board, or under dravik-sim\n");
}

TEST(GpioExample, FailsIfTheDriverRejectsRequests) {
  const board on;
  on.set_fault("set", "/dev/ambad", "EIO");
  expect_failure(on, "gpio", {}, "AMBA_DEBUG_IOC_SET_GPIO");
  on.clear_faults();
  on.set_fault("get", "/dev/ambad", "EIO");
  expect_failure(on, "gpio", {}, "AMBA_DEBUG_IOC_GET_GPIO");
}

TEST(SensorsExample, PrintsTheInputs) {
  const board on;
  set_inputs(on, {"accel=0,-250,1000", "adc.0=7", "adc.2=1023", "adc.3=0", "temperature=41.5"});
  const example_result result = run_example(on, "sensors");
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.output,
              MatchesRegex("ADC channel 0: 7\nADC channel 1: [0-9]+\nADC channel 2: 1023\nADC channel 3: 0\n"
                           "temperature: 41\\.[456] degrees Celsius\nacceleration: 0, -250, 1000 mg\n"));
}

TEST(SensorsExample, PrintsTheAccelerationWithoutAnAdc) {
  const board on;
  on.remove("proc/ambarella/adc");
  const example_result result = run_example(on, "sensors");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.errors, EndsWith("sensors: no ADC; run it on a board, or under dravik-sim\n"));
  EXPECT_EQ(result.output, "acceleration: 0, 0, 1000 mg\n");
}

TEST(SensorsExample, PrintsTheAdcWithoutAnAccelerometer) {
  const board on;
  on.remove("dev/i2c-0");
  const example_result result = run_example(on, "sensors");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.errors, EndsWith("sensors: no accelerometer; run it on a board, or under dravik-sim\n"));
  EXPECT_THAT(result.output, StartsWith("ADC channel 0: "));
}

TEST(BacklightExample, SetsTheBrightness) {
  const board on;
  EXPECT_EQ(expect_success(on, "backlight", {"321"}), "");
  EXPECT_THAT(on.read("sys/class/backlight/pwm-backlight.0/brightness"), StartsWith("321"));
}

TEST(BacklightExample, FailsWithoutABacklight) {
  const board on;
  on.remove("sys/class/backlight/pwm-backlight.0/brightness");
  expect_failure(on, "backlight", {"321"},
                 "backlight: no backlight; run it on a board, or under dravik-sim\n");
}

TEST(VolumeExample, SetsTheSpeakerAndTheMicrophone) {
  const board on;
  EXPECT_EQ(expect_success(on, "volume", {"60"}), "speaker: 60 percent\n");
  EXPECT_THAT(on.read("sound/mixer"), HasSubstr("numid 64 = on\n"));
}

TEST(SystemExample, PrintsWhatIsKnown) {
  const board on;
  set_inputs(on, {"hdmi=on"});
  EXPECT_THAT(expect_success(on, "system", {"none"}),
              MatchesRegex("monitor: attached\nlanguage: [a-z]+\n"
                           "none: 00:00:00:00:00:00, no address\nrunning for [0-9]+ ms\n"));
}

// The checksum is the check value of CRC-32.
TEST(ChecksumsExample, PrintsTheChecksumAndTheRegion) {
  const board on;
  on.write("tmp/digits", "123456789");
  EXPECT_THAT(expect_success(on, "checksums", {"/tmp/digits"}), StartsWith("cbf43926 /tmp/digits\n"));
  on.remove("tmp/add/areacode.bin");
  EXPECT_THAT(expect_success(on, "checksums", {"/tmp/digits"}), EndsWith("\nno region\n"));
}

// --------------------------------------------------------------------------------------- the memory card

class CardExample : public testing::Test {
protected:
  const recording_board on_;
};

TEST_F(CardExample, PrintsStateSizesAndRecordings) {
  on_.write("tmp/mmcblk0p1/REC/KVX00007.TS", std::string(3 << 20, 'r'));
  on_.write("tmp/mmcblk0p1/REC/EMA00002.TS", "event");
  const std::string mebibytes = std::to_string(sim::smallest_card_mebibytes),
                    sectors = std::to_string(sim::smallest_card_mebibytes * 2048);
  EXPECT_THAT(expect_success(on_, "card"),
              MatchesRegex("memory card: present partitioned mounted FAT32 writable\n" + mebibytes +
                           " MiB \\(" + sectors +
                           " sectors\\), file system [0-9]+ MiB, free [0-9]+ MiB\n"
                           "recordings: 1 normal \\(3 MiB\\), 1 event\n"));
}

TEST_F(CardExample, FailsIfTheCardIsWriteProtected) {
  set_inputs(on_, {"card=locked"});
  const example_result result = run_example(on_, "card");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "memory card: present write-protected partitioned mounted FAT32\n");
  EXPECT_EQ(result.errors, "card: memory card not usable\n");
}

TEST_F(CardExample, FailsWithoutACard) {
  set_inputs(on_, {"card=out"});
  const example_result result = run_example(on_, "card");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.output, "memory card:\n");
  EXPECT_EQ(result.errors, "card: memory card not usable\n");
}

TEST_F(CardExample, FailsWithoutTheGpioDriver) {
  on_.remove("dev/ambad");
  expect_failure(on_, "card", {}, "card: no GPIO driver; run it on a board, or under dravik-sim\n");
}

TEST_F(CardExample, FailsWithoutRecordings) {
  expect_failure(on_, "card", {}, "card: no recordings directory; see /tmp/dravik.log\n");
}

// --------------------------------------------------------------------------------------- texts

TEST(ConsoleExample, SendsItsLines) {
  const board on;
  const example_result result = run_example(on, "console", {"hello"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "console_exit+\nconsole_exit-\n");
  EXPECT_EQ(on.read("console"), "hello 1 of 3\r\nhello 2 of 3\r\nhello 3 of 3\r\n");
}

TEST(ConsoleExample, FailsWithoutASerialPort) {
  const board on;
  on.remove("dev/ttyS0");
  expect_failure(on, "console", {}, "console: no serial port; run it on a board, or under dravik-sim\n");
}

TEST(LogExample, WritesFromTwoThreads) {
  const board on;
  EXPECT_EQ(expect_success(on, "log"), "the last line has 13 characters\n");
  const std::string text = on.read("tmp/dravik.log");
  for (const char *line : {"] recording 0001 begins\n", "] recording 0004 begins\n",
                           "] temperature 40 degrees\n", "] temperature 43 degrees\n"})
    EXPECT_THAT(text, HasSubstr(line));
  EXPECT_THAT(text, EndsWith("] supply 13.8 V\n"));
}

TEST(LogExample, FailsIfTheLogIsFull) {
  const board on;
  on.write("tmp/dravik.log", std::string(DRAVIK_LOG_SIZE_MAX, '\n'));
  expect_failure(on, "log", {}, "log: /tmp/dravik.log is full or cannot be opened\n");
}

TEST(LogExample, FailsIfTheLogCannotBeOpened) {
  const board on;
  on.set_fault("open", "/tmp/dravik.log", "ENOSPC");
  expect_failure(on, "log", {}, "log: /tmp/dravik.log is full or cannot be opened\n");
}

} // namespace
} // namespace dravik::test
