// Previews: colours against a model of the ramps, sheets, enlargement, and what is rejected.

#include "art_fixture.hpp"

#include "dravik-art/colours.hpp"
#include "support/colour_ramps.hpp"

using namespace dravik;
using namespace dravik::art_test;
using namespace dravik::test;

namespace {

rgba eight_bits(uint16_t colour) {
  const int red = colour / 2048, green = colour / 32 % 64, blue = colour % 32;
  return {uint8_t(red * 8 + red / 4), uint8_t(green * 4 + green / 16), uint8_t(blue * 8 + blue / 4), 255};
}

rgba step_colour(int ramp, int step, uint16_t theme = DRAVIK_DEFAULT_THEME) {
  return eight_bits(ramp_step(ramp, step, theme));
}

/// A ramp of artwork, by the names of its colours.
struct named_ramp {
  const char *background, *foreground;
  int ramp;

  bool is_transparent() const { return background == std::string_view{"none"}; }
};

constexpr named_ramp ramps[] = {
    {"black", "white", DRAVIK_WHITE_ON_BLACK},     {"black", "red", DRAVIK_RED_ON_BLACK},
    {"black", "green", DRAVIK_GREEN_ON_BLACK},     {"black", "blue", DRAVIK_BLUE_ON_BLACK},
    {"black", "grey", DRAVIK_GREY_ON_BLACK},       {"black", "yellow", DRAVIK_YELLOW_ON_BLACK},
    {"black", "magenta", DRAVIK_MAGENTA_ON_BLACK}, {"black", "cyan", DRAVIK_CYAN_ON_BLACK},
    {"black", "orange", DRAVIK_ORANGE_ON_BLACK},   {"white", "black", DRAVIK_BLACK_ON_WHITE},
    {"white", "red", DRAVIK_RED_ON_WHITE},         {"white", "green", DRAVIK_GREEN_ON_WHITE},
    {"white", "blue", DRAVIK_BLUE_ON_WHITE},       {"white", "grey", DRAVIK_GREY_ON_WHITE},
    {"white", "yellow", DRAVIK_YELLOW_ON_WHITE},   {"white", "magenta", DRAVIK_MAGENTA_ON_WHITE},
    {"white", "cyan", DRAVIK_CYAN_ON_WHITE},       {"white", "orange", DRAVIK_ORANGE_ON_WHITE},
    {"theme", "white", DRAVIK_THEME_TO_WHITE},     {"theme", "black", DRAVIK_THEME_TO_BLACK},
    {"magenta", "black", DRAVIK_BLACK_ON_MAGENTA}, {"none", "black", DRAVIK_BLACK_ON_WHITE},
    {"none", "grey", DRAVIK_GREY_ON_BLACK},        {"none", "white", DRAVIK_WHITE_ON_BLACK},
};

rgba pixel(const png::picture &of, size_t x, size_t y) {
  const size_t at = (y * of.width + x) * 4;
  return {of.rgba.at(at), of.rgba.at(at + 1), of.rgba.at(at + 2), of.rgba.at(at + 3)};
}

class ArtPreview : public ArtTool {
protected:
  /// An archive of one image that shows the levels 0 to 15 from left to right.
  void write_levels() const {
    write_bytes(at("levels.q7"), archive_bytes{}
                                     .text("KORVEXQ7")
                                     .words({1, 40})
                                     .words({16, 1, 32, 0})
                                     .raw({0x01, 0x23, 0x45, 0x67, 0x89, 0xAB, 0xCD, 0xEF}));
  }

  void expect_ramp(const std::vector<std::string> &options, int ramp, bool is_transparent,
                   uint16_t theme = DRAVIK_DEFAULT_THEME) const {
    std::vector<std::string> words = {"preview", "levels.q7", "0", "out.png"};
    words.insert(words.end(), options.begin(), options.end());
    expect_quiet_success(words);
    const png::picture shown = read_picture("out.png");
    ASSERT_EQ(shown.width, 16u);
    ASSERT_EQ(shown.height, 1u);
    for (int i = 0; i < 16; ++i)
      EXPECT_EQ(pixel(shown, static_cast<size_t>(i), 0),
                i == 0 && is_transparent ? rgba{} : step_colour(ramp, i, theme))
          << testing::PrintToString(options) << " level " << i;
  }
};

} // namespace

