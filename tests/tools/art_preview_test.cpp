// Previews: colours against a model of the ramps, sheets, enlargement, and what is refused.

#include "art_fixture.hpp"

#include "dravik-art/colours.hpp"

using namespace dravik;
using namespace dravik::art_test;

namespace {

/// Red, green and blue of a step in 5, 6 and 5 bits.
struct step_colour {
  int red, green, blue;
};

using ramp_model = std::function<step_colour(int)>;

rgba eight_bits(step_colour of) {
  return {uint8_t(of.red * 8 + of.red / 4), uint8_t(of.green * 4 + of.green / 16),
          uint8_t(of.blue * 8 + of.blue / 4), 255};
}

/// What artwork is painted with, by the names of its colours.
struct named_ramp {
  std::string background, foreground;
  ramp_model step;
};

step_colour white_on_black(int i) {
  return i == 0 ? step_colour{1, 1, 1} : step_colour{2 * i, 4 * i, 2 * i};
}
step_colour black_on_white(int i) {
  return {31 - 2 * i, 63 - 4 * i, 31 - 2 * i};
}
step_colour grey_on_black(int i) {
  return {i, 2 * i, i};
}

const std::vector<named_ramp> &ramps() {
  static const std::vector<named_ramp> all = {
      {"black", "white", white_on_black},
      {"black", "red",
       [](int i) {
         return step_colour{2 * i + 1, 0, 0};
       }},
      {"black", "green",
       [](int i) {
         return step_colour{0, 4 * i + 3, 0};
       }},
      {"black", "blue",
       [](int i) {
         return step_colour{0, 0, 2 * i + 1};
       }},
      {"black", "grey", grey_on_black},
      {"black", "yellow",
       [](int i) {
         return step_colour{2 * i + 1, 4 * i + 3, 0};
       }},
      {"black", "magenta",
       [](int i) {
         return i == 0 ? step_colour{1, 1, 1} : step_colour{2 * i + 1, 0, 2 * i + 1};
       }},
      {"black", "cyan",
       [](int i) {
         return step_colour{0, 4 * i + 3, 2 * i + 1};
       }},
      {"black", "orange",
       [](int i) {
         return step_colour{2 * i + 1, 2 * i, 0};
       }},
      {"white", "black", black_on_white},
      {"white", "red",
       [](int i) {
         return step_colour{31, 63 - 4 * i, 31 - 2 * i};
       }},
      {"white", "green",
       [](int i) {
         return step_colour{31 - 2 * i, 63, 31 - 2 * i};
       }},
      {"white", "blue",
       [](int i) {
         return step_colour{31 - 2 * i, 63 - 4 * i, 31};
       }},
      {"white", "grey",
       [](int i) {
         return step_colour{31 - i, 62 - 2 * i, 31 - i};
       }},
      {"white", "yellow",
       [](int i) {
         return step_colour{31, 63, 31 - 2 * i};
       }},
      {"white", "magenta",
       [](int i) {
         return step_colour{31, 63 - 4 * i, 31};
       }},
      {"white", "cyan",
       [](int i) {
         return step_colour{31 - 2 * i, 63, 31};
       }},
      {"white", "orange",
       [](int i) {
         return step_colour{31, 62 - 2 * i, 31 - 2 * i};
       }},
      {"theme", "white",
       [](int k) {
         return step_colour{1 + 30 * k / 15, 27 + 36 * k / 15, 23 + 8 * k / 15};
       }},
      {"theme", "black",
       [](int k) {
         return step_colour{1 - k / 15, 27 - 27 * k / 15, 23 - 23 * k / 15};
       }},
      {"magenta", "black",
       [](int i) {
         return step_colour{31 - 2 * i, 1, 31 - 2 * i};
       }},
      {"none", "black", black_on_white},
      {"none", "grey", grey_on_black},
      {"none", "white", white_on_black},
  };
  return all;
}

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

