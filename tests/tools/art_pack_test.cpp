// Packing: the bytes of archives, the rule of levels, and what is rejected.

#include "art_fixture.hpp"
#include "support/paths.hpp"

#include <cmath>
#include <sys/stat.h>
#include <zlib.h>

using namespace dravik;
using namespace dravik::art_test;

namespace {

using ArtPack = ArtTool;
using ArtLevels = ArtTool;

constexpr rgba opaque(uint8_t grey) {
  return {grey, grey, grey, 255};
}

/// The levels that packing an image gives, one per pixel.
std::vector<int> levels_of(const bytes &archive, uint32_t width, uint32_t height) {
  std::vector<int> levels;
  const size_t row_bytes = (width + 1) / 2;
  for (size_t y = 0; y < height; ++y)
    for (size_t x = 0; x < width; ++x) {
      const uint8_t both = archive.at(32 + y * row_bytes + x / 2);
      levels.push_back(x % 2 == 0 ? both >> 4 : both & 15);
    }
  return levels;
}

void put_chunk(bytes &file, const std::string &name, const bytes &content) {
  const auto put = [&file](uint64_t value) {
    for (int shift = 24; shift >= 0; shift -= 8)
      file.push_back(static_cast<uint8_t>(value >> shift));
  };
  put(content.size());
  bytes body{name.begin(), name.end()};
  body.insert(body.end(), content.begin(), content.end());
  file.insert(file.end(), body.begin(), body.end());
  put(::crc32(0, body.data(), static_cast<uInt>(body.size())));
}

/// A PNG that claims a size of 8-bit grey and has next to no pixels.
bytes claim(uint32_t width, uint32_t height) {
  bytes file = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  bytes head;
  for (const uint32_t side : {width, height})
    for (int shift = 24; shift >= 0; shift -= 8)
      head.push_back(static_cast<uint8_t>(side >> shift));
  head.insert(head.end(), {8, 0, 0, 0, 0});
  put_chunk(file, "IHDR", head);
  put_chunk(file, "IDAT", {0x78, 0x9C, 0x03, 0x00, 0x00, 0x00, 0x00, 0x01});
  put_chunk(file, "IEND", {});
  return file;
}

} // namespace

TEST_F(ArtPack, PacksImageOfOddWidthByHand) {
  // Levels 0 1 2 / 13 14 15: the nearest greys, 17 a level.
  const uint8_t greys[2][3] = {{0, 17, 34}, {221, 238, 255}};
  write_picture("a.png", make_picture(3, 2, [&](uint32_t x, uint32_t y) { return opaque(greys[y][x]); }));
  expect_quiet_success({"pack", "out.q7", "a.png"});
  const bytes expected = {'K', 'O', 'R', 'V', 'E', 'X', 'Q', '7', 1, 0, 0, 0, 36, 0, 0,    0,    3,    0,
                          0,   0,   2,   0,   0,   0,   32,  0,   0, 0, 0, 0, 0,  0, 0x01, 0x20, 0xDE, 0xF0};
  EXPECT_EQ(read_bytes(at("out.q7")), expected);
}

TEST_F(ArtPack, PacksImagesInOrderOfArguments) {
  convert({"-size", "2x1", "xc:white", "b.png"});
  convert({"-size", "1x3", "xc:black", "a.png"});
  convert({"-size", "4x1", "xc:#333333", "-depth", "16", "c.png"}); // 51 of 255: level 3
  expect_quiet_success({"pack", "out.q7", "b.png", "a.png", "c.png", "b.png"});
  const bytes expected = archive_bytes{}
                             .text("KORVEXQ7")
                             .words({4, 87})
                             .words({2, 1, 80, 0, 1, 3, 81, 0, 4, 1, 84, 0, 2, 1, 86, 0})
                             .raw({0xFF, 0, 0, 0, 0x33, 0x33, 0xFF});
  EXPECT_EQ(read_bytes(at("out.q7")), expected);
}

TEST_F(ArtPack, ReadsPalettesBitmapsSixteenBitsAndInterlacedImages) {
  convert({"-size", "2x1", "xc:white", "-type", "bilevel", "PNG8:palette.png"});
  convert({"-size", "2x1", "xc:white", "-type", "bilevel", "-define", "png:bit-depth=1", "bit.png"});
  convert(
      {"-size", "2x1", "xc:gray(53.34%)", "-define", "png:exclude-chunks=gAMA", "-depth", "16", "deep.png"});
  convert({"-size", "2x1", "xc:white", "-interlace", "PNG", "laced.png"});
  expect_quiet_success({"pack", "out.q7", "palette.png", "bit.png", "deep.png", "laced.png"});
  const bytes packed = read_bytes(at("out.q7"));
  ASSERT_EQ(packed.size(), 84u);
  EXPECT_EQ(bytes(packed.begin() + 80, packed.end()), (bytes{0xFF, 0xFF, 0x88, 0xFF}));
}

