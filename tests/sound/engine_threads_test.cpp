// Many threads that call the engine at once, while it starts, plays and ends.

#include "sound/engine_stage.hpp"

#include <gmock/gmock.h>

namespace dravik::test {
namespace {

constexpr int threads = 4;
constexpr int rounds = 25;

class EngineThreads : public engine_fixture {
protected:
  /// Run `call(thread, round)` for every thread and round, and `meanwhile()` on this one.
  template <class Call, class Meanwhile> static void call_together(Call call, Meanwhile meanwhile) {
    std::vector<std::thread> all;
    for (int thread = 0; thread < threads; ++thread)
      all.emplace_back([thread, call] {
        for (int round = 0; round < rounds; ++round)
          call(thread, round);
      });
    meanwhile();
    for (std::thread &one : all)
      one.join();
  }

  static void expect_everything_closed() {
    EXPECT_EQ(get_snd_thread_state(), 0U);
    EXPECT_EQ(h_snd_playback, nullptr);
    EXPECT_EQ(alsa.count("open"), alsa.count("close pcm"));
  }
};

TEST_F(EngineThreads, LogAndAwaitRequestsOfSeveralThreads) {
  std::vector<std::string> paths;
  for (int thread = 0; thread < threads; ++thread)
    paths.push_back(sound(thread + 1, 3));
  start();
  call_together(
      [&paths](int thread, int round) {
        EXPECT_EQ(play(paths[static_cast<size_t>(thread)], round % 2), 1);
        EXPECT_LE(get_snd_thread_state(), 1U);
      },
      [] {});
  await_served(threads * rounds);
  snd_exit();
  EXPECT_EQ(log_messages(board_.path("tmp/dravik.log")).size(), size_t{threads * rounds});
  EXPECT_EQ(stage.pauses_us.size(), size_t{threads * rounds} + 1);
  expect_everything_closed();
}

TEST_F(EngineThreads, StartsAndEndsAmongCallsOfOthers) {
  const std::string path = sound(1, 3);
  call_together(
      [&path](int thread, int round) {
        EXPECT_EQ(play(path, thread % 2), 1);
        if (round % 5 == thread) {
          EXPECT_EQ(snd_stopall(), 0);
        }
        EXPECT_LE(get_snd_thread_state(), 1U);
      },
      [] {
        for (int i = 0; i < 20; ++i) {
          EXPECT_EQ(start(), 1);
          snd_exit();
        }
      });
  expect_everything_closed();
}

} // namespace
} // namespace dravik::test