  void expect_ramp(const std::vector<std::string> &options, const ramp_model &model, bool skips_zero) const {
    std::vector<std::string> words = {"preview", "levels.q7", "0", "out.png"};
    words.insert(words.end(), options.begin(), options.end());
    expect_quiet_success(words);
    const png::picture shown = read_picture("out.png");
    ASSERT_EQ(shown.width, 16u);
    ASSERT_EQ(shown.height, 1u);
    for (int i = 0; i < 16; ++i)
      EXPECT_EQ(pixel(shown, static_cast<size_t>(i), 0), i == 0 && skips_zero ? rgba{} : eight_bits(model(i)))
          << testing::PrintToString(options) << " level " << i;
  }
};

} // namespace

TEST_F(ArtPreview, EveryNamedPairHasTheColoursOfItsRamp) {
  write_levels();
  for (const named_ramp &ramp : ramps())
    expect_ramp({"--bg", ramp.background, "--fg", ramp.foreground}, ramp.step, ramp.background == "none");
}

TEST_F(ArtPreview, PairsWithoutARampOfTheirOwnTakeTheLibrarysNearest) {
  write_levels();
  expect_ramp({"--bg", "black", "--fg", "0x1111"}, white_on_black, false);
  expect_ramp({"--bg", "white", "--fg", "#123456"}, black_on_white, false);
  expect_ramp({"--bg", "magenta", "--fg", "red"}, white_on_black, false);
  expect_ramp({"--bg", "red", "--fg", "white"}, white_on_black, false);
  expect_ramp({"--bg", "none", "--fg", "red"}, white_on_black, true);
}

TEST_F(ArtPreview, IsWhiteOnBlackByDefault) {
  write_levels();
  expect_ramp({}, white_on_black, false);
}

TEST_F(ArtPreview, ColoursMayBeNumbers) {
  write_levels();
  const auto green_on_white = [](int i) { return step_colour{31 - 2 * i, 63, 31 - 2 * i}; };
  expect_ramp({"--bg", "0xFFFF", "--fg", "0x7E0"}, green_on_white, false);
  expect_ramp({"--bg=#ffffff", "--fg=#00FF00"}, green_on_white, false);
  expect_ramp({"--bg", "0x0821", "--fg", "0x7BEF"}, grey_on_black, false);
}

TEST_F(ArtPreview, TheThemeColourCanBeChosen) {
  write_levels();
  // 0xF81F, the colour of the key for transparency, is a colour like any other here.
  const auto magenta_to_white = [](int k) { return step_colour{31, 63 * k / 15, 31}; };
  expect_ramp({"--bg", "theme", "--fg", "white", "--theme", "magenta"}, magenta_to_white, false);
  const auto to_black = [](int k) {
    return step_colour{10 - 10 * k / 15, 20 - 20 * k / 15, 30 - 30 * k / 15};
  };
  expect_ramp({"--bg", "theme", "--fg", "black", "--theme", "0x529E"}, to_black, false);
}

TEST_F(ArtPreview, TheListOfAllRampsIsComplete) {
  ASSERT_EQ(std::size(art::all_ramps), ramps().size());
  for (size_t i = 0; i < ramps().size(); ++i) {
    EXPECT_EQ(art::all_ramps[i].background, art::background_named(ramps()[i].background)) << i;
    EXPECT_EQ(art::all_ramps[i].foreground, art::colour_named(ramps()[i].foreground)) << i;
  }
}

