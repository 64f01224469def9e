// The ring of four requests: which of them play when several are queued before the thread takes the
// first one.

#include "sound/engine_stage.hpp"
#include "support/random.hpp"

#include <array>
#include <gmock/gmock.h>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// The thread is held between waking up and taking the mutex, so that requests pile up.
class EngineRing : public engine_fixture {
protected:
  EngineRing() { stage.wake_ups.close(); }

  void expect_restart() {
    EXPECT_EQ(start(), 1);
    stage.idle.await(++idle_);
  }

  void end() {
    stage.wake_ups.admit(1);
    snd_exit();
  }

  void expect_queued(int number) {
    EXPECT_EQ(play(sound(number)), 1);
    ++waiting_;
  }
  void expect_queued(std::initializer_list<int> numbers) {
    for (const int number : numbers)
      expect_queued(number);
  }

  /// Let the thread deal with one request.
  void serve_one() {
    --waiting_;
    stage.wake_ups.admit(1);
    stage.idle.await(++idle_);
  }

  /// The playback of all queued requests.
  std::vector<int> serve_all() {
    alsa.writes.clear();
    while (waiting_ > 0)
      serve_one();
    return heard();
  }

  int waiting_ = 0;

private:
  int idle_ = 0;
};

TEST_F(EngineRing, PlaysUpToThreeInOrder) {
  expect_restart();
  expect_queued({1});
  EXPECT_THAT(serve_all(), ElementsAre(1));
  expect_queued({2, 3});
  EXPECT_THAT(serve_all(), ElementsAre(2, 3));
  expect_queued({4, 5, 6});
  EXPECT_THAT(serve_all(), ElementsAre(4, 5, 6));
}

TEST_F(EngineRing, LosesFirstOfFour) {
  expect_restart();
  expect_queued({1, 2, 3, 4});
  EXPECT_THAT(serve_all(), ElementsAre(2, 3, 4));
  EXPECT_EQ(stage.pauses_us.size(), 4U);
}

TEST_F(EngineRing, PlaysLastOfFiveTwice) {
  expect_restart();
  expect_queued({1, 2, 3, 4, 5});
  EXPECT_THAT(serve_all(), ElementsAre(5, 3, 4, 5));
  EXPECT_EQ(stage.pauses_us.size(), 5U);
}

TEST_F(EngineRing, DropsQueueButNotWakeUpsOnStopAll) {
  expect_restart();
  expect_queued({1, 2, 3});
  EXPECT_EQ(snd_stopall(), 0);
  // The first wake-up finds nothing and moves on; the others find slots, but a stopped player.
  EXPECT_THAT(serve_all(), IsEmpty());
  EXPECT_EQ(stage.pauses_us.size(), 3U);
  EXPECT_EQ(alsa.count("open"), 2U);
  EXPECT_EQ(alsa.count("close pcm"), 2U);
}

TEST_F(EngineRing, PlacesRequestAfterDroppedOnes) {
  expect_restart();
  expect_queued({1, 2, 3});
  serve_one();
  EXPECT_EQ(snd_stopall(), 0); // both indices at the second slot
  EXPECT_THAT(serve_all(), IsEmpty());
  EXPECT_EQ(alsa.count("open"), 2U); // the first, and the third with a stopped player
  expect_queued({4});                // in the second slot; the read index is the fourth, which is never used
  EXPECT_THAT(serve_all(), IsEmpty());
  EXPECT_THAT(messages(), ElementsAre("stat failed: "));
}

TEST_F(EngineRing, DropsQueueOnExit) {
  expect_restart();
  stage.writes.close();
  expect_queued({1, 2, 3});
  stage.wake_ups.open();
  stage.writes.await(1);
  std::thread other{[] {
    announce_lock();
    snd_exit();
  }};
  stage.callers.await(1);
  stage.writes.open();
  other.join();
  EXPECT_THAT(heard(), ElementsAre(1));
  EXPECT_EQ(stage.pauses_us.size(), 1U);
}

TEST_F(EngineRing, LeavesReadIndexOneAheadAfterIdleExit) {
  expect_restart();
  end();
  EXPECT_EQ(stage.pauses_us.size(), 1U);
  expect_restart();
  expect_queued({1});
  EXPECT_THAT(serve_all(), IsEmpty());
  expect_queued({2});
  EXPECT_THAT(serve_all(), IsEmpty());
  expect_queued({3, 4});
  EXPECT_THAT(serve_all(), ElementsAre(4));
  expect_queued({5, 6, 7});
  EXPECT_THAT(serve_all(), ElementsAre(6, 7));
}

TEST_F(EngineRing, LeavesIndicesEqualAfterExitDuringPlayback) {
  expect_restart();
  stage.wake_ups.open();
  stage.pauses.close();
  play(sound(1));
  stage.pauses.await(1);
  std::thread other{[] {
    announce_lock();
    snd_exit();
  }};
  stage.callers.await(1);
  stage.pauses.open();
  other.join();
  EXPECT_EQ(start(), 1);
  play(sound(2));
  await_served(2);
  EXPECT_THAT(heard(), ElementsAre(1, 2));
}

/// A model of the ring: four slots, two indices, and no count of its requests.
struct ring_model {
  std::array<int, 4> numbers = {}; ///< 0: a place never used
  size_t write = 0;
  size_t read = 0;
  bool is_stopped = false;
  size_t opened = 0;
  std::vector<int> heard;

  void queue(int number) {
    numbers[write] = number;
    write = (write + 1) % 4;
    is_stopped = false;
  }
  void stop_all() {
    write = read;
    is_stopped = true;
  }
  void wake_up() {
    if (write == read) {
      read = (write + 1) % 4;
      return;
    }
    const int number = numbers[read];
    read = (read + 1) % 4;
    opened += number != 0;
    if (number != 0 && !is_stopped)
      heard.push_back(number);
  }
  void end() {
    read = write;
    wake_up();
  }
};

TEST_F(EngineRing, PlaysWhatAModelOfItPlays) {
  seeded_random random;
  ring_model model;
  expect_restart();
  for (int step = 1; step <= 400; ++step) {
    switch (random.between(0, 9)) {
    case 0:
      EXPECT_EQ(snd_stopall(), 0);
      model.stop_all();
      break;
    case 1:
      if (waiting_ > 0) // whether a request or the end comes first would be open
        break;
      end();
      model.end();
      expect_restart();
      break;
    case 2:
    case 3:
    case 4:
    case 5:
      expect_queued(1 + step % 100);
      model.queue(1 + step % 100);
      break;
    default:
      if (waiting_ == 0)
        break;
      serve_one();
      model.wake_up();
    }
    ASSERT_EQ(heard(), model.heard) << "step " << step;
    ASSERT_EQ(alsa.count("open"), model.opened) << "step " << step;
  }
  while (waiting_ > 0)
    serve_one();
}

} // namespace
} // namespace dravik::test