TEST_F(ArtPreview, PaintsEveryNamedPairThroughItsRamp) {
  write_levels();
  for (const named_ramp &ramp : ramps)
    expect_ramp({"--bg", ramp.background, "--fg", ramp.foreground}, ramp.ramp, ramp.is_transparent());
}

TEST_F(ArtPreview, PaintsOtherPairsThroughRampOfLibrary) {
  write_levels();
  expect_ramp({"--bg", "black", "--fg", "0x1111"}, DRAVIK_WHITE_ON_BLACK, false);
  expect_ramp({"--bg", "white", "--fg", "#123456"}, DRAVIK_BLACK_ON_WHITE, false);
  expect_ramp({"--bg", "magenta", "--fg", "red"}, DRAVIK_WHITE_ON_BLACK, false);
  expect_ramp({"--bg", "red", "--fg", "white"}, DRAVIK_WHITE_ON_BLACK, false);
  expect_ramp({"--bg", "none", "--fg", "red"}, DRAVIK_WHITE_ON_BLACK, true);
}

TEST_F(ArtPreview, IsWhiteOnBlackByDefault) {
  write_levels();
  expect_ramp({}, DRAVIK_WHITE_ON_BLACK, false);
}

TEST_F(ArtPreview, AcceptsNumbersAsColours) {
  write_levels();
  expect_ramp({"--bg", "0xFFFF", "--fg", "0x7E0"}, DRAVIK_GREEN_ON_WHITE, false);
  expect_ramp({"--bg=#ffffff", "--fg=#00FF00"}, DRAVIK_GREEN_ON_WHITE, false);
  expect_ramp({"--bg", "0x0821", "--fg", "0x7BEF"}, DRAVIK_GREY_ON_BLACK, false);
}

TEST_F(ArtPreview, AcceptsThemeColour) {
  write_levels();
  // The colour of the key of BMP images has no special meaning here.
  expect_ramp({"--bg", "theme", "--fg", "white", "--theme", "magenta"}, DRAVIK_THEME_TO_WHITE, false,
              DRAVIK_MAGENTA);
  expect_ramp({"--bg", "theme", "--fg", "black", "--theme", "0x529E"}, DRAVIK_THEME_TO_BLACK, false, 0x529E);
}

TEST_F(ArtPreview, ListsAllRamps) {
  ASSERT_EQ(std::size(art::all_ramps), std::size(ramps));
  for (size_t i = 0; i < std::size(ramps); ++i) {
    EXPECT_EQ(art::all_ramps[i].background, art::background_named(ramps[i].background)) << i;
    EXPECT_EQ(art::all_ramps[i].foreground, art::colour_named(ramps[i].foreground)) << i;
  }
}

TEST_F(ArtPreview, WritesPixelsThatImageMagickReads) {
  write_bytes(at("a.q7"), sound_archive()); // image 0: levels 1 2 3 / 4 5 15
  expect_quiet_success({"preview", "a.q7", "0", "out.png", "--bg", "none", "--fg", "grey"});
  convert({"out.png", "-depth", "8", "rgba:out.rgba"});
  bytes expected;
  for (const int level : {1, 2, 3, 4, 5, 15})
    for (const uint8_t part : step_colour(DRAVIK_GREY_ON_BLACK, level))
      expected.push_back(part);
  EXPECT_EQ(read_bytes(at("out.rgba")), expected);
}

TEST_F(ArtPreview, EnlargesEachPixelToASquare) {
  write_bytes(at("a.q7"), sound_archive());
  expect_quiet_success({"preview", "a.q7", "0", "one.png"});
  expect_quiet_success({"preview", "a.q7", "0", "three.png", "--scale", "3"});
  const png::picture one = read_picture("one.png"), three = read_picture("three.png");
  ASSERT_EQ(three.width, 9u);
  ASSERT_EQ(three.height, 6u);
  for (size_t y = 0; y < 6; ++y)
    for (size_t x = 0; x < 9; ++x)
      EXPECT_EQ(pixel(three, x, y), pixel(one, x / 3, y / 3)) << x << ' ' << y;
}

