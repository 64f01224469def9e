// The examples that draw: their pixels, compared with the contents of the files that they show.

#include "support/bmp_maker.hpp" // first: its parameters are named like the colours of the demonstration

#include "examples/example_run.hpp"
#include "examples/saved_picture.hpp"
#include "support/archive_maker.hpp"
#include "support/program.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <utility>

namespace dravik::test {
namespace {

using sim::screen;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsSubsetOf;

// --------------------------------------------------------------------------------------- shapes

TEST(ShapesExample, DrawsItsShapes) {
  const board on;
  EXPECT_EQ(expect_success(on, "shapes"), "");
  const shot seen{on, {}};
  EXPECT_EQ(seen.at(2, 240), DRAVIK_DEFAULT_THEME) << "the frame";
  EXPECT_EQ(seen.at(637, 240), DRAVIK_DEFAULT_THEME);
  EXPECT_EQ(seen.at(10, 100), 0x2104) << "the gradient";
  EXPECT_EQ(seen.at(500, 100), DRAVIK_BLACK) << "right of the gradient";
  EXPECT_EQ(seen.at(20, 100), DRAVIK_CYAN);
  EXPECT_EQ(seen.at(80, 40), DRAVIK_CYAN) << "the end of the steepest ray";
  EXPECT_EQ(seen.at(160, 100), DRAVIK_WHITE);
  EXPECT_EQ(seen.at(178, 100), DRAVIK_RED);
  EXPECT_EQ(seen.at(192, 100), DRAVIK_WHITE);
  EXPECT_EQ(seen.at(260, 75), DRAVIK_DEFAULT_THEME);
  EXPECT_EQ(seen.at(230, 110), DRAVIK_YELLOW);
  EXPECT_EQ(seen.at(265, 20), DRAVIK_YELLOW);
  EXPECT_EQ(seen.at(28, 195), DRAVIK_DEFAULT_THEME) << "the start of the ramp";
  EXPECT_EQ(seen.at(45, 195), 0x1BB7) << "its second step";
  EXPECT_EQ(seen.at(280, 195), DRAVIK_WHITE) << "its end";
}

// The geometry that docs/simulated-board.md gives for padded lines.
TEST(ShapesExample, DrawsOnPaddedLines) {
  screen padded = screen::of_size(1024, 480);
  padded.xres = 800;
  const board on{padded};
  expect_success(on, "shapes");
  const shot seen{on, padded};
  EXPECT_EQ(seen.at(797, 240), DRAVIK_DEFAULT_THEME) << "the frame";
  EXPECT_EQ(seen.at(400, 477), DRAVIK_DEFAULT_THEME);
  EXPECT_EQ(seen.at(900, 240), 0) << "the padding";
}

TEST(ShapesExample, StaysOnTheSmallestScreen) {
  screen shown = screen::of_size(320, 240);
  shown.yres_virtual = 480;
  const prepared_board on{shown};
  expect_success(on, "shapes");
  EXPECT_THAT((shot{on, shown}.colours(0, 240, 320, 240)), ElementsAre(untouched));
}

// --------------------------------------------------------------------------------------- text

/// A PSF font, as a reader of the format takes it.
class psf_reader {
public:
  explicit psf_reader(const std::string &file)
      : file_(file.begin(), file.end()), is_version_1_(file_.at(0) == 0x36) {}

