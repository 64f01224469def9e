// The engine's life and what it plays, in the order of its steps.

#include "sound/engine_stage.hpp"

#include <functional>
#include <gmock/gmock.h>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Engine : public engine_fixture {};

TEST_F(Engine, StartsOneThreadOfRealTimePriority) {
  EXPECT_EQ(start(), 1);
  EXPECT_EQ(start(), 1);
  EXPECT_THAT(stage.calls, ElementsAre("create", "set FIFO 90", "get"));
  snd_exit();
  EXPECT_THAT(stage.calls, ElementsAre("create", "set FIFO 90", "get", "join"));
  snd_exit();
  EXPECT_EQ(stage.calls.size(), 4U);
  EXPECT_EQ(errors_.take(), "");
  EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(Engine, StopsThreadIfPriorityIsRejected) {
  stage.refuses_priority = true;
  stage.granted_priority = 0;
  EXPECT_EQ(start(), -1);
  EXPECT_THAT(stage.calls, ElementsAre("create", "set FIFO 90", "get", "join"));
  EXPECT_EQ(errors_.take(), "pthread_setschedparam: Operation not permitted\n");
  EXPECT_THAT(messages(), ElementsAre("set realtime schedule err"));
  EXPECT_EQ(play(sound(1)), 1);
  EXPECT_EQ(snd_stopall(), 0);
  EXPECT_EQ(get_snd_thread_state(), 0U);
  snd_exit();

  stage.refuses_priority = false;
  stage.granted_priority = 90;
  EXPECT_EQ(start(), 1);
  EXPECT_EQ(stage.calls.size(), 7U);
  EXPECT_EQ(errors_.take(), "");
}

TEST_F(Engine, ComparesPriorityThatIsReadBack) {
  stage.granted_priority = 89;
  EXPECT_EQ(start(), -1);
  EXPECT_EQ(errors_.take(), "");
  EXPECT_THAT(messages(), ElementsAre("set realtime schedule err"));

  stage.granted_priority = 90;
  stage.refuses_priority = true;
  EXPECT_EQ(start(), 1);
  EXPECT_EQ(errors_.take(), "pthread_setschedparam: Operation not permitted\n");
  EXPECT_EQ(messages().size(), 1U);
}

TEST_F(Engine, PlaysNothingWithoutThread) {
  stage.has_no_threads = true;
  EXPECT_EQ(start(), -1);
  EXPECT_EQ(errors_.take(), "pthread_create play_snd_thread failed\n: Resource temporarily unavailable\n");
  stage.has_no_threads = false;
  EXPECT_EQ(start(), 1);
  EXPECT_EQ(play(sound(1)), 1);
  EXPECT_EQ(play(sound(1), 1), 1);
  EXPECT_EQ(snd_stopall(), 0);
  EXPECT_EQ(get_snd_thread_state(), 0U);
  EXPECT_THAT(stage.calls, ElementsAre("create"));
  snd_exit();

  EXPECT_EQ(start(), 1);
  EXPECT_THAT(stage.calls, ElementsAre("create", "create", "set FIFO 90", "get"));
  EXPECT_EQ(play(sound(2)), 1);
  await_served(1);
  EXPECT_THAT(heard(), ElementsAre(2));
}

/// Call without an engine: before it is started, after it was stopped, or after it could not be started.
class EngineAbsent : public engine_fixture {
protected:
  using situation = std::pair<const char *, std::function<void()>>;

  static const std::vector<situation> &situations() {
    static const std::vector<situation> all = {
        {"before", [] {}},
        {"stopped",
         [] {
           start();
           snd_exit();
         }},
        {"priority refused",
         [] {
           stage.granted_priority = 0;
           EXPECT_EQ(start(), -1);
         }},
        {"no thread",
         [] {
           stage.has_no_threads = true;
           EXPECT_EQ(start(), -1);
         }},
    };
    return all;
  }

  /// The playback of a direct player.
  std::vector<int> checked_direct_playback() const {
    alsa.writes.clear();
    EXPECT_EQ(pcm_playback(sound(9, 2).c_str()), 1);
    return heard();
  }
};

TEST_F(EngineAbsent, StopsDirectPlayersUntilNextRequest) {
  for (const auto &[name, arrive] : situations()) {
    arrive();
    EXPECT_THAT(checked_direct_playback(), ElementsAre(9, 9)) << name;
    EXPECT_EQ(snd_stopall(), 0) << name;
    EXPECT_THAT(checked_direct_playback(), IsEmpty()) << name;
    EXPECT_EQ(play(sound(1)), 1) << name;
    EXPECT_THAT(checked_direct_playback(), ElementsAre(9, 9)) << name;
  }
}

TEST_F(EngineAbsent, StopsCurrentDirectPlayer) {
  alsa.on_write = [] {
    alsa.on_write = nullptr;
    EXPECT_EQ(snd_stopall(), 0);
  };
  EXPECT_EQ(pcm_playback(sound(3, 5).c_str()), 1);
  EXPECT_THAT(heard(), ElementsAre(3));
}

TEST_F(EngineAbsent, DecodesGarbageToItsEndWithoutStop) {
  board_.write("garbage.mp3", std::string(1000, '\xFF'));
  EXPECT_EQ(mp3_playback(board_.path("garbage.mp3").c_str()), 0);
  EXPECT_GT(stage.errors.arrivals(), 100);
}

TEST_F(EngineAbsent, ReleasesDirectPlayersOnStoppingRequest) {
  stage.callers.close();
  std::thread other{[this] {
    announce_lock();
    EXPECT_EQ(play(sound(1), 1), 1);
  }};
  stage.callers.await(1); // the flag is set, the mutex not yet taken
  EXPECT_THAT(checked_direct_playback(), IsEmpty());
  stage.callers.open();
  other.join();
  EXPECT_THAT(checked_direct_playback(), ElementsAre(9, 9));
}

TEST_F(EngineAbsent, ReturnsResultOfUnlocking) {
  int32_t result = 0;
  std::thread{[&result] {
    set_unlock_result(77);
    result = snd_stopall();
  }}.join();
  EXPECT_EQ(result, 77);
}

TEST_F(EngineAbsent, LogsRequestsWithoutQueueingThem) {
  const std::string path = sound(1);
  for (const auto &[name, arrive] : situations()) {
    arrive();
    board_.remove("tmp/dravik.log");
    EXPECT_EQ(play(path), 1) << name;
    EXPECT_EQ(play(path, 1), 1) << name;
    EXPECT_EQ(get_snd_thread_state(), 0U) << name;
    const std::string line = "snd_play_direct():" + path;
    EXPECT_THAT(log_messages(board_.path("tmp/dravik.log")), ElementsAre(line, line)) << name;
    EXPECT_THAT(heard(), IsEmpty()) << name;
  }
}

TEST_F(EngineAbsent, PlaysNoRequestsFromBeforeInit) {
  play(sound(1));
  play(sound(2));
  EXPECT_EQ(start(), 1);
  play(sound(3));
  await_served(1);
  EXPECT_THAT(heard(), ElementsAre(3));
}

TEST_F(EngineAbsent, RejectsTooLongPath) {
  EXPECT_EQ(snd_stopall(), 0);
  EXPECT_EQ(play(std::string(256, 'x')), 1);
  EXPECT_THAT(checked_direct_playback(), IsEmpty()); // still stopped
  EXPECT_THAT(messages(), ElementsAre("snd_play_direct():path of 256 characters, at most 255 are possible"));
}

TEST_F(EngineAbsent, DoesNothingOnExit) {
  snd_exit();
  EXPECT_THAT(stage.calls, IsEmpty());
  EXPECT_THAT(checked_direct_playback(), ElementsAre(9, 9));
}

TEST_F(Engine, LogsRequestAndPausesAfterIt) {
  start();
  const std::string path = sound(7, 3);
  EXPECT_EQ(play(path), 1);
  await_served(1);
  EXPECT_THAT(log_messages(board_.path("tmp/dravik.log")), ElementsAre("snd_play_direct():" + path));
  EXPECT_THAT(heard(), ElementsAre(7, 7, 7));
  EXPECT_EQ(alsa.calls.back(), "close pcm");
  EXPECT_THAT(stage.pauses_us, ElementsAre(150000U));
}

TEST_F(Engine, IgnoresSignals) {
  stage.interruptions = 3;
  start();
  play(sound(1));
  await_served(1);
  EXPECT_THAT(heard(), ElementsAre(1));
  EXPECT_EQ(stage.pauses_us.size(), 1U);
}

/// The playback of a file whose first 44 bytes are 'h'.
enum class outcome { mp3, without_header, with_header };

class EngineKinds : public engine_fixture {
protected:
  outcome checked_outcome(const std::string &name) {
    board_.write(name, std::string(44, 'h') + std::string(20, 's'));
    alsa.calls.clear();
    alsa.writes.clear();
    play(board_.path(name));
    await_served(++served_);
    if (alsa.count("hw_params_set_channels pcm hw 1") == 1)
      return outcome::mp3;
    EXPECT_EQ(alsa.count("hw_params_set_channels pcm hw 2"), 1U);
    return heard().front() == 'h' ? outcome::with_header : outcome::without_header;
  }

private:
  int served_ = 0;
};

TEST_F(EngineKinds, FollowFromNames) {
  start();
  for (const char *name : {"a.mp3", "a.mp3.wav", "a.wav.mp3", "a.pcm.mp3", "a.mp3x", "b.mp3/a.wav", ".mp3"})
    EXPECT_EQ(checked_outcome(name), outcome::mp3) << name;
  for (const char *name : {"a.wav", "a.wave", "a.wav.bak", "c.wav/a", ".wav"})
    EXPECT_EQ(checked_outcome(name), outcome::without_header) << name;
  for (const char *name :
       {"a.pcm", "a.wav.pcm", "a.pcm.wav", "a.WAV", "a.Mp3", "a.PCM", "a", "mp3", "a_wav", "a."})
    EXPECT_EQ(checked_outcome(name), outcome::with_header) << name;
}

TEST_F(Engine, LogsAndSkipsUnplayableFiles) {
  start();
  const std::string wav = board_.path("none.wav");
  const std::string raw = board_.path("none");
  const std::string mp3 = board_.path("none.mp3");
  int served = 0;
  for (const std::string &path : {wav, raw, mp3, sound(5)}) {
    EXPECT_EQ(play(path), 1);
    await_served(++served);
  }
  EXPECT_THAT(messages(),
              ElementsAre("stat failed: " + wav, "stat failed: " + raw, "open file " + mp3 + " failed "));
  EXPECT_THAT(heard(), ElementsAre(5));
  EXPECT_EQ(stage.pauses_us.size(), 4U);
}

TEST_F(Engine, ClosesUnconfigurableDeviceAndPlaysNext) {
  start();
  alsa.results["hw_params"] = -1;
  play(sound(1));
  await_served(1);
  EXPECT_EQ(alsa.calls.back(), "close pcm");
  EXPECT_EQ(h_snd_playback, nullptr);
  alsa.results.clear();
  play(sound(2));
  await_served(2);
  EXPECT_THAT(heard(), ElementsAre(2));
}

TEST_F(Engine, AcceptsPathOf255Characters) {
  start();
  const std::string folder = board_.path("") + '/' + std::string(100, 'd') + '/';
  const std::string name = folder.substr(board_.path("").size()) + std::string(255 - folder.size(), 'n');
  board_.write(name, std::string(16, '\1'));
  ASSERT_EQ(board_.path(name).size(), 255U);
  EXPECT_EQ(play(board_.path(name) + 'x'), 1);
  EXPECT_EQ(play(std::string(100000, 'x')), 1);
  EXPECT_EQ(messages().size(), 2U);
  EXPECT_EQ(play(board_.path(name)), 1);
  await_served(1);
  EXPECT_THAT(heard(), ElementsAre(1));
  EXPECT_EQ(messages().size(), 2U);
}

/// A sound of five reads, held in its first write, and a caller that waits for it.
class EngineInProgress : public engine_fixture {
protected:
  void expect_begin() {
    start();
    stage.writes.close();
    stage.pauses.close();
    EXPECT_EQ(get_snd_thread_state(), 0U);
    play(sound(1, 5));
    stage.writes.await(1);
    EXPECT_EQ(get_snd_thread_state(), 1U);
  }

  /// Start a caller that has to wait.
  template <class Call> void call(Call call) {
    caller_ = std::thread{[this, call] {
      announce_lock();
      call();
      has_returned_.store(true);
    }};
    stage.callers.await(1);
  }

  /// Let the playback end; the thread is then in its pause, with the mutex locked.
  void expect_end() {
    stage.writes.open();
    stage.pauses.await(1);
    EXPECT_EQ(get_snd_thread_state(), 1U);
    EXPECT_NE(::pthread_mutex_trylock(stage.mutex), 0);
    EXPECT_FALSE(has_returned_.load());
  }

  void end_pause() {
    stage.pauses.open();
    caller_.join();
  }

private:
  std::thread caller_;
  std::atomic<bool> has_returned_ = false;
};

TEST_F(EngineInProgress, StartsNextAfterEndAndPause) {
  expect_begin();
  call([this] { EXPECT_EQ(play(sound(2)), 1); });
  expect_end();
  EXPECT_THAT(heard(), ElementsAre(1, 1, 1, 1, 1));
  end_pause();
  await_served(2);
  EXPECT_EQ(get_snd_thread_state(), 0U);
  EXPECT_THAT(heard(), ElementsAre(1, 1, 1, 1, 1, 2));
}

TEST_F(EngineInProgress, WaitsUntilPlayerStops) {
  expect_begin();
  call([this] { EXPECT_EQ(play(sound(2, 3), 1), 1); });
  expect_end();
  EXPECT_THAT(heard(), ElementsAre(1));
  EXPECT_EQ(alsa.calls.back(), "close pcm");
  end_pause();
  await_served(2);
  EXPECT_THAT(heard(), ElementsAre(1, 2, 2, 2));
}

TEST_F(EngineInProgress, StopsOnlyOnce) {
  expect_begin();
  call([this] { EXPECT_EQ(play(sound(2), 2), 1); });
  expect_end();
  EXPECT_THAT(heard(), ElementsAre(1, 1, 1, 1, 1));
  end_pause();
}

TEST_F(EngineInProgress, KeepsPlayingIfPathIsRejected) {
  expect_begin();
  EXPECT_EQ(play(std::string(256, 'x'), 1), 1);
  call([] { EXPECT_EQ(snd_play_direct("/none", 0), 1); });
  expect_end();
  EXPECT_THAT(heard(), ElementsAre(1, 1, 1, 1, 1));
  end_pause();
}

TEST_F(EngineInProgress, StopsOnStopAll) {
  expect_begin();
  call([] { EXPECT_EQ(snd_stopall(), 0); });
  expect_end();
  EXPECT_THAT(heard(), ElementsAre(1));
  end_pause();
  await_served(1);
  play(sound(2));
  await_served(2);
  EXPECT_THAT(heard(), ElementsAre(1, 2));
}

TEST_F(EngineInProgress, StopsInGarbageOnStopAll) {
  start();
  stage.errors.close();
  stage.pauses.close();
  board_.write("garbage.mp3", std::string(1 << 20, '\xFF'));
  play(board_.path("garbage.mp3"));
  stage.errors.await(1);
  call([] { EXPECT_EQ(snd_stopall(), 0); });
  stage.errors.open();
  stage.pauses.await(1);
  EXPECT_EQ(stage.errors.arrivals(), 1);
  EXPECT_EQ(alsa.calls.back(), "close pcm");
  end_pause();
}

TEST_F(EngineInProgress, PlaysToEndOnExit) {
  expect_begin();
  call([] { snd_exit(); });
  expect_end();
  EXPECT_THAT(heard(), ElementsAre(1, 1, 1, 1, 1));
  end_pause();
  EXPECT_EQ(stage.calls.back(), "join");
  EXPECT_EQ(get_snd_thread_state(), 0U);
  EXPECT_EQ(stage.pauses_us.size(), 1U);
}

TEST_F(Engine, RejectsRequestThatComesTooLate) {
  start();
  stage.callers.close();
  std::thread late{[this] {
    announce_lock();
    EXPECT_EQ(play(sound(1), 1), 1);
  }};
  stage.callers.await(1);
  snd_exit();
  stage.callers.open();
  late.join();
  EXPECT_LE(stage.pauses_us.size(), 1U);        // that of the end, unless the thread had not begun yet
  EXPECT_EQ(pcm_playback(sound(2).c_str()), 1); // the player was not left stopped
  EXPECT_THAT(heard(), ElementsAre(2));
}

TEST_F(Engine, ReturnsResultOfUnlocking) {
  start();
  int32_t result = 0;
  std::thread{[&result] {
    set_unlock_result(77);
    result = snd_stopall();
  }}.join();
  EXPECT_EQ(result, 77);
}

} // namespace
} // namespace dravik::test
