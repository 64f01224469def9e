// MP3 files: each sample on the card and each logged error, compared with a decoding by hand.

#include "sound/mp3_stage.hpp"
#include "support/emulation.hpp"

#include <algorithm>
#include <gmock/gmock.h>

namespace dravik::test {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

struct encoding {
  const char *name;
  uint32_t rate_hz;
  uint32_t channels;
  words options;
};

void PrintTo(const encoding &one, std::ostream *stream) {
  *stream << one.name;
}

class Mp3Encodings : public Mp3Player, public testing::WithParamInterface<encoding> {};

TEST_P(Mp3Encodings, AreHeardAsDecoded) {
  const encoding &one = GetParam();
  const decoded_mp3 decoded = expect_as_decoded(encode(one.options, one.rate_hz, one.channels));
  // A quarter of a second, but for the last frame, which has no data after it.
  EXPECT_GE(decoded.samples.size() / 2, one.rate_hz / 4 - 1152);
}

INSTANTIATE_TEST_SUITE_P(All, Mp3Encodings,
                         testing::Values(encoding{"Mono32kbit", 48000, 1, {"-b", "32"}},
                                         encoding{"Mono128kbit", 48000, 1, {"-b", "128"}},
                                         encoding{"Mono320kbit", 48000, 1, {"-b", "320"}},
                                         encoding{"Stereo64kbit", 44100, 2, {"-m", "s", "-b", "64"}},
                                         encoding{"Stereo320kbit", 48000, 2, {"-m", "s", "-b", "320"}},
                                         encoding{"TwoLanguages", 48000, 2, {"-m", "d", "-b", "192"}},
                                         encoding{"JointStereo128kbit", 44100, 2, {"-m", "j", "-b", "128"}},
                                         encoding{"MiddleAndSide", 48000, 2, {"-m", "f", "-b", "160"}},
                                         encoding{"VariableRate", 48000, 2, {"-V", "2"}},
                                         encoding{"VariableRateMono", 44100, 1, {"-V", "6"}},
                                         encoding{"AverageRate", 44100, 2, {"--abr", "150"}},
                                         encoding{"Checksums", 44100, 2, {"-p", "-b", "128"}},
                                         encoding{"FreeFormat", 44100, 2, {"--freeformat", "-b", "200"}},
                                         encoding{"WithoutReservoir", 48000, 1, {"--nores", "-b", "64"}},
                                         encoding{"Rate8kHz", 8000, 1, {"-b", "16"}},
                                         encoding{"Rate11kHz", 11025, 2, {"-b", "32"}},
                                         encoding{"Rate12kHz", 12000, 1, {"-b", "24"}},
                                         encoding{"Rate16kHz", 16000, 2, {"-b", "48"}},
                                         encoding{"Rate22kHz", 22050, 1, {"-b", "32"}},
                                         encoding{"Rate24kHz", 24000, 2, {"-V", "4"}},
                                         encoding{"Rate32kHz", 32000, 2, {"-b", "96"}}),
                         [](const auto &one) { return one.param.name; });

TEST_F(Mp3Player, PlaysOtherLayers) {
  // 48000 Hz, one channel: layer I of 128 kbit/s has 384 samples in 128 bytes,
  // layer II of 64 kbit/s has 1152 in 192.
  const bytes layer1 = silent_frames({0xFF, 0xFF, 0x44, 0xC0}, 128, 5);
  EXPECT_THAT(expect_as_decoded(layer1).lengths, ElementsAre(384U, 384U, 384U, 384U));
  const bytes layer2 = silent_frames({0xFF, 0xFD, 0x44, 0xC0}, 192, 4);
  EXPECT_THAT(expect_as_decoded(layer2).lengths, ElementsAre(1152U, 1152U, 1152U));
}

TEST_F(Mp3Player, SkipsLastFrameWithoutDataAfterIt) {
  EXPECT_EQ(play(silence(3)), 0);
  EXPECT_THAT(writes.offered, ElementsAre(1152UL, 1152UL));
  EXPECT_TRUE(are_same(take_played(), bytes(2 * 1152 * 4)));
  EXPECT_THAT(take_messages(), IsEmpty());
  expect_all_closed();
}

TEST_F(Mp3Player, PlaysEncodedTone) {
  bytes tone;
  for (int i = 0; i < 48000 / 2; ++i) // a square wave of 1000 Hz
    tone.insert(tone.end(), {0, static_cast<uint8_t>(i / 24 % 2 == 0 ? 0x20 : 0xE0)});
  EXPECT_EQ(play(encode(tone, {"-b", "128"}, 48000, 1)), 0);
  const bytes played = take_played();
  ASSERT_GT(played.size(), 4 * 20000U);
  int ups = 0;
  for (size_t i = 10000; i < 14800; ++i)
    ups += (played[4 * i - 3] & 0x80) != 0 && (played[4 * i + 1] & 0x80) == 0;
  EXPECT_EQ(ups, 100);
}

/// Samples for the left side, silence on the right one.
bytes on_the_left(const bytes &samples) {
  bytes both;
  for (size_t i = 0; i + 1 < samples.size(); i += 2)
    both.insert(both.end(), {samples[i], samples[i + 1], 0, 0});
  return both;
}

bytes with_sides_changed(const bytes &both) {
  bytes changed;
  for (size_t i = 0; i + 3 < both.size(); i += 4)
    changed.insert(changed.end(), {both[i + 2], both[i + 3], both[i], both[i + 1]});
  return changed;
}

int loudest(const bytes &samples) {
  int most = 0;
  for (size_t i = 0; i + 1 < samples.size(); i += 2)
    most = std::max(most, std::abs(static_cast<int16_t>(samples[i] | samples[i + 1] << 8)));
  return most;
}

TEST_F(Mp3Player, PlaysLeftChannel) {
  const words options = {"-m", "s", "-b", "192"};
  const bytes left = on_the_left(music(48000, 1, 200));
  EXPECT_EQ(play(encode(left, options, 48000, 2)), 0);
  EXPECT_GT(loudest(take_played()), 10000);
  EXPECT_EQ(play(encode(with_sides_changed(left), options, 48000, 2)), 0);
  EXPECT_LT(loudest(take_played()), 100);
}

TEST_F(Mp3Player, ClipsLouderThanFullScale) {
  bytes loud;
  for (int i = 0; i < 10000; ++i) // a square wave as high as can be
    loud.insert(loud.end(), {static_cast<uint8_t>(i / 50 % 2 == 0 ? 0xFF : 0x00),
                             static_cast<uint8_t>(i / 50 % 2 == 0 ? 0x7F : 0x80)});
  const decoded_mp3 decoded = expect_as_decoded(encode(loud, {"-b", "64", "--scale", "1.5"}, 48000, 1));
  const auto has = [&decoded](uint8_t low, uint8_t high) {
    size_t count = 0;
    for (size_t i = 0; i + 1 < decoded.samples.size(); i += 2)
      count += decoded.samples[i] == low && decoded.samples[i + 1] == high;
    return count;
  };
  EXPECT_GT(has(0xFF, 0x7F), 100U);
  EXPECT_GT(has(0x00, 0x80), 100U);
}

TEST_F(Mp3Player, SkipsTags) {
  bytes cover = {0xFF, 0xD8, 0xFF, 0xE0, 0, 16, 'J', 'F', 'I', 'F', 0};
  std::mt19937 random{3};
  append(cover, random_bytes(random, 3000));
  write_file(board_.path("cover.jpg"), cover);
  const words common = {"-b", "64", "--tt", "Crossing the bridge at night", "--ta", "\xC3\x89ric"};
  for (const words &tag :
       {words{"--id3v1-only"}, words{"--id3v2-only"}, words{"--add-id3v2", "--pad-id3v2-size", "500"},
        words{"--id3v2-only", "--ti", board_.path("cover.jpg")}}) {
    SCOPED_TRACE(testing::PrintToString(tag));
    words options = common;
    options.insert(options.end(), tag.begin(), tag.end());
    const decoded_mp3 decoded = expect_as_decoded(encode(options));
    EXPECT_GE(decoded.samples.size() / 2, 8000U);
  }
}

TEST_F(Mp3Player, SkipsFrameWithoutHeader) {
  bytes file = silence(8);
  std::fill_n(file.begin() + 3 * 384, 4, 0);
  const decoded_mp3 decoded = expect_as_decoded(file);
  EXPECT_THAT(decoded.errors,
              ElementsAre("mad_flow error: decoding  0x0101 (lost synchronization) at byte offset 1152"));
  EXPECT_THAT(decoded.lengths, SizeIs(6));
}

TEST_F(Mp3Player, SkipsFrameWithInvalidChecksum) {
  bytes file = encode({"-b", "64", "-p", "--nores", "-t"});
  file[5 * 192 + 10] ^= 0x10;
  EXPECT_THAT(expect_as_decoded(file).errors,
              ElementsAre("mad_flow error: decoding  0x0201 (CRC check failed) at byte offset 960"));
}

TEST_F(Mp3Player, PlaysFileWithoutItsBeginning) {
  bytes file = encode({"-b", "64", "-t"});
  file.erase(file.begin(), file.begin() + 5 * 192); // and with it what later frames have there
  EXPECT_THAT(expect_as_decoded(file).errors,
              Contains("mad_flow error: decoding  0x0235 (bad main_data_begin pointer) at byte offset 0"));
}

TEST_F(Mp3Player, PlaysTruncatedFile) {
  const bytes whole = encode();
  for (size_t length = whole.size(); length > whole.size() - 400; length -= 7)
    expect_as_decoded(first_bytes(whole, length));
  for (size_t length = 1; length < 30; ++length)
    expect_as_decoded(first_bytes(whole, length));
}

TEST_F(Mp3Player, PlaysFileDamagedAnywhere) {
  const std::vector<bytes> wholes = {encode(), encode({"-m", "j", "-b", "128", "-p"}, 44100, 2),
                                     encode({"-V", "4"}, 24000, 2)};
  std::mt19937 random{7};
  for (int i = 0; i < rounds(60); ++i) {
    bytes file = wholes.at(static_cast<size_t>(i) % wholes.size());
    for (uint32_t count = random_in(random, 1, 40); count > 0; --count)
      file[random() % file.size()] = static_cast<uint8_t>(random());
    expect_as_decoded(file);
  }
}

TEST_F(Mp3Player, PlaysNothingOfOtherFormats) {
  std::mt19937 random{11};
  const decoded_mp3 noise = expect_as_decoded(random_bytes(random, 20000));
  EXPECT_THAT(noise.errors,
              Contains("mad_flow error: decoding  0x0101 (lost synchronization) at byte offset 0"));
  EXPECT_THAT(expect_as_decoded(bytes(1000, 0x00)).lengths, IsEmpty());
  EXPECT_THAT(expect_as_decoded(bytes(1000, 0xFF)).lengths, IsEmpty());
}

TEST_F(Mp3Player, SkipsGarbageAround) {
  std::mt19937 random{12};
  bytes file = random_bytes(random, 700);
  append(file, encode());
  append(file, random_bytes(random, 700));
  append(file, encode({"-b", "128"}));
  EXPECT_GE(expect_as_decoded(file).samples.size() / 2, 20000U);
}

} // namespace
} // namespace dravik::test
