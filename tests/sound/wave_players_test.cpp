// WAV and raw PCM files: what of them the card gets, and what is left when they cannot be played.

#include "sound/card_stage.hpp"
#include "support/allocated_bytes.hpp"
#include "support/as_nobody.hpp"
#include "support/leak_on_purpose.hpp"
#include "support/refused_malloc.hpp"

#include <fcntl.h>
#include <filesystem>
#include <future>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dravik::test {
namespace {

using testing::AllOf;
using testing::Each;
using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;

struct wave_kind {
  const char *name;
  size_t header_bytes;
  int32_t (*playback)(const char *file);
  int32_t (*decode)(const char *path, uint32_t period_frames);
};

const wave_kind wav_kind = {"Wav", 44, wav_playback, wav_decode};
const wave_kind raw_kind = {"RawPcm", 0, pcm_playback, pcm_decode};

void PrintTo(const wave_kind &kind, std::ostream *stream) {
  *stream << kind.name;
}

/// A pipe with a path, whose writes are read one by one.
struct pipe_with_path {
  int ends[2] = {-1, -1};
  std::string path;

  pipe_with_path() {
    if (::pipe2(ends, O_DIRECT) != 0)
      std::abort();
    path = "/proc/self/fd/" + std::to_string(ends[0]);
  }
  ~pipe_with_path() {
    ::close(ends[0]);
    close_writing();
  }
  pipe_with_path(const pipe_with_path &) = delete;
  pipe_with_path &operator=(const pipe_with_path &) = delete;

  void write(const bytes &packet) const {
    EXPECT_EQ(::write(ends[1], packet.data(), packet.size()), static_cast<ssize_t>(packet.size()));
  }
  void close_writing() {
    if (ends[1] >= 0)
      ::close(ends[1]);
    ends[1] = -1;
  }
};

class WavePlayers : public card_fixture, public testing::WithParamInterface<wave_kind> {
protected:
  ~WavePlayers() override { refused_size = 0; }

  bytes samples(size_t count_bytes) { return random_bytes(random_, count_bytes); }

  /// A file of this format. The contents of its header are not used.
  std::string sound(const bytes &content) {
    bytes whole = samples(GetParam().header_bytes);
    append(whole, content);
    return file(whole);
  }

  int32_t play(const std::string &path) const { return GetParam().playback(path.c_str()); }
  int32_t decode(const std::string &path, uint32_t period_frames) const {
    return GetParam().decode(path.c_str(), period_frames);
  }

