// Films of a board: their sound and their pictures, as ffmpeg decodes them.

#include "film/sound_track.hpp"
#include "sim/scenario_stage.hpp"
#include "support/emulation.hpp"
#include "support/paths.hpp"

#include <cstring>

namespace dravik::test {
namespace {

using sim::read_sound_starts;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

bool has_ffmpeg() {
  return run({"ffmpeg", "-version"}).exit_status() == 0;
}

class SimFilm : public ScenarioStage {
protected:
  static constexpr double frames_per_second = 60;
  static constexpr double samples_per_second = 48000;
  static constexpr double promised_s = 0.04;

  outcome filmed(const std::string &name, std::vector<std::string> rest) const {
    rest.insert(rest.begin(), {"film", board_.path(), at(name)});
    return launched(rest);
  }

  std::string decoded(const std::string &name, const std::vector<std::string> &options) const {
    std::vector<std::string> words = {"ffmpeg", "-v", "error", "-nostdin", "-i", at(name)};
    words.insert(words.end(), options.begin(), options.end());
    words.emplace_back("-");
    const outcome result = run(words);
    EXPECT_EQ(result.errors, "");
    return result.output;
  }

  /// The times at which the picture becomes white.
  std::vector<double> flashes_of(const std::string &name, double rate = frames_per_second) const {
    const std::string levels = decoded(name, {"-vf", "scale=1:1,format=gray", "-f", "rawvideo"});
    std::vector<double> times;
    bool is_white = false;
    for (size_t i = 0; i < levels.size(); ++i) {
      const bool was_white = std::exchange(is_white, static_cast<unsigned char>(levels[i]) > 128);
      if (is_white && !was_white)
        times.push_back(static_cast<double>(i) / rate);
    }
    return times;
  }

  /// The times of loud samples after silence.
  std::vector<double> clicks_of(const std::string &name) const {
    constexpr size_t silence_samples = 9600;
    constexpr int16_t loud = 12000;
    const std::string bytes = decoded(name, {"-ac", "1", "-ar", "48000", "-f", "s16le"});
    std::vector<double> times;
    size_t quiet = silence_samples;
    for (size_t i = 0; i + 2 <= bytes.size(); i += 2) {
      int16_t sample;
      std::memcpy(&sample, bytes.data() + i, sizeof sample);
      if (std::abs(sample) < loud) {
        ++quiet;
        continue;
      }
      if (quiet >= silence_samples)
        times.push_back(static_cast<double>(i / 2) / samples_per_second);
      quiet = 0;
    }
    return times;
  }

  static std::vector<double> seconds_of(const std::string &lines_of_us) {
    std::vector<double> numbers;
    std::istringstream text{lines_of_us};
    for (double number; text >> number;)
      numbers.push_back(number / 1e6);
    return numbers;
  }

  void expect_step(const std::string &name, size_t count) const {
    const outcome result = filmed(name, {"--", flashes_path, std::to_string(count)});
    ASSERT_EQ(result.exit_status(), 0) << result.errors;
    const std::vector<double> late = seconds_of(result.output), seen = flashes_of(name),
                              heard = clicks_of(name);
    ASSERT_EQ(late.size(), count);
    ASSERT_EQ(seen.size(), count);
    ASSERT_EQ(heard.size(), count);
    // A busy machine may delay one look at the screen in twenty; a drift would delay all of them.
    size_t delayed = 0;
    for (size_t i = 0; i < count; ++i) {
      const double off_s = std::abs(seen[i] - heard[i] - late[i]);
      delayed += off_s > promised_s;
      EXPECT_LT(off_s, delayed * 20 <= count ? 3 * promised_s : promised_s)
          << "flash " << i << " at " << seen[i];
    }
  }

  /// The only pixel of a film that is scaled to one, as red, green and blue.
  std::vector<int> colour_of(const std::string &name) const {
    const std::string pixel =
        decoded(name, {"-vf", "scale=1:1,format=rgb24", "-frames:v", "1", "-f", "rawvideo"});
    std::vector<int> colour;
    for (const char channel : pixel)
      colour.push_back(static_cast<unsigned char>(channel));
    return colour;
  }

