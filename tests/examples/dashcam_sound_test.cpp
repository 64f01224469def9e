// The demonstration's sound: the playback, and the page of the volume.

#include "examples/living_dashcam.hpp"
#include "support/played_sound.hpp"
#include "support/program.hpp"

#include <algorithm>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace dravik::test {
namespace {

using testing::HasSubstr;

using samples = std::vector<int16_t>;

samples samples_of(const std::string &bytes) {
  samples all(bytes.size() / 2);
  std::memcpy(all.data(), bytes.data(), all.size() * 2);
  return all;
}

/// A board with a loudspeaker that needs no time and is recorded as loud as the samples are.
class DashcamSound : public testing::Test {
protected:
  DashcamSound() {
    on_.set("sound_clock", "none");
    on_.set("sound_record", "samples");
  }

  std::string sound_file(const std::string &name) const { return on_.read("usr/local/dravik/snd/" + name); }

  /// The left channel of what was played; the right one is the same.
  samples played() const {
    const samples both = played_samples(on_);
    samples left;
    for (size_t i = 0; i + 1 < both.size(); i += 2) {
      left.push_back(both[i]);
      EXPECT_EQ(both[i + 1], both[i]);
    }
    return left;
  }

  /// How many sounds have ended.
  ptrdiff_t sounds() const { return std::ranges::count_if(on_.events(), living_dashcam::is_end_of_sound); }

