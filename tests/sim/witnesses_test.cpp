// Programs that nobody here wrote, run on a board by its launcher. What they print is compared with the files of the
// board; what they draw, play and set is read from these files.

#include "sim/launcher.hpp"
#include "support/board.hpp"
#include "support/paths.hpp"
#include "support/played_sound.hpp"

#include <algorithm>
#include <array>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

namespace dravik::test {
namespace {

using testing::ContainsRegex;
using testing::HasSubstr;
using words = std::vector<std::string>;

constexpr uint32_t width = 320, height = 240;

/// A board on the disk, with a card of 64 MiB.
class SimWitness : public testing::Test {
protected:
  SimWitness() {
    const words command = {"new", board_, "--size", "320x240", "--card", "64"};
    EXPECT_EQ(launch(command).exit_status(), 0);
  }
  ~SimWitness() override {
    std::error_code code;
    std::filesystem::remove_all(directory_, code);
  }

  /// The output of a program on the board. The test fails if the program does, as a missing one.
  std::string output_of(words command, int expected_status = 0) const {
    command.insert(command.begin(), {"run", board_, "--"});
    const outcome result = launch(command);
    EXPECT_EQ(result.exit_status(), expected_status) << command[3] << ": " << result.errors;
    return result.output;
  }
  std::string read(const std::string &inside) const {
    std::ifstream file{board_ + "/" + inside, std::ios::binary};
    EXPECT_TRUE(file) << inside;
    return {std::istreambuf_iterator<char>{file}, {}};
  }
  void write(const std::string &inside, const std::string &contents) const {
    std::ofstream{board_ + "/" + inside, std::ios::binary} << contents;
  }
  void set(const std::string &line) const {
    std::ofstream{board_ + "/board.conf", std::ios::app} << line << '\n';
  }
  /// Every sample, whatever the time at which it is played.
  void record_samples() const {
    set("sound_clock=none");
    set("sound_record=samples");
  }
  std::string in_directory(const std::string &name) const { return directory_ + "/" + name; }
  /// The pixel at a position of the screen.
  uint16_t pixel(uint32_t x, uint32_t y) const {
    const std::string memory = read("dev/fb0");
    const auto byte = [&](size_t at) { return static_cast<uint8_t>(memory.at(at)); };
    const size_t at = (size_t{y} * width + x) * 2;
    return static_cast<uint16_t>(byte(at) | byte(at + 1) << 8);
  }
  /// A tone of the host's sox: a second of 440 Hz at half of full scale, stereo, 48 kHz.
  std::string tone(const std::string &name) const {
    const std::string file = in_directory(name);
    EXPECT_EQ(test::run({"sox", "-q", "-D", "-r", "48000", "-b", "16", "-c", "2", "-n", file, "synth", "1",
                         "sine", "440", "vol", "0.5"})
                  .exit_status(),
              0);
    return file;
  }