TEST_F(ArtPack, ResolvesListNamesFromItsDirectory) {
  std::filesystem::create_directory(at("art"));
  write_picture("art/w.png", make_picture(1, 1, [](uint32_t, uint32_t) { return opaque(255); }));
  write_picture("art/k.png", make_picture(1, 1, [](uint32_t, uint32_t) { return opaque(0); }));
  write_text(at("art/list.txt"), "# icons\r\n\nk.png\r\nw.png");
  expect_quiet_success({"pack", "out.q7", "--list", "art/list.txt"});
  const bytes packed = read_bytes(at("out.q7"));
  ASSERT_EQ(packed.size(), 50u);
  EXPECT_EQ(packed[48], 0x00);
  EXPECT_EQ(packed[49], 0xF0);
}

TEST_F(ArtPack, ReplacesAnArchiveAndKeepsNothingBesideIt) {
  write_picture("a.png", make_picture(1, 1, [](uint32_t, uint32_t) { return opaque(255); }));
  write_bytes(at("out.q7"), sound_archive());
  expect_quiet_success({"pack", "out.q7", "a.png"});
  EXPECT_EQ(read_bytes(at("out.q7")).size(), 33u);
  EXPECT_EQ(contents().size(), 2u);
}

TEST_F(ArtPack, AcceptsAnEmptyFileAsItsPlace) {
  write_picture("a.png", make_picture(1, 1, [](uint32_t, uint32_t) { return opaque(255); }));
  write_text(at("out.q7"), "");
  expect_quiet_success({"pack", "out.q7", "a.png"});
  EXPECT_EQ(read_bytes(at("out.q7")).size(), 33u);
}

TEST_F(ArtPack, KeepsExistingDrawing) {
  write_picture("a.png", make_picture(1, 1, [](uint32_t, uint32_t) { return opaque(255); }));
  write_picture("b.png", make_picture(1, 1, [](uint32_t, uint32_t) { return opaque(255); }));
  expect_refusal({"pack", "a.png", "b.png"}, 1, "a.png: exists in another format; not replaced");
}

TEST_F(ArtPack, RejectsADirectoryAsItsPlace) {
  write_picture("a.png", make_picture(1, 1, [](uint32_t, uint32_t) { return opaque(255); }));
  std::filesystem::create_directory(at("out"));
  expect_refusal({"pack", "out", "a.png"}, 1, "out: not a regular file; not replaced");
}

TEST_F(ArtPack, RejectsImagesThatAreNotRegularFiles) {
  ASSERT_EQ(::mkfifo(at("pipe.png").c_str(), 0600), 0);
  std::filesystem::create_directory(at("folder.png"));
  const std::string message = ": not a regular file"; // and neither waits for a writer of the pipe
  const auto reject = [&](const std::string &name) {
    const run_result result = run({"pack", "out.q7", name});
    EXPECT_EQ(result.status, 1);
    EXPECT_EQ(result.err, "dravik-art: " + name + message + "\n");
    EXPECT_FALSE(std::filesystem::exists(at("out.q7")));
  };
  for (const char *name : {"pipe.png", "folder.png", "/dev/zero"})
    reject(name);
}

TEST_F(ArtPack, RejectsAPipeAsItsPlace) {
  write_picture("a.png", make_picture(1, 1, [](uint32_t, uint32_t) { return opaque(255); }));
  ASSERT_EQ(::mkfifo(at("pipe").c_str(), 0600), 0);
  const run_result result = run({"pack", "pipe", "a.png"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "dravik-art: pipe: not a regular file; not replaced\n");
}

TEST_F(ArtPack, SetsPermissionsByUmask) {
  write_picture("a.png", make_picture(1, 1, [](uint32_t, uint32_t) { return opaque(255); }));
  const auto mode_under = [&](const std::string &mask) {
    std::filesystem::remove(at("out.q7"));
    EXPECT_EQ(run_program({"sh", "-c", "umask " + mask + "; exec \"$0\" pack out.q7 a.png", dravik_art_path})
                  .status,
              0);
    return static_cast<unsigned>(std::filesystem::status(at("out.q7")).permissions());
  };
  EXPECT_EQ(mode_under("022"), 0644U);
  EXPECT_EQ(mode_under("027"), 0640U);
}

TEST_F(ArtPack, RejectsAPlaceInAMissingDirectory) {
  write_picture("a.png", make_picture(1, 1, [](uint32_t, uint32_t) { return opaque(255); }));
  expect_refusal({"pack", "no/out.q7", "a.png"}, 1, "no/out.q7: No such file or directory");
}

TEST_F(ArtPack, KeepsTheOldArchiveWhenTheDiskIsFull) {
  write_picture("a.png", make_picture(100, 100, [](uint32_t, uint32_t) { return opaque(255); }));
  write_bytes(at("out.q7"), sound_archive());
  const auto before = contents();
  const run_result result = run_with_full_disk("pack out.q7 a.png");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "dravik-art: out.q7: File too large\n");
  EXPECT_TRUE(contents() == before);
}