TEST_F(ArtPreview, ImageMagickReadsTheSamePixels) {
  write_bytes(at("a.q7"), sound_archive()); // image 0: levels 1 2 3 / 4 5 15
  expect_quiet_success({"preview", "a.q7", "0", "out.png", "--bg", "none", "--fg", "grey"});
  convert({"out.png", "-depth", "8", "rgba:out.rgba"});
  bytes expected;
  for (const int level : {1, 2, 3, 4, 5, 15})
    for (const uint8_t part : eight_bits(grey_on_black(level)))
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

TEST_F(ArtPreview, ASheetShowsAllImagesInEqualCells) {
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
      EXPECT_EQ(pixel(sheet, x, y), eight_bits(black_on_white(levels[{x, y}]))) << x << ' ' << y;
}

TEST_F(ArtPreview, ASheetOnTheThemeHasTheThemeColourAround) {
  write_bytes(at("a.q7"), sound_archive());
  expect_quiet_success({"preview", "a.q7", "all", "out.png", "--bg", "theme", "--theme", "0x529E"});
  EXPECT_EQ(pixel(read_picture("out.png"), 0, 0), eight_bits({10, 20, 30}));
}

TEST_F(ArtPreview, ASheetOnNothingIsTransparent) {
  write_bytes(at("a.q7"), sound_archive());
  expect_quiet_success({"preview", "a.q7", "all", "out.png", "--bg", "none"});
  const png::picture sheet = read_picture("out.png");
  EXPECT_EQ(pixel(sheet, 0, 0), rgba{});
  EXPECT_EQ(pixel(sheet, 15, 4), rgba{}); // level 0
  EXPECT_EQ(pixel(sheet, 16, 4), eight_bits({30, 60, 30}));
}

TEST_F(ArtPreview, CellsPastTheLastImageStayTransparent) {
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
  EXPECT_EQ(pixel(sheet, 4, 13), eight_bits({30, 60, 30}));
  EXPECT_EQ(pixel(sheet, 9, 9), rgba{});
  EXPECT_EQ(pixel(sheet, 17, 17), rgba{});
}

TEST_F(ArtPreview, ARampSheetShowsEveryPairNineARow) {
  write_levels();
  expect_quiet_success({"preview", "levels.q7", "0", "out.png", "--ramps"});
  const png::picture sheet = read_picture("out.png");
  ASSERT_EQ(sheet.width, 9u * 24);
  ASSERT_EQ(sheet.height, 3u * 9);
  for (size_t i = 0; i < ramps().size(); ++i) {
    const size_t x = i % 9 * 24, y = i / 9 * 9;
    const bool skips_zero = ramps()[i].background == "none";
    for (int level = skips_zero ? 1 : 0; level < 16; ++level)
      EXPECT_EQ(pixel(sheet, x + 4 + static_cast<size_t>(level), y + 4), eight_bits(ramps()[i].step(level)))
          << i << " level " << level;
    EXPECT_EQ(pixel(sheet, x, y)[3], skips_zero ? 0 : 255) << i;
  }
}

TEST_F(ArtPreview, ReplacesAPictureButNoOtherFile) {
  write_bytes(at("a.q7"), sound_archive());
  convert({"xc:red", "out.png"});
  expect_quiet_success({"preview", "a.q7", "1", "out.png"});
  EXPECT_EQ(read_picture("out.png").width, 2u);
  expect_refusal({"preview", "a.q7", "1", "a.q7"}, 1, "a.q7: exists in another format; not replaced");
}

TEST_F(ArtPreview, RefusesAnImageThatIsNotThere) {
  write_bytes(at("a.q7"), sound_archive());
  for (const std::string index : {"2", "4294967294"})
    expect_refusal({"preview", "a.q7", index, "out.png"}, 1,
                   "a.q7: invalid image " + index + "; must be 0 to 1");
}

TEST_F(ArtPreview, RefusesAnImageThatCannotBeDrawn) {
  bytes archive = sound_archive();
  put_word(archive, 36, 2);
  write_bytes(at("a.q7"), archive);
  const std::string why = "a.q7: image 1: pixels end at byte 54; the file has 53 bytes";
  expect_refusal({"preview", "a.q7", "1", "out.png"}, 1, why);
  expect_refusal({"preview", "a.q7", "all", "out.png"}, 1, why);
  expect_quiet_success({"preview", "a.q7", "0", "out.png"}); // the other one can
}

TEST_F(ArtPreview, RefusesPicturesThatNoOneCouldLookAt) {
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

TEST_F(ArtPreview, KeepsTheOldPictureWhenItCannotWrite) {
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

TEST_F(ArtPreview, RefusesWrongUse) {
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
