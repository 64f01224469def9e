// MP3 files on the simulated sound card.
#pragma once

#include "sound/card_stage.hpp"
#include "sound/mp3_files.hpp"

namespace dravik::test {

class Mp3Player : public card_fixture {
protected:
  /// A quarter of a second of music.
  bytes encode(const words &options = {"-b", "64"}, uint32_t rate_hz = 48000, uint32_t channels = 1) const {
    return encode(music(rate_hz, channels, 250), options, rate_hz, channels);
  }
  bytes encode(const bytes &samples, const words &options, uint32_t rate_hz, uint32_t channels) const {
    bytes mp3 = encode_mp3(board_.path("tmp"), samples, rate_hz, channels, options);
    EXPECT_FALSE(mp3.empty()) << "LAME is needed: apt-get install lame";
    return mp3;
  }

  int32_t play(const bytes &content) const { return mp3_playback(file(content).c_str()); }

  /// Play a file, compare the recording and the log with its decoding, and return that.
  decoded_mp3 expect_as_decoded(const bytes &content) {
    decoded_mp3 expected = decode_mp3(content);
    writes = {};
    EXPECT_EQ(play(content), 0);
    EXPECT_TRUE(are_same(take_played(), on_both_sides(expected.samples)));
    EXPECT_EQ(take_messages(), expected.errors);
    const std::vector<size_t> offered{writes.offered.begin(), writes.offered.end()};
    EXPECT_EQ(offered, expected.lengths);
    expect_all_closed();
    return expected;
  }
};

} // namespace dravik::test