TEST_F(ArtPack, RejectsAMissingImageAndKeepsTheOldArchive) {
  write_picture("a.png", make_picture(1, 1, [](uint32_t, uint32_t) { return opaque(255); }));
  write_bytes(at("out.q7"), sound_archive());
  expect_refusal({"pack", "out.q7", "a.png", "b.png"}, 1, "b.png: No such file or directory");
}

TEST_F(ArtPack, RejectsOtherFormats) {
  write_text(at("a.png"), "GIF89a and so on");
  expect_refusal({"pack", "out.q7", "a.png"}, 1, "a.png: not a PNG file");
}

TEST_F(ArtPack, RejectsAImageThatEndsEarlyAtEveryLength) {
  write_picture("whole.png",
                make_picture(9, 9, [](uint32_t x, uint32_t y) { return opaque(uint8_t(x * y)); }));
  write_bytes(at("out.q7"), sound_archive());
  const bytes whole = read_bytes(at("whole.png"));
  // The last chunk (12 bytes) is an end mark without content: a reader may do without it.
  for (size_t length = 0; length + 16 < whole.size(); ++length) {
    write_bytes(at("cut.png"), bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(length)));
    const run_result result = run({"pack", "out.q7", "cut.png"});
    ASSERT_EQ(result.status, 1) << length;
    ASSERT_EQ(result.err.rfind("dravik-art: cut.png: ", 0), 0u) << length << result.err;
    ASSERT_EQ(result.err.find('\n'), result.err.size() - 1) << length << result.err;
    ASSERT_EQ(read_bytes(at("out.q7")), sound_archive()) << length;
  }
  EXPECT_EQ(contents().size(), 3u);
}

TEST_F(ArtPack, SurvivesAImageWithAnyByteWrong) {
  convert({"-size", "9x9", "gradient:black-white", "whole.png"});
  const bytes whole = read_bytes(at("whole.png"));
  for (size_t i = 0; i < whole.size(); ++i) {
    bytes wrong = whole;
    wrong[i] = static_cast<uint8_t>(~wrong[i]);
    write_bytes(at("wrong.png"), wrong);
    const run_result result = run({"pack", "out.q7", "wrong.png"});
    ASSERT_TRUE(result.status == 0 || result.status == 1) << i;
    ASSERT_EQ(result.err.empty(), result.status == 0) << i << result.err;
  }
}

TEST_F(ArtPack, RejectsImageOfTooManyPixels) {
  write_bytes(at("a.png"), claim(8192, 8193));
  expect_refusal({"pack", "out.q7", "a.png"}, 1,
                 "a.png: too large: 8192 x 8193 pixels; must be at most 67108864 pixels");
  write_bytes(at("a.png"), claim(1000000, 1000000));
  expect_refusal({"pack", "out.q7", "a.png"}, 1,
                 "a.png: too large: 1000000 x 1000000 pixels; must be at most 67108864 pixels");
}

TEST_F(ArtPack, RejectsAnArchiveLongerThan32BitsCanGive) {
  // 8192 x 8192 pixels take 2^25 bytes; 128 times that is 2^32, without header and table.
  write_bytes(at("a.png"), claim(8192, 8192));
  std::vector<std::string> words(130, "a.png");
  words[0] = "pack";
  words[1] = "out.q7";
  expect_refusal(words, 1, "output too large: 4294969360 bytes; must be less than 4 GiB");
}

TEST_F(ArtPack, RejectsInvalidUsage) {
  write_picture("a.png", make_picture(1, 1, [](uint32_t, uint32_t) { return opaque(255); }));
  write_text(at("empty.txt"), "# nothing\n\n");
  expect_refusal({"pack"}, 2, "pack: missing OUT; try 'dravik-art pack --help'");
  expect_refusal({"pack", "out.q7"}, 2, "pack: missing IMAGE.png; must be at least one, or --list FILE");
  expect_refusal({"pack", "out.q7", "a.png", "--levels", "blue"}, 2,
                 "pack: invalid --levels 'blue'; must be auto, alpha, grey or inverted");
  expect_refusal({"pack", "out.q7", "a.png", "--list", "empty.txt"}, 2,
                 "pack: images given both as arguments and by --list; must be one of them");
  expect_refusal({"pack", "out.q7", "--list", "empty.txt"}, 1, "empty.txt: contains no name of an image");
  expect_refusal({"pack", "out.q7", "--list", "none.txt"}, 1, "none.txt: No such file or directory");
  expect_refusal({"pack", "out.q7", "a.png", "--header", "./out.q7"}, 2,
                 "pack: invalid --header './out.q7'; must not be the archive");
}