  std::string directory_ = std::filesystem::temp_directory_path().string() + "/dravik-witness-XXXXXX";
  const std::string board_ = [this] { return ::mkdtemp(directory_.data()), directory_ + "/desk"; }();
};

// ------------------------------------------------------------------------------------------------ the screen

TEST_F(SimWitness, FbsetPrintsGeometry) {
  const std::string printed = output_of({"fbset", "-i"});
  EXPECT_THAT(printed, HasSubstr("geometry 320 240 320 240 16"));
  EXPECT_THAT(printed, HasSubstr("rgba 5/11,6/5,5/0,0/0"));
  EXPECT_THAT(printed, ContainsRegex("LineLength +: 640"));
}

/// fbcat writes a PPM: each pixel of the frame buffer, with its channels at full scale.
TEST_F(SimWitness, FbcatReadsPixels) {
  std::string memory(size_t{width} * height * 2, '\0');
  memory[0] = '\x00', memory[1] = '\xF8';                                         // red at 0,0
  memory[(5 * width + 7) * 2] = '\xE0', memory[(5 * width + 7) * 2 + 1] = '\x07'; // green at 7,5
  write("dev/fb0", memory);
  const std::string picture = output_of({"fbcat"});
  const std::string header = "P6 320 240 255\n";
  ASSERT_EQ(picture.substr(0, header.size()), header);
  ASSERT_EQ(picture.size(), header.size() + size_t{width} * height * 3);
  const auto colour = [&](size_t x, size_t y) {
    return picture.substr(header.size() + (y * width + x) * 3, 3);
  };
  EXPECT_EQ(colour(0, 0), std::string("\xFF\x00\x00", 3));
  EXPECT_EQ(colour(7, 5), std::string("\x00\xFF\x00", 3));
  EXPECT_EQ(colour(8, 5), std::string(3, '\0'));
}

TEST_F(SimWitness, FfmpegDrawsOnFrameBuffer) {
  output_of({"ffmpeg", "-loglevel", "error", "-nostdin", "-f", "lavfi", "-i",
             "color=c=0x0000FF:s=320x240:r=10", "-frames:v", "1", "-pix_fmt", "rgb565le", "-f", "fbdev",
             "/dev/fb0"});
  EXPECT_EQ(pixel(0, 0), 0x001F);
  EXPECT_EQ(pixel(width - 1, height - 1), 0x001F);
}

// ------------------------------------------------------------------------------------------------ sound

/// The samples of a WAV of 44 bytes before its data.
std::vector<int16_t> samples_of(const std::string &file) {
  std::ifstream stream{file, std::ios::binary};
  const std::string bytes{std::istreambuf_iterator<char>{stream}, {}};
  return checked_samples(bytes);
}

TEST_F(SimWitness, AplayPlaysEverySample) {
  record_samples();
  const std::string file = tone("tone.wav");
  output_of({"aplay", "-q", file});
  const std::vector<int16_t> expected = samples_of(file);
  std::vector<int16_t> played = checked_samples(read("sound/played.wav"));
  ASSERT_GE(played.size(), expected.size());
  played.resize(expected.size()); // the last period is filled with silence
  EXPECT_EQ(played, expected);
}

TEST_F(SimWitness, SoxPlaysEverySample) {
  record_samples();
  const std::string file = tone("tone.wav");
  output_of({"sox", "-q", "-D", file, "-t", "alsa", "default"});
  const std::vector<int16_t> expected = samples_of(file);
  std::vector<int16_t> played = checked_samples(read("sound/played.wav"));
  ASSERT_GE(played.size(), expected.size());
  played.resize(expected.size());
  EXPECT_EQ(played, expected);
}

TEST_F(SimWitness, FfmpegPlaysEverySample) {
  record_samples();
  const std::string file = tone("tone.wav");
  output_of({"ffmpeg", "-loglevel", "error", "-nostdin", "-i", file, "-f", "alsa", "default"});
  const std::vector<int16_t> expected = samples_of(file);
  std::vector<int16_t> played = checked_samples(read("sound/played.wav"));
  ASSERT_GE(played.size(), expected.size());
  played.resize(expected.size());
  EXPECT_EQ(played, expected);
}

/// How often a side of the sound rises above zero.
int rises(const std::vector<int16_t> &samples) {
  int count = 0;
  for (size_t i = 2; i < samples.size(); i += 2)
    count += samples[i - 2] <= 0 && samples[i] > 0 ? 1 : 0;
  return count;
}

TEST_F(SimWitness, Mpg123PlaysTone) {
  record_samples();
  const std::string wav = tone("tone.wav"), mp3 = in_directory("tone.mp3");
  ASSERT_EQ(test::run({"lame", "--quiet", wav, mp3}).exit_status(), 0);
  output_of({"mpg123", "-q", "-o", "alsa", "-a", "default", mp3});
  const std::vector<int16_t> played = checked_samples(read("sound/played.wav"));
  EXPECT_NEAR(rises(played), 440, 5);
  EXPECT_NEAR(*std::max_element(played.begin(), played.end()), 16384, 1200);
}

TEST_F(SimWitness, SpeakerTestPlaysItsTone) {
  record_samples();
  output_of({"speaker-test", "-t", "sine", "-f", "480", "-c", "2", "-l", "1", "-r", "48000"});
  EXPECT_GT(rises(checked_samples(read("sound/played.wav"))), 100);
  EXPECT_THAT(read("events"), HasSubstr("sound: open 48000 Hz 2 channels"));
}

// ------------------------------------------------------------------------------------------------ controls

TEST_F(SimWitness, AmixerPrintsControls) {
  const std::string contents = output_of({"amixer", "-c0", "contents"});
  EXPECT_THAT(contents, HasSubstr("numid=1,iface=MIXER,name='Speaker Playback Volume'\n"
                                  "  ; type=INTEGER,access=rw------,values=1,min=0,max=127,step=0\n"
                                  "  : values=113\n"));
  EXPECT_THAT(contents, HasSubstr("numid=77,iface=MIXER,name='Speaker Playback Switch'\n"));
  EXPECT_EQ(std::count(contents.begin(), contents.end(), ':'), 77);
}

TEST_F(SimWitness, AmixerSetsControlsByNumber) {
  EXPECT_THAT(output_of({"amixer", "-c0", "cset", "numid=1", "100"}), HasSubstr(": values=100\n"));
  EXPECT_THAT(output_of({"amixer", "cset", "numid=77", "off"}), HasSubstr(": values=off\n"));
  EXPECT_THAT(output_of({"amixer", "cget", "numid=1"}), HasSubstr(": values=100\n"));
  EXPECT_THAT(output_of({"amixer", "cget", "numid=2"}), HasSubstr(": values=0\n"));
  EXPECT_EQ(read("sound/mixer"), "numid 1 = 100\nnumid 77 = off\n");
  EXPECT_THAT(read("events"), HasSubstr("sound: numid 1 = 100\nsound: numid 77 = off\n"));
  output_of({"amixer", "cset", "numid=78", "1"}, 1);
  output_of({"amixer", "-c1", "cget", "numid=1"}, 1);
}

TEST_F(SimWitness, AmixerSetsSimpleControls) {
  EXPECT_THAT(output_of({"amixer", "-c0", "scontrols"}), HasSubstr("Simple mixer control 'Speaker',0\n"));
  EXPECT_THAT(output_of({"amixer", "-c0", "sset", "Speaker", "90", "mute"}),
              HasSubstr("Playback 90 [71%] [off]"));
  EXPECT_THAT(output_of({"amixer", "-c0", "sget", "Speaker"}), HasSubstr("Playback 90 [71%] [off]"));
  EXPECT_EQ(read("sound/mixer"), "numid 1 = 90\nnumid 77 = off\n");
}

/// A program on a terminal of 80 by 24, which a test reads and types on.
class terminal_program {
public:
  explicit terminal_program(words command) {
    winsize size = {24, 80, 0, 0};
    child_ = ::forkpty(&terminal_, nullptr, nullptr, &size);
    if (child_ == 0) {
      ::setenv("TERM", "xterm", 1);
      become(std::move(command), STDOUT_FILENO, STDERR_FILENO);
    }
  }
  ~terminal_program() {
    if (child_ > 0 && ::kill(child_, SIGKILL) == 0)
      ::waitpid(child_, nullptr, 0);
    ::close(terminal_);
  }
  terminal_program(const terminal_program &) = delete;
  terminal_program &operator=(const terminal_program &) = delete;

