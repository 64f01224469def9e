// Unpacking, and packing of what was unpacked.

#include "art_fixture.hpp"

#include <algorithm>
#include <random>

using namespace dravik;
using namespace dravik::art_test;

namespace {

class ArtUnpack : public ArtTool {
protected:
  void expect_round_trip(const bytes &archive) const {
    write_bytes(at("a.q7"), archive);
    expect_quiet_success({"unpack", "a.q7", "pictures"});
    std::vector<std::string> words = {"pack", "again.q7"};
    for (const auto &entry : std::filesystem::directory_iterator(at("pictures")))
      words.push_back(entry.path().string());
    std::sort(words.begin() + 2, words.end());
    expect_quiet_success(words);
    EXPECT_EQ(read_bytes(at("again.q7")), archive);
    std::filesystem::remove_all(at("pictures"));
  }
};

/// An archive as a packer lays it out, of random images.
bytes random_archive(std::mt19937 &random, uint32_t count) {
  const auto draw = [&random](uint32_t most) {
    return std::uniform_int_distribution<uint32_t>{0, most}(random);
  };
  bytes table, pixels;
  for (uint32_t i = 0; i < count; ++i) {
    const uint32_t width = 1 + draw(20), height = 1 + draw(20);
    const auto start = static_cast<uint32_t>(16 * (count + 1) + pixels.size());
    const bytes record = archive_bytes{}.words({width, height, start, 0});
    table.insert(table.end(), record.begin(), record.end());
    for (uint32_t y = 0; y < height; ++y)
      for (uint32_t x = 0; x < width; x += 2)
        pixels.push_back(static_cast<uint8_t>(draw(255) & (x + 1 < width ? 0xFF : 0xF0)));
  }
  bytes archive = archive_bytes{}
                      .text("KORVEXQ7")
                      .words({count, static_cast<uint32_t>(16 + table.size() + pixels.size())});
  archive.insert(archive.end(), table.begin(), table.end());
  archive.insert(archive.end(), pixels.begin(), pixels.end());
  return archive;
}

} // namespace

TEST_F(ArtUnpack, WritesLevelsAsOpaqueGreys) {
  write_bytes(at("a.q7"), sound_archive());
  expect_quiet_success({"unpack", "a.q7", "pictures"});
  const png::picture first = read_picture("pictures/000.png"), second = read_picture("pictures/001.png");
  EXPECT_EQ(first.width, 3u);
  EXPECT_EQ(first.height, 2u);
  bytes expected;
  for (const int level : {1, 2, 3, 4, 5, 15})
    expected.insert(expected.end(), {uint8_t(level * 17), uint8_t(level * 17), uint8_t(level * 17), 255});
  EXPECT_EQ(first.rgba, expected);
  EXPECT_EQ(second.rgba, (bytes{0, 0, 0, 255, 255, 255, 255, 255}));
  EXPECT_EQ(contents().size(), 4u); // the archive, the directory and its two files
}

TEST_F(ArtUnpack, RestoresBytesIfPackedAgain) {
  expect_round_trip(sound_archive());
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random{seed};
  for (const uint32_t count : {1u, 2u, 7u, 30u})
    expect_round_trip(random_archive(random, count));
}

TEST_F(ArtUnpack, NamesSortByNumberBeyondAThousand) {
  std::mt19937 random{1};
  expect_round_trip(random_archive(random, 1001));
  write_bytes(at("a.q7"), random_archive(random, 1001));
  expect_quiet_success({"unpack", "a.q7", "pictures/"});
  EXPECT_TRUE(std::filesystem::exists(at("pictures/0000.png")));
  EXPECT_TRUE(std::filesystem::exists(at("pictures/1000.png")));
}

TEST_F(ArtUnpack, PaintsThroughRamp) {
  write_bytes(at("a.q7"), sound_archive());
  expect_quiet_success({"unpack", "a.q7", "red", "--ramp", "black,red"});
  EXPECT_EQ(read_picture("red/001.png").rgba, (bytes{8, 0, 0, 255, 255, 0, 0, 255})); // red 1 and red 31
  expect_quiet_success({"unpack", "a.q7", "clear", "--ramp", "none,white"});
  EXPECT_EQ(read_picture("clear/001.png").rgba, (bytes{0, 0, 0, 0, 247, 243, 247, 255})); // 30, 60, 30
  expect_quiet_success({"unpack", "a.q7", "theme", "--ramp", "theme,white", "--theme", "blue"});
  EXPECT_EQ(read_picture("theme/001.png").rgba, (bytes{0, 0, 255, 255, 255, 255, 255, 255}));
}