TEST_F(ArtPreview, DrawsSheetInEqualCells) {
  write_bytes(at("a.q7"), sound_archive());
  expect_quiet_success({"preview", "a.q7", "all", "out.png", "--bg", "white", "--fg", "black"});
  const png::picture sheet = read_picture("out.png");
  // Cells are 3 + 8 by 2 + 8; two of them are nearest to a square side by side.
  ASSERT_EQ(sheet.width, 22u);
  ASSERT_EQ(sheet.height, 10u);
  std::map<std::pair<size_t, size_t>, int> levels = {
      {{4, 4}, 1},  {{5, 4}, 2},   {{6, 4}, 3}, {{4, 5}, 4}, {{5, 5}, 5}, {{6, 5}, 15}, // image 0
      {{15, 4}, 0}, {{16, 4}, 15}, // image 1, (11 - 2) / 2 in
  };
  for (size_t y = 0; y < 10; ++y)
    for (size_t x = 0; x < 22; ++x)
      EXPECT_EQ(pixel(sheet, x, y), step_colour(DRAVIK_BLACK_ON_WHITE, levels[{x, y}])) << x << ' ' << y;
}

TEST_F(ArtPreview, DrawsSheetOnThemeColour) {
  write_bytes(at("a.q7"), sound_archive());
  expect_quiet_success({"preview", "a.q7", "all", "out.png", "--bg", "theme", "--theme", "0x529E"});
  EXPECT_EQ(pixel(read_picture("out.png"), 0, 0), eight_bits(0x529E));
}

TEST_F(ArtPreview, DrawsTransparentSheet) {
  write_bytes(at("a.q7"), sound_archive());
  expect_quiet_success({"preview", "a.q7", "all", "out.png", "--bg", "none"});
  const png::picture sheet = read_picture("out.png");
  EXPECT_EQ(pixel(sheet, 0, 0), rgba{});
  EXPECT_EQ(pixel(sheet, 15, 4), rgba{}); // level 0
  EXPECT_EQ(pixel(sheet, 16, 4), eight_bits(rgb565(30, 60, 30)));
}

TEST_F(ArtPreview, LeavesCellsPastLastImageTransparent) {
  bytes archive = archive_bytes{}.text("KORVEXQ7").words({3, 67});
  for (uint32_t i = 0; i < 3; ++i) {
    const bytes record = archive_bytes{}.words({1, 1, 64 + i, 0});
    archive.insert(archive.end(), record.begin(), record.end());
  }
  archive.insert(archive.end(), 3, 0xF0);
  write_bytes(at("a.q7"), archive);
  expect_quiet_success({"preview", "a.q7", "all", "out.png"});
  const png::picture sheet = read_picture("out.png");
  ASSERT_EQ(sheet.width, 18u);
  ASSERT_EQ(sheet.height, 18u);
  EXPECT_EQ(pixel(sheet, 4, 13), eight_bits(rgb565(30, 60, 30)));
  EXPECT_EQ(pixel(sheet, 9, 9), rgba{});
  EXPECT_EQ(pixel(sheet, 17, 17), rgba{});
}

TEST_F(ArtPreview, DrawsRampSheetOfNinePairsPerRow) {
  write_levels();
  expect_quiet_success({"preview", "levels.q7", "0", "out.png", "--ramps"});
  const png::picture sheet = read_picture("out.png");
  ASSERT_EQ(sheet.width, 9u * 24);
  ASSERT_EQ(sheet.height, 3u * 9);
  for (size_t i = 0; i < std::size(ramps); ++i) {
    const size_t x = i % 9 * 24, y = i / 9 * 9;
    const bool skips_zero = ramps[i].is_transparent();
    for (int level = skips_zero ? 1 : 0; level < 16; ++level)
      EXPECT_EQ(pixel(sheet, x + 4 + static_cast<size_t>(level), y + 4), step_colour(ramps[i].ramp, level))
          << i << " level " << level;
    EXPECT_EQ(pixel(sheet, x, y)[3], skips_zero ? 0 : 255) << i;
  }
}

TEST_F(ArtPreview, ReplacesAImageButNoOtherFile) {
  write_bytes(at("a.q7"), sound_archive());
  convert({"xc:red", "out.png"});
  expect_quiet_success({"preview", "a.q7", "1", "out.png"});
  EXPECT_EQ(read_picture("out.png").width, 2u);
  expect_refusal({"preview", "a.q7", "1", "a.q7"}, 1, "a.q7: exists in another format; not replaced");
}

