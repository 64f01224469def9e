// Malicious archives: the tool reports them, and the library draws what the tool accepts.

#include "art_fixture.hpp"

#include "dravik-art/archive_file.hpp"
#include "dravik.h"
#include "support/guarded_memory.hpp"

#include <algorithm>
#include <cstring>
#include <random>

using namespace dravik;
using namespace dravik::art_test;

namespace {

class ArtHostile : public ArtTool {
protected:
  /// Run every command that reads an archive: each ends by itself, and complains in one line or not at all.
  void expect_calm(const bytes &archive) const {
    write_bytes(at("a.q7"), archive);
    const std::vector<std::vector<std::string>> all = {{"list", "a.q7"},
                                                       {"unpack", "a.q7", "pictures"},
                                                       {"unpack", "a.q7", "pictures", "--ramp", "none,grey"},
                                                       {"preview", "a.q7", "0", "out.png"},
                                                       {"preview", "a.q7", "all", "out.png"},
                                                       {"preview", "a.q7", "1", "out.png", "--ramps"}};
    for (const auto &words : all) {
      const run_result result = run(words);
      EXPECT_TRUE(result.status == 0 || result.status == 1) << words[0] << result.status;
      EXPECT_EQ(std::ranges::count(result.err, '\n'), result.status) << words[0] << result.err;
      EXPECT_EQ(contents().size() > 1, result.status == 0 && words[0] != "list") << words[0];
      std::filesystem::remove_all(at("pictures"));
      std::filesystem::remove(at("out.png"));
    }
  }
};

/// A screen that fills its pages, between protected ones.
class test_screen {
public:
  test_screen() {
    fbp = memory_.all().data();
    fbinfo[FBINFO_LINE_LENGTH] = side * 2;
    fbinfo[FBINFO_XRES] = fbinfo[FBINFO_YRES] = side;
    fbinfo[FBINFO_SCREEN_SIZE] = side * side * 2;
    set_theme_color(DRAVIK_DEFAULT_THEME);
  }

private:
  static constexpr uint32_t side = 64;
  test::guarded_memory memory_{side * side * 2};
  static_assert(side * side * 2 % test::guarded_memory::page_bytes == 0);
};

/// Whether the library loads the bytes as an archive, and draws each image of it.
bool library_draws(const bytes &archive) {
  static const test::guarded_memory memory{4096}; // the archive ends at a protected page
  uint32_t count = 0, size = 0;
  std::memcpy(&count, archive.data() + 8, 4);
  std::memcpy(&size, archive.data() + 12, 4);
  if (size != archive.size() || count == 0)
    return false;
  q7bmp_ptr[0] = memory.last(archive.size()).data();
  std::ranges::copy(archive, q7bmp_ptr[0]);
  q7bmp_str_num[0] = count;
  q7bmp_ptr_num = 1;
  bool is_drawn = true;
  for (uint32_t i = 0; i < count && is_drawn; ++i)
    is_drawn = fb_q7bmp_show(0, 0, 0, static_cast<int32_t>(i), DRAVIK_WHITE, DRAVIK_BLACK, 0) == 0;
  q7bmp_ptr[0] = nullptr;
  return is_drawn;
}

/// A valid archive with a few of its words and bytes changed, or its end.
bytes spoilt(std::mt19937 &random) {
  static constexpr uint32_t words[] = {0,  1,  2,  3,  5,  15,         16,         47,
                                       48, 49, 52, 53, 54, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
  const auto draw = [&random](size_t below) {
    return std::uniform_int_distribution<size_t>{0, below - 1}(random);
  };
  bytes archive = sound_archive();
  for (size_t changes = 1 + draw(3); changes != 0; --changes)
    switch (draw(4)) {
    case 0:
      archive[draw(archive.size())] = static_cast<uint8_t>(draw(256));
      break;
    case 1:
      archive.resize(48 + draw(10));
      put_word(archive, 12, static_cast<uint32_t>(archive.size()));
      break;
    default:
      put_word(archive, 8 + 4 * draw(10), words[draw(std::size(words))]);
    }
  return archive;
}

} // namespace

TEST_F(ArtHostile, DetectsArchiveCutAtAnyByte) {
  const bytes whole = sound_archive();
  for (size_t length = 0; length < whole.size(); ++length) {
    write_bytes(at("a.q7"), bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(length)));
    const run_result result = run({"check", "a.q7"});
    EXPECT_EQ(result.status, 1) << length;
    EXPECT_NE(result.out, "") << length;
    EXPECT_EQ(result.err, "") << length;
  }
}

TEST_F(ArtHostile, RejectsArchiveCutAtAnyByteInAllCommands) {
  const bytes whole = sound_archive();
  for (size_t length = 0; length < whole.size(); ++length)
    expect_calm(bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(length)));
}

TEST_F(ArtHostile, RecordsThatPointAnywhereDoNoHarm) {
  for (const uint32_t value : {0u, 1u, 40u, 47u, 54u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
    for (size_t word = 8; word < 48; word += 4) {
      bytes archive = sound_archive();
      put_word(archive, word, value);
      SCOPED_TRACE("word at " + std::to_string(word) + " is " + std::to_string(value));
      expect_calm(archive);
    }
}

TEST_F(ArtHostile, DrawsArchivesWithoutFindings) {
  const test_screen screen;
  ASSERT_TRUE(library_draws(sound_archive()));
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random{seed};
  int sound = 0, unsound = 0;
  for (int i = 0; i < 100000; ++i) {
    const bytes archive = spoilt(random);
    const bool is_sound = art::check(archive).empty();
    ++(is_sound ? sound : unsound);
    ASSERT_TRUE(!is_sound || library_draws(archive)) << testing::PrintToString(archive);
  }
  EXPECT_GT(sound, 100); // both happen
  EXPECT_GT(unsound, 10000);
}

TEST_F(ArtHostile, TerminatesOnAnyBytes) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random{seed};
  for (int i = 0; i < 20000; ++i) {
    bytes noise(std::uniform_int_distribution<size_t>{0, 200}(random));
    std::ranges::generate(noise, [&random] { return static_cast<uint8_t>(random()); });
    if (noise.size() >= 16 && i % 4 != 0) {
      std::ranges::copy(std::string_view{"KORVEXQ7"}, noise.begin());
      put_word(noise, 8, 1 + random() % 8);
      put_word(noise, 12, static_cast<uint32_t>(noise.size()));
    }
    EXPECT_LE(art::check(noise).size(), 101u);
  }
}
