// Players on the simulated sound card.

#include "sound/card_stage.hpp"
#include "support/next_call.hpp"

#include <algorithm>
#include <alsa/asoundlib.h>

namespace dravik::test {

watched_writes writes;

namespace {

constexpr const char *recording = "sound/played.wav";
constexpr const char *log_file = "tmp/dravik.log";
constexpr size_t wav_header_bytes = 44;

} // namespace

card_fixture::card_fixture() {
  board_.set("sound_clock", "none");
  board_.set("sound_record", "samples");
  writes = {};
  descriptors_ = open_descriptors();
}

std::string card_fixture::file(const bytes &content) const {
  const std::string path = board_.path("sound/file");
  board_.write("sound/file", "");
  write_file(path, content);
  return path;
}

bytes card_fixture::take_played() const {
  bytes played = read_file(board_.path(recording));
  board_.remove(recording);
  played.erase(played.begin(),
               played.begin() + static_cast<std::ptrdiff_t>(std::min(played.size(), wav_header_bytes)));
  return played;
}

std::vector<std::string> card_fixture::take_messages() const {
  std::vector<std::string> messages = log_messages(board_.path(log_file));
  board_.remove(log_file);
  return messages;
}

void card_fixture::expect_all_closed() {
  EXPECT_EQ(h_snd_playback, nullptr);
  EXPECT_EQ(open_descriptors(), descriptors_);
  EXPECT_EQ(errors_.take(), "");
}

bytes on_both_sides(const bytes &samples) {
  bytes both;
  for (size_t i = 0; i + 1 < samples.size(); i += 2)
    both.insert(both.end(), {samples[i], samples[i + 1], samples[i], samples[i + 1]});
  return both;
}

testing::AssertionResult are_same(const bytes &played, const bytes &expected) {
  if (played == expected)
    return testing::AssertionSuccess();
  const auto [at, _] = std::mismatch(played.begin(), played.end(), expected.begin(), expected.end());
  return testing::AssertionFailure() << played.size() << " bytes were played instead of " << expected.size()
                                     << "; byte " << at - played.begin() << " is the first other one";
}

} // namespace dravik::test

extern "C" snd_pcm_sframes_t snd_pcm_writei(snd_pcm_t *pcm, const void *data, snd_pcm_uframes_t frames) {
  static const auto next =
      dravik::test::next_call<snd_pcm_sframes_t(snd_pcm_t *, const void *, snd_pcm_uframes_t)>(
          "snd_pcm_writei");
  using dravik::test::writes;
  writes.offered.push_back(frames);
  if (writes.on_write)
    writes.on_write();
  const snd_pcm_sframes_t taken = next(pcm, data, frames);
  if (taken > 0)
    writes.taken += static_cast<unsigned long>(taken);
  return taken;
}