TEST_F(ArtUnpack, AcceptsEmptyDirectory) {
  write_bytes(at("a.q7"), sound_archive());
  std::filesystem::create_directory(at("pictures"));
  expect_quiet_success({"unpack", "a.q7", "pictures"});
  EXPECT_TRUE(std::filesystem::exists(at("pictures/001.png")));
}

TEST_F(ArtUnpack, LeavesNamesAloneThatAreTaken) {
  write_bytes(at("a.q7"), sound_archive());
  std::filesystem::create_directory(at("full"));
  write_text(at("full/note.txt"), "mine");
  expect_refusal({"unpack", "a.q7", "full"}, 1, "full: Directory not empty");
  expect_refusal({"unpack", "a.q7", "full/note.txt"}, 1, "full/note.txt: Not a directory");
  expect_refusal({"unpack", "a.q7", "none/pictures"}, 1, "none/pictures: No such file or directory");
}

TEST_F(ArtUnpack, RejectsAnImageWithoutPixels) {
  bytes archive = sound_archive();
  put_word(archive, 36, 0);
  write_bytes(at("a.q7"), archive);
  expect_refusal({"unpack", "a.q7", "pictures"}, 1, "a.q7: image 1: no pixels: 2 x 0");
}

TEST_F(ArtUnpack, RejectsManyImagesOfTheSameBytes) {
  // Ten images that all claim the same hundred bytes of a file of 276.
  bytes archive = archive_bytes{}.text("KORVEXQ7").words({10, 276});
  for (int i = 0; i < 10; ++i) {
    const bytes record = archive_bytes{}.words({10, 20, 176, 0});
    archive.insert(archive.end(), record.begin(), record.end());
  }
  archive.resize(276);
  write_bytes(at("a.q7"), archive);
  expect_refusal({"unpack", "a.q7", "pictures"}, 1, "images share pixels; try 'dravik-art check'");
}

TEST_F(ArtUnpack, ClearsAwayWhatItBeganWhenAImageCannotBeWritten) {
  // A PNG is at most a million pixels wide; the image before it is fine.
  bytes archive = archive_bytes{}.text("KORVEXQ7").words({2, 49 + 500001});
  const bytes records = archive_bytes{}.words({1, 1, 48, 0, 1000001, 1, 49, 0});
  archive.insert(archive.end(), records.begin(), records.end());
  archive.resize(49 + 500001);
  write_bytes(at("a.q7"), archive);
  const auto before = contents();
  const run_result result = run({"unpack", "a.q7", "pictures"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err.rfind("dravik-art: pictures/001.png: ", 0), 0u) << result.err;
  EXPECT_EQ(result.err.find('\n'), result.err.size() - 1);
  EXPECT_TRUE(contents() == before);
}

TEST_F(ArtUnpack, LeavesNothingWhenTheDiskIsFull) {
  std::mt19937 random{1};
  bytes archive =
      archive_bytes{}.text("KORVEXQ7").words({2, 48 + 1 + 2048}).words({1, 1, 48, 0, 64, 64, 49, 0});
  archive.resize(49 + 2048);
  std::generate(archive.begin() + 49, archive.end(), [&random] { return static_cast<uint8_t>(random()); });
  write_bytes(at("a.q7"), archive);
  const auto before = contents();
  const run_result result = run_with_full_disk("unpack a.q7 pictures");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "dravik-art: pictures/001.png: Write Error\n");
  EXPECT_TRUE(contents() == before);
}

TEST_F(ArtUnpack, RejectsInvalidUsage) {
  write_bytes(at("a.q7"), sound_archive());
  const std::string colours = "; must be a name, 0x and RGB565, or # and RGB";
  const std::string hint = "; try 'dravik-art unpack --help'";
  expect_refusal({"unpack", "a.q7"}, 2, "unpack: missing DIRECTORY" + hint);
  expect_refusal({"unpack", "a.q7", "b", "c"}, 2, "unpack: extra argument 'c'" + hint);
  expect_refusal({"unpack", "a.q7", "b", "--ramp", "red"}, 2, "unpack: invalid --ramp 'red'; must be BG,FG");
  expect_refusal({"unpack", "a.q7", "b", "--ramp", "red,"}, 2, "unpack: invalid colour ''" + colours);
  expect_refusal({"unpack", "a.q7", "b", "--theme", "loud"}, 2, "unpack: invalid colour 'loud'" + colours);
}