  std::mt19937 random_{44};
};

TEST_P(WavePlayers, PlaysEverySampleOnBothSides) {
  const bytes content = samples(20000);
  EXPECT_EQ(play(sound(content)), 1);
  EXPECT_TRUE(are_same(take_played(), on_both_sides(content)));
  EXPECT_EQ(bits_per_frame, 32U);
  expect_all_closed();
  EXPECT_THAT(take_messages(), IsEmpty());
}

TEST_P(WavePlayers, PlaysMoreThanTheBuffer) {
  const bytes content = samples(300002); // the card holds 65536 bytes
  EXPECT_EQ(play(sound(content)), 1);
  EXPECT_TRUE(are_same(take_played(), on_both_sides(content)));
  EXPECT_GT(writes.count(), 4U);
  expect_all_closed();
}

TEST_P(WavePlayers, PlaysFewBytes) {
  for (size_t length = 0; length < 12; ++length) {
    SCOPED_TRACE(length);
    const bytes content = samples(length);
    EXPECT_EQ(play(sound(content)), 1);
    EXPECT_TRUE(are_same(take_played(), on_both_sides(content)));
    expect_all_closed();
  }
  EXPECT_THAT(take_messages(), IsEmpty());
}

TEST_P(WavePlayers, DropsLastByteOfOddLength) {
  const bytes content = samples(100001);
  EXPECT_EQ(play(sound(content)), 1);
  EXPECT_TRUE(are_same(take_played(), on_both_sides(first_bytes(content, 100000))));
  expect_all_closed();
}

TEST_P(WavePlayers, PlaysFilesInTurn) {
  const bytes content = samples(3000);
  const std::string path = sound(content);
  for (int i = 0; i < 20; ++i)
    EXPECT_EQ(play(path), 1);
  bytes expected;
  for (int i = 0; i < 20; ++i)
    append(expected, on_both_sides(content));
  EXPECT_TRUE(are_same(take_played(), expected));
  expect_all_closed();
}

TEST_P(WavePlayers, ReadsOfOnePeriodBecomeTwo) {
  for (const int more : {-2, -1, 0, 1, 2, 3}) {
    SCOPED_TRACE(more);
    const int32_t period = set_snd_param(100000);
    ASSERT_GT(period, 0);
    const auto frames = static_cast<unsigned long>(period);
    const bytes content = samples(static_cast<size_t>(2 * 4 * period + more));
    writes = {};
    EXPECT_EQ(decode(sound(content), static_cast<uint32_t>(period)), 1);
    EXPECT_TRUE(are_same(take_played(), on_both_sides(content)));
    // A read returns 4 bytes per frame of the period, 2 of which are a sample.
    if (more < 0)
      EXPECT_THAT(writes.offered, ElementsAre(2 * frames, 2 * frames - 1));
    else if (more < 2)
      EXPECT_THAT(writes.offered, ElementsAre(2 * frames, 2 * frames));
    else
      EXPECT_THAT(writes.offered, ElementsAre(2 * frames, 2 * frames, 1UL));
    expect_all_closed();
  }
}

TEST_P(WavePlayers, PlaysContentsOfPipe) {
  bytes expected;
  {
    pipe_with_path pipe;
    // There is no passing over a header in a pipe. Each odd byte is lost.
    for (const size_t length : {10U, 2U, 1U, 4000U, 7U, 3998U}) {
      const bytes packet = samples(length);
      pipe.write(packet);
      append(expected, on_both_sides(packet));
    }
    pipe.close_writing();
    EXPECT_EQ(play(pipe.path), 1);
  }
  EXPECT_TRUE(are_same(take_played(), expected));
  EXPECT_THAT(writes.offered, ElementsAre(5UL, 1UL, 2000UL, 3UL, 1999UL));
  expect_all_closed();
}

TEST_P(WavePlayers, ChecksForStopAfterRead) {
  ASSERT_EQ(snd_init(), 1);
  const bytes packet = samples(100);
  {
    const pipe_with_path pipe;
    std::promise<void> written;
    writes.on_write = [&written] { written.set_value(); };
    auto result = std::async(std::launch::async, [&] { return play(pipe.path); });
    pipe.write(packet);
    written.get_future().wait();
    snd_stopall();
    pipe.write(packet);
    EXPECT_EQ(result.get(), 1);
  }
  EXPECT_TRUE(are_same(take_played(), on_both_sides(packet)));
  EXPECT_THAT(take_messages(), IsEmpty());
  snd_exit();
  expect_all_closed();
}

TEST_P(WavePlayers, ChecksForStopBeforeFirstRead) {
  ASSERT_EQ(snd_init(), 1);
  snd_stopall();
  {
    const pipe_with_path pipe;
    pipe.write(samples(100));
    EXPECT_EQ(play(pipe.path), 1);
    bytes left(200);
    EXPECT_EQ(::read(pipe.ends[0], left.data(), left.size()), 100);
  }
  EXPECT_THAT(take_played(), IsEmpty());
  snd_exit();
  expect_all_closed();
}

TEST_P(WavePlayers, FailsForMissingFile) {
  const std::string path = board_.path("none");
  EXPECT_EQ(play(path), -1);
  EXPECT_THAT(take_messages(), ElementsAre("stat failed: " + path));
  EXPECT_THAT(board_.events(), IsEmpty());
  expect_all_closed();
}

TEST_P(WavePlayers, ClosesDeviceIfFileToDecodeIsMissing) {
  const std::string path = board_.path("none");
  const int32_t period = set_snd_param(1000);
  ASSERT_GT(period, 0);
  EXPECT_EQ(decode(path, static_cast<uint32_t>(period)), -1);
  EXPECT_THAT(take_messages(), ElementsAre("Cannot open " + path));
  expect_all_closed();
}

TEST_P(WavePlayers, PlaysNothingOfUnreadableFile) {
  const std::string path = sound(samples(1000));
  ::chmod(path.c_str(), 0);
  board_.open_to_everyone();
  {
    const as_nobody user;
    EXPECT_EQ(play(path), 1);
  }
  EXPECT_THAT(take_messages(), ElementsAre("Cannot open " + path));
  EXPECT_THAT(take_played(), IsEmpty());
  expect_all_closed();
}

TEST_P(WavePlayers, FailsForDirectory) {
  const std::string path = board_.path("tmp");
  EXPECT_EQ(play(path), 1);
  EXPECT_THAT(take_messages(), ElementsAre("Read pcm data error(rd < 0)"));
  expect_all_closed();

  const int32_t period = set_snd_param(1000);
  ASSERT_GT(period, 0);
  EXPECT_EQ(decode(path, static_cast<uint32_t>(period)), -1);
  EXPECT_THAT(take_messages(), ElementsAre("Read pcm data error(rd < 0)"));
  expect_all_closed();
}

TEST_P(WavePlayers, KeepsOtherBlockAndDeviceWithoutMemory) {
  const std::string path = sound(samples(1000));
  for (const size_t given : {0U, 1U}) {
    SCOPED_TRACE(given);
    const int32_t period = set_snd_param(100000);
    ASSERT_GT(period, 0);
    const size_t block_bytes = 2 * 4 * static_cast<size_t>(period);
    const leak_on_purpose keeping;
    const size_t before = allocated_bytes();
    refused_size = block_bytes;
    given_before_refusing = given;
    const int32_t result = decode(path, static_cast<uint32_t>(period));
    refused_size = 0;
    const size_t kept = allocated_bytes() - before;
    EXPECT_EQ(result, -1);
    EXPECT_EQ(kept / block_bytes, given);
    EXPECT_THAT(take_messages(), ElementsAre("not enough memory"));
    EXPECT_NE(h_snd_playback, nullptr);

    EXPECT_EQ(decode(path, static_cast<uint32_t>(period)), 1);
    expect_all_closed();
  }
}

TEST_P(WavePlayers, PlaysNothingWithoutConfiguration) {
  const std::string path = sound(samples(1000));
  EXPECT_EQ(decode(path, 64), 1);
  bits_per_frame = 32;
  EXPECT_EQ(decode(path, 64), 1);
  EXPECT_EQ(decode(path, 0), 1);
  EXPECT_EQ(writes.count(), 0U);
  EXPECT_THAT(take_messages(), IsEmpty());
  expect_all_closed();
}

TEST_P(WavePlayers, FailsWithoutDevice) {
  ::setenv("ALSA_CONFIG_PATH", "/dev/null", 1);
  EXPECT_EQ(play(sound(samples(1000))), 0);
  EXPECT_THAT(errors_.take(), EndsWith("open PCM device failed error!\n"));
  EXPECT_THAT(take_messages(), IsEmpty());
  EXPECT_EQ(writes.count(), 0U);
  expect_all_closed();
}

TEST_P(WavePlayers, OpensTheDeviceForAFileOf2GiBAndMore) {
  const std::string path = sound(samples(2));
  std::filesystem::resize_file(path, uintmax_t{5} << 30);
  ::setenv("ALSA_CONFIG_PATH", "/dev/null", 1);
  EXPECT_EQ(play(path), 0);
  EXPECT_THAT(errors_.take(), EndsWith("open PCM device failed error!\n"));
  EXPECT_THAT(take_messages(), IsEmpty());
}

TEST_P(WavePlayers, ClosesUnconfigurableDevice) {
  board_.set_fault("rate", "sound");
  EXPECT_EQ(play(sound(samples(1000))), 0);
  EXPECT_EQ(errors_.take(), "snd_pcm_hw_params_set_rate_near error!\n");
  EXPECT_THAT(take_messages(), IsEmpty());
  expect_all_closed();

  board_.clear_faults();
  board_.set_fault("equal-periods", "sound");
  EXPECT_EQ(play(sound(samples(1000))), 0);
  EXPECT_THAT(take_messages(), SizeIs(1));
  expect_all_closed();
}

TEST_P(WavePlayers, ReportsAndSkipsFailedWrites) {
  const std::string path = sound(samples(200000));
  board_.set_fault("write", "sound", "EIO");
  EXPECT_EQ(play(path), 1);
  EXPECT_GT(writes.count(), 2U);
  std::vector<std::string> expected;
  for (size_t i = 0; i < writes.count(); ++i)
    expected.insert(expected.end(), {"write error: Input/output error", "-EIO error!"});
  EXPECT_EQ(take_messages(), expected);
  expect_all_closed();
}

INSTANTIATE_TEST_SUITE_P(Kinds, WavePlayers, testing::Values(wav_kind, raw_kind),
                         [](const auto &kind) { return kind.param.name; });

class WavPlayer : public card_fixture {};

TEST_F(WavPlayer, SkipsHeaderOfAnyFile) {
  std::mt19937 random{44};
  for (const size_t length : {0U, 1U, 2U, 20U, 43U, 44U, 45U}) {
    SCOPED_TRACE(length);
    const std::string path = file(random_bytes(random, length));
    EXPECT_EQ(wav_playback(path.c_str()), 1);
    EXPECT_THAT(take_played(), IsEmpty());
    EXPECT_EQ(writes.count(), 0U);
    expect_all_closed();
  }
  EXPECT_THAT(take_messages(), IsEmpty());
}

TEST_F(WavPlayer, IgnoresContentsOfHeader) {
  // 8-bit samples, 8000 Hz, and a chunk before the data: all is taken for samples from byte 44 on.
  const bytes header = {'R', 'I', 'F', 'F', 68, 0, 0,   0,   'W', 'A', 'V', 'E', 'f', 'm', 't',
                        ' ', 16,  0,   0,   0,  1, 0,   1,   0,   64,  31,  0,   0,   64,  31,
                        0,   0,   1,   0,   8,  0, 'L', 'I', 'S', 'T', 4,   0,   0,   0};
  ASSERT_EQ(header.size(), 44U);
  const bytes rest = {'I', 'N', 'F', 'O', 'd', 'a', 't', 'a', 4, 0, 0, 0, 0x80, 0x81, 0x82, 0x83};
  bytes whole = header;
  append(whole, rest);
  EXPECT_EQ(wav_playback(file(whole).c_str()), 1);
  EXPECT_TRUE(are_same(take_played(), on_both_sides(rest)));
  expect_all_closed();
}

constexpr size_t bytes_per_second = 96000;

TEST_F(WavPlayer, PlaysLongSoundOnCardThatSplitsBuffer) {
  EXPECT_EQ(wav_playback(file(bytes(44 + 21 * bytes_per_second)).c_str()), 1);
  EXPECT_EQ(take_played().size(), 2 * 21 * bytes_per_second);
  EXPECT_THAT(take_messages(), IsEmpty());
  expect_all_closed();
}

TEST_F(WavPlayer, RejectsLongSoundOnCardThatDoesNotSplitBuffer) {
  board_.set("sound_periods", "1");
  EXPECT_EQ(wav_playback(file(bytes(44 + 21 * bytes_per_second)).c_str()), 0);
  EXPECT_THAT(take_messages(), ElementsAre("Can't use period equal to buffer size (16384 == 16384)"));
  EXPECT_EQ(writes.count(), 0U);
  expect_all_closed();

  EXPECT_EQ(wav_playback(file(bytes(44 + 3 * bytes_per_second)).c_str()), 1);
  EXPECT_EQ(take_played().size(), 2 * 3 * bytes_per_second);
  EXPECT_THAT(take_messages(), IsEmpty());
  expect_all_closed();
}

} // namespace
} // namespace dravik::test