  std::string probed(const std::string &name, const std::string &entries) const {
    return run({"ffprobe", "-v", "error", "-count_frames", "-show_entries", entries, "-of", "csv=p=0",
                at(name)})
        .output;
  }

  std::vector<std::string> files() const {
    std::vector<std::string> names;
    for (const auto &entry : std::filesystem::directory_iterator{at("")})
      names.push_back(entry.path().filename());
    std::ranges::sort(names);
    return names;
  }
};

#define REQUIRE_FFMPEG()                                                                                     \
  if (!has_ffmpeg())                                                                                         \
  GTEST_SKIP() << "ffmpeg is missing (package ffmpeg)"

// ------------------------------------------------------------------------------------------- sound and pictures

TEST_F(SimFilm, KeepsSoundInStep) {
  REQUIRE_FFMPEG();
  expect_step("film.mp4", 5);
}

TEST_F(SimFilm, KeepsSoundInStepInWebm) {
  REQUIRE_FFMPEG();
  expect_step("film.webm", 3);
}

TEST_F(SimFilm, KeepsSoundInStepForAMinute) {
  REQUIRE_FFMPEG();
  expect_step("film.mp4", 60);
}

TEST_F(SimFilm, HasNoSoundInAGif) {
  REQUIRE_FFMPEG();
  ASSERT_EQ(filmed("film.gif", {"--", flashes_path, "3"}).exit_status(), 0);
  const std::vector<double> seen = flashes_of("film.gif", 12.5);
  ASSERT_EQ(seen.size(), 3U);
  EXPECT_NEAR(seen[2] - seen[0], 2, 0.2); // two frames
  EXPECT_EQ(probed("film.gif", "stream=codec_type"), "video\n");
}

// ------------------------------------------------------------------------------------------- the film

TEST_F(SimFilm, LastsAsLongAsRequested) {
  REQUIRE_FFMPEG();
  const outcome result = filmed("film.mp4", {"--seconds", "1"});
  EXPECT_EQ(result.exit_status(), 0) << result.errors;
  const int frames = std::stoi(probed("film.mp4", "stream=nb_read_frames"));
  EXPECT_GE(frames, 60); // the wait may end late, but not early
  EXPECT_EQ(files(), std::vector<std::string>{"film.mp4"});
}

TEST_F(SimFilm, EndsTheApplicationInOrder) {
  REQUIRE_FFMPEG();
  EXPECT_EQ(filmed("film.mp4", {"--seconds", "1", "--", guest_path}).exit_status(), 0);
  EXPECT_THAT(board_.read("console"), HasSubstr("ending 0"));
}

TEST_F(SimFilm, ShowsAScenario) {
  REQUIRE_FFMPEG();
  write("drive.scenario",
        "timeout 60s\nwait console \"guest ready\"\ntype \"fill 07e0\\n\"\nwait 200ms\nstop\nend\n");
  const outcome result = filmed("film.mp4", {"--scenario", scenario(), "--", guest_path});
  EXPECT_EQ(result.exit_status(), 0) << result.errors;
  EXPECT_THAT(run({"ffprobe", at("film.mp4")}).errors, HasSubstr("Video: h264"));
}

TEST_F(SimFilm, ShowsAScenarioThatFailed) {
  REQUIRE_FFMPEG();
  write("drive.scenario", "wait 300ms\nexpect log \"rain\"\n");
  const outcome result = filmed("film.mp4", {"--scenario", scenario()});
  EXPECT_EQ(result.exit_status(), 1);
  EXPECT_THAT(messages(result), HasSubstr(":2: expect log \"rain\": it did not come"));
  EXPECT_TRUE(exists("film.mp4"));
}

TEST_F(SimFilm, ShowsTheColoursOfTheScreen) {
  REQUIRE_FFMPEG();
  std::string orange;
  for (size_t i = 0; i < width * height; ++i)
    orange += {'\x20', '\xFC'}; // 0xFC20: red 31, green 33, blue 0
  board_.write("dev/fb0", orange);
  ASSERT_EQ(filmed("film.mp4", {"--seconds", "1"}).exit_status(), 0);
  const std::vector<int> colour = colour_of("film.mp4");
  ASSERT_EQ(colour.size(), 3U);
  EXPECT_NEAR(colour[0], 255, 8);
  EXPECT_NEAR(colour[1], 134, 8);
  EXPECT_NEAR(colour[2], 0, 8);
}

TEST_F(SimFilm, PadsScreensOfOddSize) {
  REQUIRE_FFMPEG();
  board_.set("xres", "63");
  board_.set("yres", "47");
  ASSERT_EQ(filmed("film.mp4", {"--seconds", "1"}).exit_status(), 0);
  EXPECT_EQ(probed("film.mp4", "stream=width,height"), "64,48\n\n");
}

TEST_F(SimFilm, WarnsOfAnApplicationThatFailed) {
  SKIP_HOST_PROGRAM_UNDER_EMULATION();
  REQUIRE_FFMPEG();
  const outcome result = filmed("film.mp4", {"--", "sh", "-c", "exit 3"});
  EXPECT_EQ(result.exit_status(), 0);
  EXPECT_EQ(messages(result), "dravik-sim: warning: the application ended with exit status 3");
}

// ------------------------------------------------------------------------------------------- errors

TEST_F(SimFilm, ReportsMissingFfmpeg) {
  const outcome result =
      run({"/usr/bin/env", "PATH=" + at(""), launcher_path, "film", board_.path(), at("film.mp4")});
  EXPECT_EQ(result.exit_status(), 1);
  EXPECT_EQ(result.errors, "dravik-sim: film: ffmpeg not found; install the package ffmpeg\n");
}

TEST_F(SimFilm, LeavesNoFileIfFfmpegFails) {
  write("ffmpeg", "#!/bin/sh\nexit 1\n");
  std::filesystem::permissions(at("ffmpeg"), std::filesystem::perms::owner_all);
  const outcome result = run({"/usr/bin/env", "PATH=" + at("") + ":/usr/bin:/bin", launcher_path, "film",
                              board_.path(), at("film.mp4"), "--seconds", "1"});
  EXPECT_EQ(result.exit_status(), 1);
  EXPECT_EQ(result.errors, "dravik-sim: ffmpeg: the film cannot be encoded\n");
  EXPECT_THAT(files(), ElementsAre("ffmpeg"));
}

TEST_F(SimFilm, ReportsWhereAFilmCannotBeWritten) {
  REQUIRE_FFMPEG();
  const outcome result = filmed("no/film.mp4", {"--seconds", "1"});
  EXPECT_EQ(result.exit_status(), 1);
  EXPECT_EQ(messages(result), "dravik-sim: " + at("no") + ": No such file or directory");
}

TEST_F(SimFilm, RejectsInvalidArguments) {
  const auto rejected = [&](const std::string &name, const std::vector<std::string> &options) {
    const outcome result = filmed(name, options);
    EXPECT_EQ(result.exit_status(), 2);
    return messages(result);
  };
  EXPECT_EQ(rejected("film.avi", {}),
            "dravik-sim: film: invalid FILE '" + at("film.avi") + "'; must end in .mp4, .webm or .gif");
  for (const std::string seconds : {"0", "3601", "x", "-1", "1.5"})
    EXPECT_EQ(rejected("film.mp4", {"--seconds", seconds}),
              "dravik-sim: film: invalid --seconds '" + seconds + "'; must be 1 to 3600");
  EXPECT_EQ(rejected("film.mp4", {"--seconds", "1", "--scenario", "x"}),
            "dravik-sim: film: --seconds and --scenario exclude each other");
  EXPECT_EQ(launched({"film", board_.path()}).exit_status(), 2);
}

TEST_F(SimFilm, RejectsFilesThatAreNoScenario) {
  REQUIRE_FFMPEG();
  write("drive.scenario", "dance");
  const outcome result = filmed("film.mp4", {"--scenario", scenario()});
  EXPECT_EQ(result.exit_status(), 2);
  EXPECT_EQ(messages(result), "dravik-sim: film: " + scenario() + ":1:1: unknown step 'dance'");
  EXPECT_FALSE(exists("film.mp4"));
}

// ------------------------------------------------------------------------------------------- the sound track

std::vector<std::pair<uint64_t, int64_t>> starts_in(std::string_view text) {
  std::vector<std::pair<uint64_t, int64_t>> pairs;
  for (const sim::sound_start &start : read_sound_starts(text))
    pairs.emplace_back(start.frame, start.time_ns);
  return pairs;
}

TEST(SimSoundTrackStarts, AreRead) {
  using pairs = std::vector<std::pair<uint64_t, int64_t>>;
  EXPECT_EQ(starts_in("0 5\n480 1000000000\n"), (pairs{{0, 5}, {480, 1000000000}}));
  EXPECT_EQ(starts_in(""), pairs{});
  EXPECT_EQ(starts_in("x 1\n1\n1 -1\n-1 1\n99999999999999999999 1\n1 2 3\n7 8"), (pairs{{7, 8}}));
  EXPECT_EQ(starts_in("500 1\n0 2\n9 3\n"), (pairs{{0, 2}, {9, 3}})) << "a recording that began again";
}

/// Frames with their number on the left.
std::string recording_of(int frames) {
  std::string bytes(44, 'h');
  for (int i = 1; i <= frames; ++i) {
    const int16_t samples[] = {static_cast<int16_t>(i), 0};
    bytes.append(reinterpret_cast<const char *>(samples), sizeof samples);
  }
  return bytes;
}

std::vector<int> left_of(const std::string &track) {
  std::vector<int> samples;
  for (size_t at = 0; at + 4 <= track.size(); at += 4) {
    int16_t sample;
    std::memcpy(&sample, track.data() + at, sizeof sample);
    samples.push_back(sample);
  }
  return samples;
}

class SimSoundTrack : public testing::Test {
protected:
  /// Of a film that begins at 1 s and has 10 frames of sound.
  std::vector<int> written() {
    using namespace std::chrono_literals;
    FILE *file = std::tmpfile();
    const unique_fd to{::dup(::fileno(file))};
    std::string error;
    const sim::sound_track::clock::time_point begin{1s};
    EXPECT_TRUE(track_->write(to, begin, 208334ns, error)) << error;
    return left_of(contents(file));
  }
  void begin() { track_.emplace(board_.path()); }