TEST_F(ArtPreview, RejectsAnImageThatIsNotThere) {
  write_bytes(at("a.q7"), sound_archive());
  for (const std::string index : {"2", "4294967294"})
    expect_refusal({"preview", "a.q7", index, "out.png"}, 1,
                   "a.q7: invalid image " + index + "; must be 0 to 1");
}

TEST_F(ArtPreview, RejectsAnImageThatCannotBeDrawn) {
  bytes archive = sound_archive();
  put_word(archive, 36, 2);
  write_bytes(at("a.q7"), archive);
  const std::string why = "a.q7: image 1: pixels end at byte 54; the file has 53 bytes";
  expect_refusal({"preview", "a.q7", "1", "out.png"}, 1, why);
  expect_refusal({"preview", "a.q7", "all", "out.png"}, 1, why);
  expect_quiet_success({"preview", "a.q7", "0", "out.png"}); // the other one can
}

TEST_F(ArtPreview, RejectsImagesThatNoOneCouldLookAt) {
  // Two images of 20000 pixels in a row and in a column: cells of 20008 x 20008.
  bytes archive = archive_bytes{}.text("KORVEXQ7").words({2, 48 + 10000 + 20000});
  const bytes records = archive_bytes{}.words({20000, 1, 48, 0, 1, 20000, 10048, 0});
  archive.insert(archive.end(), records.begin(), records.end());
  archive.resize(48 + 10000 + 20000);
  write_bytes(at("a.q7"), archive);
  expect_refusal({"preview", "a.q7", "all", "out.png"}, 1,
                 "output too large: 40016 x 20008 pixels times 1; must be at most 67108864 pixels");
  expect_refusal({"preview", "a.q7", "0", "out.png", "--scale", "64"}, 1,
                 "output too large: 20000 x 1 pixels times 64; must be at most 67108864 pixels");
  expect_quiet_success({"preview", "a.q7", "0", "out.png", "--scale", "8"});
}

TEST_F(ArtPreview, KeepsTheOldImageWhenItCannotWrite) {
  write_bytes(at("a.q7"), sound_archive());
  convert({"xc:red", "out.png"});
  expect_refusal({"preview", "a.q7", "0", "no/out.png"}, 1, "no/out.png: No such file or directory");
  std::filesystem::create_directory(at("folder"));
  expect_refusal({"preview", "a.q7", "0", "folder"}, 1, "folder: not a regular file; not replaced");
  const auto before = contents();
  const run_result result = run_with_full_disk("preview a.q7 0 out.png --ramps --scale 20");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "dravik-art: out.png: Write Error\n");
  EXPECT_TRUE(contents() == before);
}

TEST_F(ArtPreview, RejectsInvalidUsage) {
  write_bytes(at("a.q7"), sound_archive());
  const std::string colours = "; must be a name, 0x and RGB565, or # and RGB";
  const auto refuse = [&](std::vector<std::string> options, const std::string &line) {
    options.insert(options.begin(), {"preview", "a.q7", "0", "out.png"});
    expect_refusal(options, 2, "preview: " + line);
  };
  for (const std::string colour :
       {"", "pink", "0x", "0x12345", "0xG", "#12345", "#1234567", "#12345G", "7BEF", "-1", "0x-1"})
    refuse({"--bg", colour}, "invalid colour '" + colour + "'" + colours + ", theme or none");
  refuse({"--fg", "theme"}, "invalid colour 'theme'" + colours);
  refuse({"--fg", "none"}, "invalid colour 'none'" + colours);
  refuse({"--theme", "none"}, "invalid colour 'none'" + colours);
  for (const std::string scale : {"0", "65", "-1", "2x", "", "99999999999"})
    refuse({"--scale", scale}, "invalid --scale '" + scale + "'; must be 1 to 64");
  refuse({"--ramps", "--bg", "white"},
         "invalid combination; --ramps requires one index and excludes --bg and --fg");
  refuse({"--ramps=yes"}, "option '--ramps' accepts no value; try 'dravik-art preview --help'");
  for (const std::string index : {"first", "+1", "1.5", "4294967295", "99999999999", ""})
    expect_refusal({"preview", "a.q7", index, "out.png"}, 2,
                   "preview: invalid image '" + index + "'; must be an index or all");
}