TEST_F(ArtLevels, ConvertsEveryGreyToNearestLevel) {
  write_picture("a.png", make_picture(256, 1, [](uint32_t x, uint32_t) { return opaque(uint8_t(x)); }));
  expect_quiet_success({"pack", "out.q7", "a.png"});
  const auto levels = levels_of(read_bytes(at("out.q7")), 256, 1);
  for (int grey = 0; grey < 256; ++grey)
    EXPECT_EQ(levels[static_cast<size_t>(grey)], std::lround(grey * 15 / 255.0)) << grey;
}

TEST_F(ArtLevels, UsesOnlyAlphaOfTransparentImage) {
  write_picture("a.png", make_picture(256, 1, [](uint32_t x, uint32_t) {
                  return rgba{0, 0, 0, uint8_t(x)};
                }));
  expect_quiet_success({"pack", "out.q7", "a.png"});
  const auto levels = levels_of(read_bytes(at("out.q7")), 256, 1);
  for (int alpha = 0; alpha < 256; ++alpha)
    EXPECT_EQ(levels[static_cast<size_t>(alpha)], std::lround(alpha * 15 / 255.0)) << alpha;
}

TEST_F(ArtLevels, IgnoresOpaqueAlphaChannel) {
  write_picture("a.png", make_picture(2, 1, [](uint32_t x, uint32_t) { return opaque(x == 0 ? 0 : 255); }));
  expect_quiet_success({"pack", "out.q7", "a.png"});
  EXPECT_EQ(levels_of(read_bytes(at("out.q7")), 2, 1), (std::vector{0, 15}));
  expect_quiet_success({"pack", "out.q7", "a.png", "--levels", "alpha"});
  EXPECT_EQ(levels_of(read_bytes(at("out.q7")), 2, 1), (std::vector{15, 15}));
}

TEST_F(ArtLevels, TreatsOneTransparentPixelAsTransparency) {
  write_picture("a.png", make_picture(3, 1, [](uint32_t x, uint32_t) {
                  return rgba{255, 0, 0, uint8_t(x == 2 ? 254 : 255)};
                }));
  expect_quiet_success({"pack", "out.q7", "a.png"});
  EXPECT_EQ(levels_of(read_bytes(at("out.q7")), 3, 1), (std::vector{15, 15, 15}));
}

TEST_F(ArtLevels, WeighsColoursAndAlpha) {
  // 16 x 16 colours of all kinds, with all kinds of alpha.
  const auto colour = [](uint32_t x, uint32_t y) {
    return rgba{uint8_t(x * 17), uint8_t(y * 17), uint8_t((x * 7 + y * 5) % 256),
                uint8_t((x * 31 + y) % 256)};
  };
  write_picture("a.png", make_picture(16, 16, colour));
  expect_quiet_success({"pack", "grey.q7", "a.png", "--levels", "grey"});
  expect_quiet_success({"pack", "inverted.q7", "a.png", "--levels=inverted"});
  const auto grey = levels_of(read_bytes(at("grey.q7")), 16, 16);
  const auto inverted = levels_of(read_bytes(at("inverted.q7")), 16, 16);
  for (uint32_t i = 0; i < 256; ++i) {
    const rgba c = colour(i % 16, i / 16);
    const double bright = (0.299 * c[0] + 0.587 * c[1] + 0.114 * c[2]) / 255;
    const double alpha = c[3] / 255.0;
    // The images hold no colour that lies exactly between two levels but for zero alpha.
    EXPECT_EQ(grey[i], std::lround(bright * alpha * 15)) << i;
    EXPECT_EQ(inverted[i], std::lround((1 - bright) * alpha * 15)) << i;
  }
}

TEST_F(ArtLevels, WeighsBrightnessOfPlainColours) {
  convert({"xc:red", "xc:lime", "xc:blue", "xc:white", "+append", "a.png"});
  expect_quiet_success({"pack", "out.q7", "a.png"});
  EXPECT_EQ(levels_of(read_bytes(at("out.q7")), 4, 1), (std::vector{4, 9, 2, 15})); // of 4.485, 8.805, 1.71
}