  const board board_;
  std::optional<sim::sound_track> track_;
};

TEST_F(SimSoundTrack, PlacesSoundsByTheirTime) {
  begin();
  board_.write("sound/played.wav", recording_of(6));
  // Two frames at 62500 ns, the third of the film, and the rest at 145833 ns.
  board_.write("sound/starts", "0 1000062500\n2 1000145834\n");
  EXPECT_THAT(written(), ElementsAre(0, 0, 0, 1, 2, 0, 0, 3, 4, 5));
}

TEST_F(SimSoundTrack, ContinuesASoundThatBeganBefore) {
  board_.write("sound/starts", "100 1\n2 999958333\n"); // two frames before the film
  board_.write("sound/played.wav", recording_of(2));
  begin();
  board_.write("sound/played.wav", recording_of(7));
  EXPECT_THAT(written(), ElementsAre(5, 6, 7, 0, 0, 0, 0, 0, 0, 0));
}

TEST_F(SimSoundTrack, IsSilentWithoutSound) {
  begin();
  EXPECT_EQ(written(), std::vector<int>(10, 0));
  board_.write("sound/starts", "0 5000000000\n");
  board_.write("sound/played.wav", recording_of(3));
  EXPECT_EQ(written(), std::vector<int>(10, 0)) << "a sound after the film";
}

} // namespace
} // namespace dravik::test
