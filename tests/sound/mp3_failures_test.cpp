// MP3 files that cannot be played, and the resources that are kept then.

#include "sound/mp3_stage.hpp"
#include "support/allocated_bytes.hpp"
#include "support/as_nobody.hpp"
#include "support/leak_on_purpose.hpp"
#include "support/next_call.hpp"
#include "support/refused_malloc.hpp"

#include <alsa/asoundlib.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <sys/stat.h>

namespace dravik::test {
namespace {

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;

/// The result of fstat() for a file.
struct {
  ino_t file = 0;
  bool fails = false;
  off_t more_bytes = 0; ///< than the file has
} reported_status;

ino_t number_of(const std::string &path) {
  struct stat status = {};
  ::stat(path.c_str(), &status);
  return status.st_ino;
}

class Mp3Failures : public Mp3Player {
protected:
  Mp3Failures() : descriptors_(open_descriptors()) {}
  ~Mp3Failures() override { reported_status = {}; }

  size_t left_open() const { return open_descriptors() - descriptors_; }

  void expect_nothing_heard() const {
    EXPECT_EQ(writes.count(), 0U);
    EXPECT_THAT(take_played(), IsEmpty());
  }

private:
  size_t descriptors_;
};

TEST_F(Mp3Failures, FailsForMissingFile) {
  const std::string path = board_.path("none");
  EXPECT_EQ(mp3_playback(path.c_str()), 1);
  EXPECT_THAT(take_messages(), ElementsAre("open file " + path + " failed "));
  EXPECT_THAT(board_.events(), IsEmpty());
  expect_all_closed();
}

TEST_F(Mp3Failures, FailsForReadOnlyFile) {
  const std::string path = file(silence(4));
  ::chmod(path.c_str(), 0444);
  board_.open_to_everyone();
  {
    const as_nobody user;
    EXPECT_EQ(mp3_playback(path.c_str()), 1);
  }
  EXPECT_THAT(take_messages(), ElementsAre("open file " + path + " failed "));
  expect_nothing_heard();
  expect_all_closed();
}

TEST_F(Mp3Failures, FailsForDirectory) {
  const std::string path = board_.path("tmp");
  EXPECT_EQ(mp3_playback(path.c_str()), 1);
  EXPECT_THAT(take_messages(), ElementsAre("open file " + path + " failed "));
  expect_all_closed();
}

TEST_F(Mp3Failures, LeavesEmptyFileOpen) {
  EXPECT_EQ(play({}), 2);
  EXPECT_THAT(take_messages(), ElementsAre("fstat failed:"));
  EXPECT_THAT(board_.events(), IsEmpty());
  EXPECT_EQ(left_open(), 1U);
  EXPECT_EQ(h_snd_playback, nullptr);
}

TEST_F(Mp3Failures, LengthIsThatOfItsLow32Bits) {
  const std::string path = file(silence(4));
  std::filesystem::resize_file(path, uintmax_t{1} << 32);
  EXPECT_EQ(mp3_playback(path.c_str()), 0);
  EXPECT_THAT(take_messages(), IsEmpty());
  expect_all_closed();
}

TEST_F(Mp3Failures, LeavesFileWithoutStatusOpen) {
  const std::string path = file(silence(4));
  reported_status = {number_of(path), true, 0};
  EXPECT_EQ(mp3_playback(path.c_str()), 2);
  EXPECT_THAT(take_messages(), ElementsAre("fstat failed:"));
  EXPECT_EQ(left_open(), 1U);
  EXPECT_EQ(h_snd_playback, nullptr);
}

TEST_F(Mp3Failures, PlaysUnreadableFileAsSilence) {
  const bytes whole = encode();
  bytes expected = first_bytes(whole, whole.size() - 500);
  const std::string path = file(expected);
  expected.resize(whole.size());
  const decoded_mp3 decoded = decode_mp3(expected);
  reported_status = {number_of(path), false, 500};
  EXPECT_EQ(mp3_playback(path.c_str()), 0);
  EXPECT_TRUE(are_same(take_played(), on_both_sides(decoded.samples)));
  EXPECT_EQ(take_messages(), decoded.errors);
  expect_all_closed();
}

TEST_F(Mp3Failures, FailsWithoutMemory) {
  const std::string path = file(silence(4));
  refused_size = 4 * 384 + 1;
  const int32_t result = mp3_playback(path.c_str());
  refused_size = 0;
  EXPECT_EQ(result, 1);
  EXPECT_THAT(take_messages(), ElementsAre("not enough memory"));
  EXPECT_THAT(board_.events(), IsEmpty());
  expect_all_closed();
}

TEST_F(Mp3Failures, KeepsFileAndMemoryWithoutDevice) {
  ::setenv("ALSA_CONFIG_PATH", "/dev/null", 1);
  const std::string path = file(silence(1000));
  const leak_on_purpose keeping;
  const size_t before = allocated_bytes();
  EXPECT_EQ(mp3_playback(path.c_str()), 1);
  EXPECT_EQ((allocated_bytes() - before) / (1000 * 384), 1U);
  EXPECT_THAT(errors_.take(), EndsWith("open PCM device failed error!\n"));
  EXPECT_THAT(take_messages(), ElementsAre("set_mp3_param failed:"));
  EXPECT_EQ(left_open(), 1U);
  EXPECT_EQ(h_snd_playback, nullptr);
  expect_nothing_heard();
}

TEST_F(Mp3Failures, LeavesUnconfigurableDeviceOpen) {
  board_.set_fault("rate", "sound");
  const std::string path = file(silence(1000));
  const leak_on_purpose keeping;
  const size_t before = allocated_bytes();
  EXPECT_EQ(mp3_playback(path.c_str()), 1);
  EXPECT_EQ((allocated_bytes() - before) / (1000 * 384), 1U);
  EXPECT_EQ(errors_.take(), "snd_pcm_hw_params_set_rate_near error!\n");
  EXPECT_THAT(take_messages(), ElementsAre("set_mp3_param failed:"));
  EXPECT_NE(h_snd_playback, nullptr);
  expect_nothing_heard();

  ::snd_pcm_close(h_snd_playback);
  h_snd_playback = nullptr;
  EXPECT_EQ(left_open(), 1U);
  board_.clear_faults();
  EXPECT_EQ(mp3_playback(path.c_str()), 0);
  EXPECT_EQ(left_open(), 1U);
}

TEST_F(Mp3Failures, LeavesDeviceForNextWavToClose) {
  const leak_on_purpose keeping;
  board_.set_fault("rate", "sound");
  EXPECT_EQ(play(silence(4)), 1);
  board_.clear_faults();
  const std::string wav = file(bytes(1044));
  EXPECT_EQ(wav_playback(wav.c_str()), 0); // the card is taken
  EXPECT_EQ(h_snd_playback, nullptr);
  EXPECT_EQ(wav_playback(wav.c_str()), 1);
  EXPECT_TRUE(are_same(take_played(), bytes(2000)));
}

TEST_F(Mp3Failures, ReportsAndSkipsFailedWrites) {
  board_.set_fault("write", "sound", "EINVAL");
  EXPECT_EQ(play(silence(3)), 0);
  EXPECT_THAT(take_messages(), ElementsAre("write error: Invalid argument", "-EINVAL error!",
                                           "write error: Invalid argument", "-EINVAL error!"));
  expect_all_closed();
}

} // namespace
} // namespace dravik::test

extern "C" int fstat(int descriptor, struct stat *status) noexcept {
  static const auto next = dravik::test::next_call<int(int, struct stat *)>("fstat");
  const auto &reported = dravik::test::reported_status;
  const int result = next(descriptor, status);
  if (result != 0 || reported.file != status->st_ino)
    return result;
  status->st_size += reported.more_bytes;
  return reported.fails ? -1 : 0;
}