  const recording_board on_;
};

/// A sound without the silence around it.
samples heard(samples all) {
  const auto is_loud = [](int16_t sample) { return std::abs(sample) > 200; };
  all.erase(all.begin(), std::ranges::find_if(all, is_loud));
  while (!all.empty() && !is_loud(all.back()))
    all.pop_back();
  return all;
}

/// Whether the parts of a sound are all in another one, one after the other, to within a few steps.
bool is_in(const samples &part, const samples &whole, int tolerance) {
  const auto is_like = [=](int16_t a, int16_t b) { return std::abs(a - b) <= tolerance; };
  return !part.empty() && !std::ranges::search(whole, part, is_like).empty();
}

/// Another decoder's samples of a notice.
samples decoded(const board &on, const std::string &name) {
  const std::string wav = on.path("decoded.wav");
  EXPECT_EQ(run_program({"lame", "--quiet", "--decode", on.path("usr/local/dravik/snd/" + name), wav}), 0);
  return samples_of(on.read("decoded.wav").substr(44));
}

TEST_F(DashcamSound, StartsWithChime) {
  living_dashcam dashcam{on_, {"--screen", "home", "--stay"}};
  dashcam.await_sound();
  dashcam.expect_end();
  EXPECT_TRUE(is_in(heard(samples_of(sound_file("chime.wav").substr(44))), played(), 0));
}

TEST_F(DashcamSound, PlaysNotices) {
  living_dashcam dashcam{on_, {"--screen", "home", "--stay"}};
  dashcam.await_sound();
  dashcam.await_sound();
  dashcam.set({"gpio.60=1"});
  dashcam.await_sound();
  dashcam.set({"accel=0,2500,1000"});
  dashcam.await_sound();
  dashcam.expect_end();
  const samples all = played();
  for (const char *name : {"en/recording.mp3", "en/parking.mp3", "en/impact.mp3"})
    EXPECT_TRUE(is_in(heard(decoded(on_, name)), all, 8)) << name;
  EXPECT_FALSE(is_in(heard(decoded(on_, "en/card_missing.mp3")), all, 8));
}

TEST_F(DashcamSound, ReportsMissingCard) {
  std::string error;
  ASSERT_TRUE(sim::remove_card(on_.path(), error)) << error;
  living_dashcam dashcam{on_, {"--screen", "home", "--stay"}};
  dashcam.await_sound();
  dashcam.await_sound();
  dashcam.expect_end();
  EXPECT_TRUE(is_in(heard(decoded(on_, "en/card_missing.mp3")), played(), 8));
}

TEST_F(DashcamSound, SpeaksTheLanguageOfTheTexts) {
  for (const std::string language : {"de", "zh"}) {
    on_.remove("sound/played.wav");
    living_dashcam dashcam{on_, {"--screen", "shutdown", "--stay", "--language", language}};
    EXPECT_EQ(dashcam.finish(), 0);
    EXPECT_TRUE(is_in(heard(decoded(on_, language + "/goodbye.mp3")), played(), 8)) << language;
  }
}

TEST_F(DashcamSound, ClicksWhenAKeyIsPressed) {
  const samples click = heard(samples_of(sound_file("click.pcm")));
  living_dashcam dashcam{on_, {"--screen", "menu", "--stay"}};
  dashcam.await_sound();
  dashcam.await_sound();
  // The engine pauses after each sound, and a click into its pause is left out.
  for (int tries = 0; tries < 100 && sounds() < 3; ++tries)
    dashcam.press_next();
  dashcam.expect_end();
  EXPECT_TRUE(is_in(click, played(), 0));
}

TEST_F(DashcamSound, EndsWithAFarewell) {
  living_dashcam dashcam{on_, {"--screen", "shutdown", "--stay"}};
  EXPECT_EQ(dashcam.finish(), 0);
  EXPECT_TRUE(is_in(heard(decoded(on_, "en/goodbye.mp3")), played(), 8));
}

TEST_F(DashcamSound, IsMissingWithoutTheRightToIt) {
  on_.set("realtime", "refused");
  living_dashcam dashcam{on_, {"--screen", "home", "--stay"}};
  dashcam.press_ok();
  dashcam.await_event("led: off");
  dashcam.expect_end();
  EXPECT_THAT(on_.read("tmp/dravik.log"),
              HasSubstr("] sound: engine cannot start; the camera stays silent\n"));
  EXPECT_FALSE(on_.exists("sound/played.wav"));
}

TEST(DashcamSoundFiles, AreMonoAt48000HzAndEndInSilence) {
  const prepared_board on;
  const std::string chime = on.read("usr/local/dravik/snd/chime.wav");
  EXPECT_EQ(chime.substr(20, 4), std::string("\1\0\1\0", 4)) << "plain samples, one channel";
  EXPECT_EQ(chime.substr(24, 4), std::string("\x80\xBB\0\0", 4)) << "48000 Hz";
  for (const std::string &file : {chime, on.read("usr/local/dravik/snd/click.pcm")})
    EXPECT_EQ(file.substr(file.size() - 48000), std::string(48000, '\0')) << "half a second";
  for (const std::string language : {"en", "de", "el", "ru", "ja", "ko", "zh"})
    for (const char *name : {"recording", "parking", "protected", "monitor_attached", "monitor_removed",
                             "card_missing", "card_full", "card_error", "hot", "impact", "goodbye"}) {
      const std::string file = on.read("usr/local/dravik/snd/" + language + "/" + name + ".mp3");
      EXPECT_EQ(file.substr(0, 2), "\xFF\xFB") << "MPEG 1, layer 3";
      EXPECT_EQ(file[2] & 0x0C, 0x04) << "48000 Hz";
      EXPECT_EQ(file[3] & 0xC0, 0xC0) << "one channel";
    }
}

// --------------------------------------------------------------------------------------------- the page

/// The sound page after these keys.
class DashcamVolume : public testing::Test {
protected:
  shot press(const std::string &keys) const { return shot_of(on_, {"--screen", "sound", "--press", keys}); }

  const recording_board on_;
};

/// The volume by the length of its bar: white on the selected row.
int volume_shown(const shot &seen) {
  constexpr uint32_t bar = 450, length = 150;
  uint32_t width = 0;
  while (width < length && seen.at(bar + width, 119) == DRAVIK_WHITE)
    ++width;
  return static_cast<int>(width * 100 / length);
}

TEST_F(DashcamVolume, IncreasesInStepsAndStartsAgain) {
  EXPECT_EQ(volume_shown(shot_of(on_, {"--screen", "sound"})), 60);
  for (const int expected : {80, 100, 0, 20, 40})
    EXPECT_EQ(volume_shown(press("ok")), expected) << "kept from run to run";
}

TEST_F(DashcamVolume, MarksOneItem) {
  const auto marks = [](const shot &seen) {
    std::vector<bool> marked;
    for (uint32_t row = 0; row < 3; ++row)
      marked.push_back(seen.at(300, 100 + row * 53) == DRAVIK_DEFAULT_THEME);
    return marked;
  };
  EXPECT_EQ(marks(shot_of(on_, {"--screen", "sound"})), (std::vector{true, false, false}));
  EXPECT_EQ(marks(press("next")), (std::vector{false, true, false}));
  EXPECT_EQ(marks(press("next,next")), (std::vector{false, false, true}));
}

} // namespace
} // namespace dravik::test