  /// Read until a text is printed. Returns false if the program ends without it.
  bool await(const std::string &text) {
    std::array<char, 4096> block;
    ssize_t count = 0;
    while (printed_.find(text) == std::string::npos &&
           (count = ::read(terminal_, block.data(), block.size())) > 0)
      printed_.append(block.data(), static_cast<size_t>(count));
    const size_t at = printed_.find(text);
    printed_.erase(0, at);
    return at != std::string::npos;
  }
  void type(const std::string &keys) const {
    EXPECT_EQ(::write(terminal_, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
  }
  /// Wait for its end. Returns the exit status.
  int finish() {
    int status = 0;
    ::waitpid(child_, &status, 0);
    child_ = -1;
    return WEXITSTATUS(status);
  }

private:
  pid_t child_ = -1;
  int terminal_ = -1;
  std::string printed_;
};

TEST_F(SimWitness, AlsamixerShowsAndSetsVolume) {
  write("sound/mixer", "numid 1 = 100\n");
  terminal_program mixer{{launcher_path, "run", board_, "--", "alsamixer", "-c", "0"}};
  ASSERT_TRUE(mixer.await("Simulated sound card"));
  ASSERT_TRUE(mixer.await("Speaker"));
  mixer.type("+"); // louder
  mixer.type("\x1b");
  EXPECT_EQ(mixer.finish(), 0);
  EXPECT_THAT(read("events"), ContainsRegex("sound: numid 1 = 10[1-9]"));
}

TEST_F(SimWitness, AmixerReportsChangesByOthers) {
  terminal_program watcher{{launcher_path, "run", board_, "--", "amixer", "-c0", "events"}};
  ASSERT_TRUE(watcher.await("Ready to listen"));
  write("sound/mixer", "numid 1 = 50\n");
  EXPECT_TRUE(watcher.await("event value: numid=1,iface=MIXER,name='Speaker Playback Volume'"));
}

TEST_F(SimWitness, AmixerFindsNoCardIfInjected) {
  write("faults", "card /dev/snd/controlC0 ENODEV\n");
  output_of({"amixer", "-c0", "cget", "numid=1"}, 1);
  EXPECT_EQ(read("events"), "controlC0: card fails (injected)\n");
}

// ------------------------------------------------------------------------------------------------ the I2C bus

TEST_F(SimWitness, I2cdetectFindsBusAndDevices) {
  EXPECT_EQ(output_of({"i2cdetect", "-l"}),
            "i2c-0\ti2c       \tambad                           \tI2C adapter\n");
  EXPECT_THAT(output_of({"i2cdetect", "-F", "0"}), ContainsRegex("SMBus Quick Command +yes"));
  write("i2c/0x50", std::string(128, '\0'));
  const std::string found = output_of({"i2cdetect", "-y", "0"});
  EXPECT_THAT(found, HasSubstr("10: -- -- -- -- -- -- -- -- 18 -- -- -- -- -- -- -- \n"));
  EXPECT_THAT(found, HasSubstr("50: 50 -- -- -- -- -- -- -- -- -- -- -- -- -- -- -- \n"));
}

TEST_F(SimWitness, I2cgetAndI2csetTransferRegisters) {
  EXPECT_EQ(output_of({"i2cget", "-y", "0", "0x18", "0x0f"}), "0x33\n");
  output_of({"i2cset", "-y", "0", "0x18", "0x30", "0x5a"});
  EXPECT_EQ(output_of({"i2cget", "-y", "0", "0x18", "0x30"}), "0x5a\n");
  EXPECT_EQ(read("i2c/0x18").at(0x30), 0x5A);
  EXPECT_THAT(read("events"), HasSubstr("i2c-0: 0x18 register 0x30 = 0x5a\n"));
  output_of({"i2cget", "-y", "0", "0x19", "0x0f"}, 2);
}

TEST_F(SimWitness, I2ctransferCombinesMessages) {
  EXPECT_EQ(output_of({"i2ctransfer", "-y", "0", "w1@0x18", "0x0f", "r1"}), "0x33\n");
}

// ------------------------------------------------------------------------------------------------ the card

TEST_F(SimWitness, DfPrintsSpaceOfCard) {
  std::filesystem::resize_file(
      (std::ofstream{board_ + "/tmp/mmcblk0p1/film"}, board_ + "/tmp/mmcblk0p1/film"), 10 << 20);
  const std::string printed = output_of({"df", "-k", "/tmp/mmcblk0p1"});
  char device[64] = "", place[64] = "";
  long total = 0, used = 0, free = 0;
  ASSERT_EQ(std::sscanf(printed.c_str() + printed.find('\n'), "%63s %ld %ld %ld %*s %63s", device, &total,
                        &used, &free, place),
            5)
      << printed;
  EXPECT_STREQ(device, "/dev/mmcblk0p1");
  EXPECT_STREQ(place, "/tmp/mmcblk0p1");
  // 64 MiB without 16 KiB before the partition, and without the tables: of each cluster 4 bytes, twice
  EXPECT_NEAR(static_cast<double>(total), 65536 - 16, 1100);
  EXPECT_NEAR(static_cast<double>(used), 10240, 16);
  EXPECT_NEAR(static_cast<double>(used + free), static_cast<double>(total), 1);
  EXPECT_THAT(output_of({"df"}), HasSubstr(" /tmp/mmcblk0p1\n"));
  EXPECT_THAT(output_of({"df", "-T", "/tmp/mmcblk0p1/film"}), HasSubstr(" vfat "));
}

} // namespace
} // namespace dravik::test