  uint32_t width() const { return is_version_1_ ? 8 : get_u32(file_, 28); }
  uint32_t height() const { return is_version_1_ ? file_.at(3) : get_u32(file_, 24); }
  bool is_set(char ch, uint32_t x, uint32_t y) const {
    const uint32_t row_bytes = (width() + 7) / 8, header = is_version_1_ ? 4 : get_u32(file_, 8);
    const size_t row = header + (static_cast<uint8_t>(ch) * height() + y) * row_bytes;
    return (file_.at(row + x / 8) >> (7 - x % 8) & 1) != 0;
  }

private:
  bytes file_;
  bool is_version_1_;
};

struct expected_line {
  uint32_t x, y;
  std::string text;
  uint16_t foreground, background;
};

void expect_line(const shot &seen, const psf_reader &font, const expected_line &line) {
  for (uint32_t y = 0; y < font.height(); ++y)
    for (uint32_t x = 0; x < font.width() * line.text.size(); ++x)
      ASSERT_EQ(seen.at(line.x + x, line.y + y), font.is_set(line.text[x / font.width()], x % font.width(), y)
                                                     ? line.foreground
                                                     : line.background)
          << line.text << " at " << x << ", " << y;
}

TEST(TextExample, WritesInThreeSizes) {
  const prepared_board on;
  EXPECT_EQ(expect_success(on, "text"), "");
  const shot seen{on, {}};
  const auto font = [&on](const std::string &name) {
    return psf_reader{on.read("usr/local/dravik/font/Lat15-TerminusBold" + name + ".psf")};
  };
  expect_line(seen, font("16"), {16, 16, "8 x 16", DRAVIK_WHITE, DRAVIK_BLACK});
  expect_line(seen, font("24x12"), {16, 40, "12 x 24", DRAVIK_WHITE, DRAVIK_BLACK});
  expect_line(seen, font("32x16"), {16, 72, "16 x 32", DRAVIK_WHITE, DRAVIK_BLACK});
  expect_line(seen, font("16"), {16, 112, "13.8 V, 0x2a, 100 %", DRAVIK_YELLOW, DRAVIK_BLACK});
  expect_line(seen, font("24x12"), {16, 136, " on a bar ", DRAVIK_WHITE, DRAVIK_DEFAULT_THEME});
  expect_line(seen, font("24x12"), {148, 136, "!", DRAVIK_YELLOW, DRAVIK_BLACK});
}

TEST(TextExample, ReportsTheFontThatIsMissing) {
  const prepared_board on;
  on.remove("usr/local/dravik/font/Lat15-TerminusBold24x12.psf");
  expect_failure(
      on, "text", {},
      "text: /usr/local/dravik/font/Lat15-TerminusBold24x12.psf: not loaded; see /tmp/dravik.log\n");
  EXPECT_THAT(on.read("tmp/dravik.log"), HasSubstr("Lat15-TerminusBold24x12.psf not found!"));
  EXPECT_THAT(on.pixels(), Each(untouched));
}

// --------------------------------------------------------------------------------------- anti-aliased text

/// Colours from black to a foreground, by the steps of its three channels.
std::vector<uint16_t> ramp_on_black(int red_step, int green_step, int blue_step, int green_start,
                                    int blue_start, int red_start) {
  std::vector<uint16_t> colours = {DRAVIK_BLACK};
  for (int i = 0; i < 16; ++i)
    colours.push_back(static_cast<uint16_t>((red_start + red_step * i) << 11 |
                                            (green_start + green_step * i) << 5 |
                                            (blue_start + blue_step * i)));
  return colours;
}

/// The columns from the first to the last that is not black, in these rows.
std::pair<uint32_t, uint32_t> extent(const shot &seen, uint32_t y, uint32_t height) {
  uint32_t first = 640, last = 0;
  for (uint32_t x = 0; x < 640; ++x)
    if (seen.colours(x, y, 1, height).size() > 1) {
      first = std::min(first, x);
      last = x;
    }
  return {first, last};
}

/// Bands of rows that are not only background: first row and height.
std::vector<std::pair<uint32_t, uint32_t>> bands(const shot &seen, uint16_t background, uint32_t gap) {
  std::vector<std::pair<uint32_t, uint32_t>> found;
  for (uint32_t y = 0; y < 480; ++y) {
    if (seen.colours(0, y, 640, 1) == std::set{background})
      continue;
    if (found.empty() || y > found.back().first + found.back().second + gap)
      found.emplace_back(y, 0);
    found.back().second = y + 1 - found.back().first;
  }
  return found;
}

TEST(TruetypeExample, WritesThreeLinesInTheMiddle) {
  const prepared_board on;
  EXPECT_EQ(expect_success(on, "truetype"), "");
  const shot seen{on, {}};
  const auto lines = bands(seen, seen.at(0, 0), 12);
  ASSERT_EQ(lines.size(), 3U);
  const std::vector<uint16_t> ramps[] = {ramp_on_black(2, 4, 2, 0, 0, 0), ramp_on_black(0, 4, 2, 3, 1, 0),
                                         ramp_on_black(2, 4, 0, 3, 0, 1)};
  for (size_t i = 0; i < 3; ++i) {
    const auto [y, height] = lines[i];
    const auto [first, last] = extent(seen, y, height);
    EXPECT_NEAR((first + last) / 2.0, 320, 8) << "line " << i;
    EXPECT_GT(last - first, 100U) << "line " << i;
    EXPECT_THAT(seen.colours(0, y, 640, height), AllOf(IsSubsetOf(ramps[i]), Contains(ramps[i].back())));
    EXPECT_GT(seen.colours(0, y, 640, height).size(), 8U) << "line " << i << " has soft edges";
  }
}

TEST(TruetypeExample, WritesAnArgument) {
  const prepared_board on;
  const auto width_of = [&on](const std::string &text) {
    expect_success(on, "truetype", {text});
    const auto [first, last] = extent({on, {}}, 40, 40);
    return last - first;
  };
  EXPECT_LT(width_of("i"), 20U);
  EXPECT_GT(width_of("Wide"), 80U);
}

class TruetypeExampleWithout : public testing::TestWithParam<const char *> {};

TEST_P(TruetypeExampleWithout, FailsWithoutFont) {
  const prepared_board on;
  on.remove(std::string{"usr/local/dravik/font/"} + GetParam());
  expect_failure(on, "truetype", {}, "FT_New_Face failed!\ntruetype: not all text drawn; check ");
}

INSTANTIATE_TEST_SUITE_P(All, TruetypeExampleWithout, testing::Values("arial.ttf", "DroidSansFallback.ttf"),
                         [](const auto &one) { return std::string{one.param}.substr(0, 5); });

// --------------------------------------------------------------------------------------- images

TEST(BmpExample, ShowsTheFileInTheMiddle) {
  const board on;
  const bytes file = bmp_maker{.width = 2,
                               .height = 2,
                               .bits = 24,
                               .pixels = {255, 0, 0, 255, 255, 255, 0, 0, // blue, white, and padding
                                          0, 0, 255, 0, 255, 0, 0, 0}}    // red, green
                         .file();
  write_file(on.path("four.bmp"), file);
  EXPECT_EQ(expect_success(on, "bmp", {on.path("four.bmp")}),
            on.path("four.bmp") + ": 2 x 2, 24 bits per pixel\n");
  const shot seen{on, {}};
  EXPECT_EQ(
      seen.area(318, 238, 4, 4),
      (std::vector<uint16_t>{DRAVIK_BLACK, DRAVIK_BLACK, DRAVIK_BLACK, DRAVIK_BLACK, DRAVIK_BLACK, DRAVIK_RED,
                             DRAVIK_GREEN, DRAVIK_BLACK, DRAVIK_BLACK, DRAVIK_BLUE, DRAVIK_WHITE,
                             DRAVIK_BLACK, DRAVIK_BLACK, DRAVIK_BLACK, DRAVIK_BLACK, DRAVIK_BLACK}));
  EXPECT_THAT(seen.colours(0, 0, 640, 239), ElementsAre(DRAVIK_BLACK));
  EXPECT_THAT(seen.colours(0, 241, 640, 239), ElementsAre(DRAVIK_BLACK));
}

TEST(BmpExample, FailsWithoutTheFile) {
  const board on;
  expect_failure(on, "bmp", {"/usr/local/dravik/none.bmp"}, "open /usr/local/dravik/none.bmp error!");
}

TEST(SlotsExample, ShowsTheFilesSideBySide) {
  const board on;
  for (const auto &[name, low, high] : {std::tuple{"red.bmp", 0x00, 0xF8}, {"green.bmp", 0xE0, 0x07}})
    write_file(on.path(name), bmp_maker{.width = 2,
                                        .height = 1,
                                        .bits = 16,
                                        .pixels = {static_cast<uint8_t>(low), static_cast<uint8_t>(high),
                                                   static_cast<uint8_t>(low), static_cast<uint8_t>(high)}}
                                  .file());
  EXPECT_EQ(expect_success(on, "slots", {on.path(), "red.bmp", "green.bmp"}), "");
  const shot seen{on, {}};
  EXPECT_EQ(seen.area(0, 0, 5, 1),
            (std::vector<uint16_t>{DRAVIK_RED, DRAVIK_RED, DRAVIK_GREEN, DRAVIK_GREEN, DRAVIK_BLACK}));
}

TEST(SlotsExample, FailsWithoutAFile) {
  const board on;
  expect_failure(on, "slots", {"/usr/local/dravik", "none.bmp"},
                 "slots: file 1: not drawn; see /tmp/dravik.log\n");
}

/// The pixels of a JPEG file, by another program.
std::vector<uint16_t> decoded_jpeg(const board &on, const std::string &path) {
  EXPECT_EQ(run_program({"djpeg", "-ppm", on.path(path)}, on.path("decoded.ppm")), 0);
  const std::string ppm =
      on.read("decoded.ppm"); // "P6", width and height, 255: three lines before the pixels
  size_t at = 0;
  for (int line = 0; line < 3; ++line)
    at = ppm.find('\n', at) + 1;
  std::vector<uint16_t> pixels;
  for (; at + 2 < ppm.size(); at += 3) {
    const auto channel = [&](size_t i) { return static_cast<uint8_t>(ppm[at + i]); };
    const auto colour = static_cast<uint16_t>(channel(0) >> 3 << 11 | channel(1) >> 2 << 5 | channel(2) >> 3);
    pixels.push_back((colour & ~0x0801) == 0 ? DRAVIK_BLACK : colour);
  }
  return pixels;
}

TEST(JpegExample, ShowsTheFileInTheMiddle) {
  const prepared_board on;
  EXPECT_EQ(expect_success(on, "jpeg", {"alps_640.jpg"}), "alps_640.jpg: 496 x 280\n");
  const shot seen{on, {}};
  EXPECT_EQ(seen.area(72, 100, 496, 280), decoded_jpeg(on, "usr/local/dravik/jpg/alps_640.jpg"));
  EXPECT_THAT(seen.colours(0, 0, 640, 100), ElementsAre(DRAVIK_BLACK));
  EXPECT_THAT(seen.colours(0, 380, 640, 100), ElementsAre(DRAVIK_BLACK));
  EXPECT_THAT(seen.colours(0, 0, 72, 480), ElementsAre(DRAVIK_BLACK));
  EXPECT_THAT(seen.colours(568, 0, 72, 480), ElementsAre(DRAVIK_BLACK));
}

TEST(JpegExample, FailsWithoutTheFile) {
  const board on;
  expect_failure(on, "jpeg", {"none.jpg"}, "can't open /usr/local/dravik/jpg/none.jpg");
}

TEST(JpegExample, FailsForAnotherFormat) {
  const board on;
  on.write("usr/local/dravik/jpg/text.jpg", "not a JPEG file");
  expect_failure(on, "jpeg", {"text.jpg"}, "Not a JPEG file");
}

// --------------------------------------------------------------------------------------- artwork

/// Images of level 15 with one pixel of level 0 in the top left corner, each of another width.
archive_maker corner_archive(uint32_t count) {
  archive_maker maker;
  for (uint32_t i = 0; i < count; ++i) {
    maker.images.push_back({10 + 2 * i, 80, bytes(size_t{10 + 2 * i} * 80, 15)});
    maker.images.back().levels[0] = 0;
  }
  return maker;
}

TEST(ArtworkExample, ShowsEachRowThroughAnotherRamp) {
  const board on;
  write_file(on.path("art.q7"), corner_archive(18).file());
  const example_result result = run_example(on, "artwork", {on.path("art.q7")});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "q7bmp_alloc(): file_num : 1\n  " + on.path("art.q7") + " : 18\n");
  // Level 0 and level 15 of the ramps, and the ground: some ramps miss their colours slightly.
  struct row {
    uint16_t first, last, ground;
  };
  const row rows[] = {{DRAVIK_BLACK, 0xF79E, DRAVIK_BLACK},
                      {0x0061, DRAVIK_CYAN, DRAVIK_BLACK},
                      {DRAVIK_WHITE, 0xF861, DRAVIK_WHITE},
                      {DRAVIK_DEFAULT_THEME, DRAVIK_WHITE, DRAVIK_DEFAULT_THEME},
                      {DRAVIK_BLACK, 0xF79E, DRAVIK_BLACK}};
  const shot seen{on, {}};
  for (uint32_t i = 0; i < 18; ++i) {
    const uint32_t width = 10 + 2 * i, x = i % 4 * 80 + (80 - width) / 2, y = i / 4 * 80;
    const row &expected = rows[i / 4];
    EXPECT_EQ(seen.at(x - 1, y), expected.ground) << i;
    EXPECT_EQ(seen.at(x, y), expected.first) << i;
    EXPECT_EQ(seen.at(x + 1, y), expected.last) << i;
    EXPECT_EQ(seen.at(x + width - 1, y + 79), expected.last) << i;
    EXPECT_EQ(seen.at(x + width, y + 79), expected.ground) << i;
  }
  EXPECT_THAT(seen.colours(320, 0, 320, 480), ElementsAre(DRAVIK_BLACK));
  EXPECT_THAT(seen.colours(160, 320, 160, 160), ElementsAre(DRAVIK_BLACK)) << "after the last image";
}

TEST(ArtworkExample, ShowsNoMoreRowsThanTheScreenHas) {
  screen shown = screen::of_size(320, 239);
  shown.yres_virtual = 480;
  const prepared_board on{shown};
  write_file(on.path("art.q7"), corner_archive(18).file());
  EXPECT_EQ(run_example(on, "artwork", {on.path("art.q7")}).status, 0);
  EXPECT_THAT((shot{on, shown}.colours(0, 239, 320, 241)), ElementsAre(untouched));
}

TEST(ArtworkExample, FailsWithoutTheArchive) {
  const board on;
  expect_failure(on, "artwork", {"none.q7"}, "artwork: none.q7: not loaded; see /tmp/dravik.log\n");
}

// --------------------------------------------------------------------------------------- the screenshot

TEST(ScreenshotExample, SavesWhatTheScreenShows) {
  screen shown = screen::of_size(640, 480);
  shown.line_length += 24;
  shown.yres_virtual = 960; // the mapping includes the gaps between lines
  const prepared_board on{shown};
  std::filesystem::create_directories(on.path("tmp/mmcblk0p1"));
  expect_success(on, "shapes");
  EXPECT_EQ(expect_success(on, "screenshot"),
            "saved as /tmp/mmcblk0p1/q7_HHMMSS.bmp, with the time of day\n");
  expect_what_the_screen_shows(expect_saved_picture(on), {on, shown});
}

TEST(ScreenshotExample, FailsWithoutAMemoryCard) {
  const prepared_board on;
  on.remove("tmp/mmcblk0p1");
  expect_failure(on, "screenshot", {}, "screenshot: not saved; check the memory card\n");
}

} // namespace
} // namespace dravik::test
