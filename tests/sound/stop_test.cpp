// A request to stop: how much more the card gets. On a card that keeps time, which takes a read's frames
// bit by bit.

#include "sound/card_stage.hpp"
#include "sound/mp3_files.hpp"

#include <future>
#include <gmock/gmock.h>

namespace dravik::test {
namespace {

using testing::IsEmpty;

struct stopped_kind {
  const char *name;
  int32_t (*playback)(const char *file);
  int32_t result;
};

void PrintTo(const stopped_kind &kind, std::ostream *stream) {
  *stream << kind.name;
}

class Stop : public card_fixture, public testing::WithParamInterface<stopped_kind> {
protected:
  Stop() {
    board_.set("sound_clock", "card");
    board_.set("sound_buffer", "8192");
    EXPECT_EQ(snd_init(), 1);
  }
  ~Stop() override { snd_exit(); }

  bool is_mp3() const { return GetParam().playback == mp3_playback; }

  /// Two seconds and more.
  std::string sound() const {
    const std::string made = file(is_mp3() ? silence(100) : bytes(200000));
    const std::string named = made + "." + GetParam().name;
    std::rename(made.c_str(), named.c_str());
    return named;
  }

  /// Stops in the middle of the sound.
  void stop_after(unsigned long frames) {
    writes.on_write = [this, frames] {
      if (taken_at_stop_ != 0 || writes.taken < frames)
        return;
      taken_at_stop_ = writes.taken;
      snd_stopall();
    };
  }

  unsigned long taken_at_stop_ = 0;
};

TEST_P(Stop, EndsWithTheFramesOfOneRead) {
  stop_after(3000);
  EXPECT_EQ(GetParam().playback(sound().c_str()), GetParam().result);
  // The first write has as many frames as are played of one read.
  const unsigned long chunk = writes.offered.at(0);
  EXPECT_EQ(writes.taken, taken_at_stop_ / chunk * chunk + chunk);
  expect_all_closed();
}

TEST_P(Stop, PlaysNothingIfSetBefore) {
  snd_stopall();
  EXPECT_EQ(GetParam().playback(sound().c_str()), GetParam().result);
  EXPECT_THAT(writes.offered, IsEmpty());
  EXPECT_THAT(take_messages(), IsEmpty());
  expect_all_closed();
}

TEST_P(Stop, StopsCurrentPlaybackOfEngine) {
  std::promise<void> playing;
  writes.on_write = [&playing] {
    if (writes.count() == 1)
      playing.set_value();
  };
  EXPECT_EQ(snd_play_direct(sound().c_str(), 0), 1);
  playing.get_future().wait();
  EXPECT_EQ(snd_stopall(), 0);
  EXPECT_EQ(writes.taken % writes.offered.at(0), 0U);
  EXPECT_LT(writes.taken, 90000U);
  expect_all_closed();
}

INSTANTIATE_TEST_SUITE_P(Kinds, Stop,
                         testing::Values(stopped_kind{"wav", wav_playback, 1},
                                         stopped_kind{"pcm", pcm_playback, 1},
                                         stopped_kind{"mp3", mp3_playback, 0}),
                         [](const auto &kind) { return kind.param.name; });

} // namespace
} // namespace dravik::test
