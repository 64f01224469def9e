// Sound cards of the kernel: one that plays nowhere, and one that returns what is played. The machine's time follows
// its instructions here, so that a busy host causes no underrun.

#include "dravik.h"
#include "guest.hpp"

#include <algorithm>
#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace dravik::vm;
using ::testing::HasSubstr;
using ::testing::Not;

constexpr size_t header_bytes = 44;

/// Mono samples that differ from each other for 65536 frames.
std::vector<int16_t> samples_of(size_t count) {
  std::vector<int16_t> samples(count);
  for (size_t i = 0; i < count; ++i)
    samples[i] = static_cast<int16_t>(i * 25173 + 13849);
  return samples;
}

void write_sound(const std::string &path, const std::vector<int16_t> &samples, size_t header) {
  const auto *bytes = reinterpret_cast<const char *>(samples.data());
  ASSERT_TRUE(write_text(path, std::string(header, 'H') + std::string(bytes, samples.size() * 2)));
}

class Sound : public ::testing::Test {
protected:
  void SetUp() override { ::unlink("/tmp/dravik.log"); }

  static void use_card(const std::string &name) {
    ASSERT_EQ(run(name == "Dummy" ? "modprobe -a snd-dummy || modprobe -a snd-aloop" : "modprobe snd-aloop"),
              0);
    const std::string card = name == "Dummy" && !exists("/proc/asound/Dummy") ? "Loopback" : name;
    ASSERT_TRUE(write_text("/etc/asound.conf", "pcm.!default { type hw card " + card + " }\n"));
  }

  static std::string log() { return read_text("/tmp/dravik.log"); }
};

/// The policy and the priority of the thread of this process that has the highest.
std::pair<int, int> highest_priority() {
  std::pair highest{SCHED_OTHER, 0};
  for (const std::string &thread : lines_of(output_of("ls /proc/" + std::to_string(::getpid()) + "/task"))) {
    const pid_t id = std::stoi(thread);
    sched_param parameters = {};
    ::sched_getparam(id, &parameters);
    highest = std::max(highest, std::pair{::sched_getscheduler(id), parameters.sched_priority});
  }
  return highest;
}

TEST_F(Sound, PlaysInRealTime) {
  use_card("Dummy");
  write_sound("/tmp/tone.wav", samples_of(96000), header_bytes);
  const uint32_t start = get_tick_count();
  EXPECT_EQ(wav_playback("/tmp/tone.wav"), 1);
  const uint32_t elapsed = get_tick_count() - start;
  EXPECT_GT(elapsed, 1000U); // 2 s without the buffer that closing drops
  EXPECT_LT(elapsed, 4000U);
  EXPECT_THAT(log(), Not(HasSubstr("xrun")));
}

TEST_F(Sound, RecoversFromUnderrun) {
  use_card("Dummy");
  write_sound("/tmp/tone.wav", samples_of(144000), header_bytes);
  const pid_t player = ::fork();
  if (player == 0)
    ::_exit(wav_playback("/tmp/tone.wav") == 1 ? 0 : 1);
  const auto is_in_state = [](const char *state) {
    return output_of("cat /proc/asound/card*/pcm0p/sub0/status").find(state) != std::string::npos;
  };
  ASSERT_TRUE(wait_until([&] { return is_in_state("RUNNING"); }));
  ASSERT_EQ(::kill(player, SIGSTOP), 0);
  ASSERT_TRUE(wait_until([&] { return is_in_state("XRUN"); }));
  ASSERT_EQ(::kill(player, SIGCONT), 0);
  int status = -1;
  ASSERT_EQ(::waitpid(player, &status, 0), player);
  EXPECT_EQ(status, 0);
  EXPECT_THAT(log(), HasSubstr("pcm_write: -EPIPE!!"));
  EXPECT_THAT(log(), HasSubstr("xrun: underrun!!"));
}

TEST_F(Sound, RunsEngineAtRealTimePriority) {
  use_card("Dummy");
  write_sound("/tmp/tone.wav", samples_of(48000), header_bytes);
  ASSERT_EQ(snd_init(), 1);
  EXPECT_EQ(highest_priority(), std::pair(SCHED_FIFO, 90));
  EXPECT_EQ(snd_play_direct("/tmp/tone.wav", 0), 1);
  EXPECT_TRUE(wait_until([] { return get_snd_thread_state() == 1; }));
  EXPECT_TRUE(wait_until([] { return get_snd_thread_state() == 0; }));
  snd_exit();
  EXPECT_THAT(log(), Not(HasSubstr("realtime schedule err")));
}

/// What was captured from the other end of the loop contains all samples on both channels, in order.
void expect_captured(const std::vector<int16_t> &samples, const std::string &capture) {
  std::string played;
  for (const int16_t sample : samples)
    for (int channel = 0; channel < 2; ++channel)
      played.append(reinterpret_cast<const char *>(&sample), sizeof sample);
  const size_t start = capture.find(played.substr(0, 64));
  ASSERT_NE(start, std::string::npos) << capture.size() << " bytes captured";
  const auto [captured, sent] = std::mismatch(capture.begin() + static_cast<ptrdiff_t>(start), capture.end(),
                                              played.begin(), played.end());
  EXPECT_EQ(sent - played.begin(), static_cast<ptrdiff_t>(played.size()))
      << "bytes before the first difference";
}

class LoopedSound : public Sound {
protected:
  void capture_while(const std::string &path) {
    use_card("Loopback");
    ::unlink("/tmp/captured"); // of the test before
    const pid_t recorder = ::fork();
    if (recorder == 0) {
      ::execlp("arecord", "arecord", "-q", "-D", "hw:Loopback,1", "-f", "S16_LE", "-r", "48000", "-c", "2",
               "-t", "raw", "/tmp/captured", nullptr);
      ::_exit(127);
    }
    ASSERT_TRUE(wait_until([] { return read_text("/tmp/captured").size() > 0; }));
    EXPECT_EQ(path.ends_with(".wav") ? wav_playback(path.c_str()) : pcm_playback(path.c_str()), 1);
    ::kill(recorder, SIGTERM);
    ::waitpid(recorder, nullptr, 0);
    EXPECT_THAT(log(), Not(HasSubstr("xrun")));
  }
};

/// Silence at the end, since closing the device drops what its buffer holds.
std::vector<int16_t> with_silence(std::vector<int16_t> samples) {
  samples.resize(samples.size() + 240000, 0);
  return samples;
}

TEST_F(LoopedSound, PlaysWavBitByBit) {
  const std::vector<int16_t> samples = samples_of(48000);
  write_sound("/tmp/tone.wav", with_silence(samples), header_bytes);
  capture_while("/tmp/tone.wav");
  expect_captured(samples, read_text("/tmp/captured"));
}

TEST_F(LoopedSound, PlaysRawPcmBitByBit) {
  const std::vector<int16_t> samples = samples_of(48000);
  write_sound("/tmp/tone.pcm", with_silence(samples), 0);
  capture_while("/tmp/tone.pcm");
  expect_captured(samples, read_text("/tmp/captured"));
}

} // namespace
