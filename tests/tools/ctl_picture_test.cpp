// "show": images of every format on the screen.

#include "ctl_fixture.hpp"
#include "dravik.h"
#include "support/archive_maker.hpp"
#include "support/bmp_maker.hpp"

namespace dravik::ctl_test {
namespace {

using test::application;
using test::archive_maker;
using test::bmp_maker;
using test::shot;
using testing::ElementsAre;
using testing::StartsWith;

constexpr uint16_t untouched = 0;

/// An image of 24 bits in one colour, which RGB565 holds without loss.
bmp_maker plain_bmp(uint32_t width, uint32_t height, uint8_t r, uint8_t g, uint8_t b) {
  bmp_maker made{.width = width, .height = height};
  made.pixels.resize(made.row_size() * height);
  for (uint32_t y = 0; y < height; ++y)
    for (uint32_t x = 0; x < width; ++x) {
      uint8_t *const pixel = &made.pixels[y * made.row_size() + size_t{x} * 3];
      pixel[0] = b;
      pixel[1] = g;
      pixel[2] = r;
    }
  return made;
}

class CtlShow : public CtlTool {
protected:
  shot seen() const { return {board_, {}}; }

  /// Expect a rectangle of one colour, and that the pixels around its corners are of another.
  void expect_rectangle(uint32_t x, uint32_t y, uint32_t width, uint32_t height, uint16_t colour,
                        uint16_t around = untouched) const {
    const shot now = seen();
    EXPECT_THAT(now.colours(x, y, width, height), ElementsAre(colour));
    EXPECT_EQ(now.at(x - 1, y), around);
    EXPECT_EQ(now.at(x, y - 1), around);
    EXPECT_EQ(now.at(x + width, y + height - 1), around);
    EXPECT_EQ(now.at(x + width - 1, y + height), around);
  }

  std::string put_jpeg(const std::string &name) const {
    const std::string path = "/usr/local/dravik/" + name;
    board_.write(path, "");
    EXPECT_EQ(test::run_program({"convert", "-size", "64x32", "xc:#FF0000", "-quality", "100",
                                 "-sampling-factor", "4:4:4", "jpg:" + board_.path(path)}),
              0);
    return path;
  }

  std::string put_archive() const {
    const test::art_image full = {8, 4, test::bytes(32, 15)}, empty = {6, 6, test::bytes(36, 0)};
    return put("a.q7", archive_maker{.images = {full, empty}}.file());
  }
};

TEST_F(CtlShow, DrawsABmpInTheMiddle) {
  const std::string path = put("a.bmp", plain_bmp(40, 20, 255, 0, 0).file());
  EXPECT_EQ(checked_output({"show", path}),
            "picture: /usr/local/dravik/a.bmp\nkind: bmp\nwidth: 40\nheight: 20\n");
  expect_rectangle(300, 230, 40, 20, DRAVIK_RED);
}

TEST_F(CtlShow, DrawsAtAPlaceOnAPaintedScreen) {
  const std::string path = put("a.bmp", plain_bmp(40, 20, 255, 0, 0).file());
  EXPECT_EQ(asked({"show", path, "--at", "7,9", "--clear", "blue"}, "."),
            R"({"picture":"/usr/local/dravik/a.bmp","kind":"bmp","width":40,"height":20})");
  expect_rectangle(7, 9, 40, 20, DRAVIK_RED, DRAVIK_BLUE);
  EXPECT_EQ(seen().at(639, 479), DRAVIK_BLUE);
}

TEST_F(CtlShow, DrawsAJpegFromAnyDirectory) {
  const std::string path = put_jpeg("photo");
  EXPECT_EQ(asked({"show", path, "--at", "100,50"}, "[.kind, .width, .height]"), R"(["jpeg",64,32])");
  const shot now = seen();
  EXPECT_GE(now.at(100, 50) >> 11, 30) << "red";
  EXPECT_GE(now.at(163, 81) >> 11, 30);
  EXPECT_EQ(now.at(164, 81), untouched);
  EXPECT_EQ(now.at(163, 82), untouched);
}

TEST_F(CtlShow, DrawsAJpegByTheNameThatTheApplicationUses) {
  put_jpeg("jpg/photo.jpg");
  EXPECT_EQ(asked({"show", "photo.jpg"}, ".picture"), "/usr/local/dravik/jpg/photo.jpg");
  EXPECT_GE(seen().at(320, 240) >> 11, 30);
}

TEST_F(CtlShow, CutsAJpegOffAtTheEdge) {
  checked_output({"show", put_jpeg("photo"), "--at", "620,470"});
  EXPECT_GE(seen().at(639, 479) >> 11, 30);
}

TEST_F(CtlShow, DrawsAnImageOfAnArchive) {
  const std::string path = put_archive();
  EXPECT_EQ(asked({"show", path, "0", "--fg", "green", "--at", "632,476"}, "[.kind, .width, .height]"),
            R"(["archive",8,4])");
  EXPECT_THAT(seen().colours(632, 476, 8, 4), ElementsAre(DRAVIK_GREEN));
  checked_output({"show", path, "1", "--bg", "white"});
  expect_rectangle(317, 237, 6, 6, DRAVIK_WHITE);
}

TEST_F(CtlShow, RejectsAnImageThatDoesNotLieOnTheScreen) {
  const std::string path = put_archive();
  expect_refusal({"show", path, "0", "--at", "633,476"}, 1,
                 path + ": image 0 of 8 x 4 pixels does not fit on the screen there");
  expect_refusal({"show", path, "0", "--at", "0,477"}, 1,
                 path + ": image 0 of 8 x 4 pixels does not fit on the screen there");
  const test::art_image wide = {642, 1, test::bytes(642, 15)};
  const std::string wide_path = put("wide.q7", archive_maker{.images = {wide}}.file());
  expect_refusal({"show", wide_path, "0"}, 1,
                 wide_path + ": image 0 of 642 x 1 pixels does not fit on the screen there");
  EXPECT_THAT(seen().colours(0, 0, 640, 480), ElementsAre(untouched));
}

TEST_F(CtlShow, RejectsImagesThatAreNotThere) {
  const std::string path = put_archive();
  expect_refusal({"show", path, "2"}, 1, path + ": invalid image 2; must be less than 2");
  expect_misuse({"show", path}, "show: missing INDEX; an archive requires one");
  expect_misuse({"show", path, "first"}, "show: invalid INDEX 'first'; must be a number");
  expect_misuse({"show", put("a.bmp", plain_bmp(4, 4, 0, 0, 0).file()), "0"},
                "show: extra INDEX; only an archive accepts one");
}

TEST_F(CtlShow, RejectsAnArchiveThatIsCutOff) {
  const std::string path = put("cut.q7", std::string{"KORVEXQ7\1\0\0\0\xFF", 13});
  expect_refusal({"show", path, "0"}, 1, path + ": invalid archive; try 'dravik-art check'");
}

TEST_F(CtlShow, ReportsOutputOfLibrary) {
  const std::string large = put("large.bmp", plain_bmp(641, 2, 0, 0, 0).file());
  expect_refusal({"show", large}, 1, large + ": cannot be drawn (BMP image is out of range!)");
  const std::string jpeg = put("cut.jpg", std::string{"\xFF\xD8\xFF\xDA"});
  const run_result result = run({"show", jpeg});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, StartsWith("dravik-ctl: " + jpeg + ": cannot be drawn ("));
  EXPECT_EQ(std::ranges::count(result.err, '\n'), 1) << result.err;
}

TEST_F(CtlShow, RejectsADepthThatIsNotDrawn) {
  bmp_maker made = plain_bmp(4, 4, 0, 0, 0);
  made.bits = 2;
  const std::string path = put("odd.bmp", made.file());
  expect_refusal({"show", path}, 1,
                 path + ": unsupported depth 2; must be 1, 4, 8, 16, 24 or 32 bits per pixel");
}

TEST_F(CtlShow, RejectsFilesOfOtherKinds) {
  expect_refusal({"show", "none.bmp"}, 1, "none.bmp: No such file or directory");
  for (const std::string &content : {std::string{}, std::string{"B"}, std::string{"notes"}}) {
    const std::string path = put("notes", content);
    expect_refusal({"show", path}, 1, path + ": not a BMP, JPEG or archive");
  }
}

TEST_F(CtlShow, RejectsInvalidArguments) {
  const std::string path = put("a.bmp", plain_bmp(4, 4, 0, 0, 0).file());
  for (const std::string place : {"7", "7,", ",7", "7,x", "-1,0", "1,2,3"})
    expect_misuse({"show", path, "--at=" + place}, "show: invalid --at '" + place + "'; must be X,Y");
  expect_misuse({"show", path, "--clear", "none"},
                "show: invalid colour 'none'; must be a name, 0x and RGB565, or # and RGB");
  expect_misuse({"show", path, "--fg", "theme"},
                "show: invalid colour 'theme'; must be a name, 0x and RGB565, or # and RGB");
  expect_misuse({"show", path, "--bg", "pink"},
                "show: invalid colour 'pink'; must be a name, 0x and RGB565, or # and RGB, theme or none");
  expect_refusal({"show", path, "--at", "640,0"}, 1, "show: --at is off the screen");
  expect_refusal({"show", path, "--at", "0,480"}, 1, "show: --at is off the screen");
}

TEST_F(CtlShow, ReportsWhenTheScreenCannotBeDrawnOn) {
  const std::string path = put("a.bmp", plain_bmp(4, 4, 0, 0, 0).file());
  board_.set_fault("vscreeninfo", "/dev/fb0");
  expect_refusal({"show", path}, 1, "screen: cannot be opened (error reading var info)");
  board_.clear_faults();
  board_.set("bits_per_pixel", "32");
  board_.set("line_length", "2560");
  expect_refusal({"show", path}, 1, "screen: unsupported depth 32; must be 16 bits per pixel");
  board_.set("bits_per_pixel", "16");
  board_.set("line_length", "4096");
  expect_refusal({"show", path}, 1, "screen: mapping ends before the last line");
  board_.remove("dev/fb0");
  expect_refusal(
      {"show", path}, 1,
      "screen: cannot be opened (error reading fixed info); no /dev/fb0: run it on a board, or under dravik-sim");
}

} // namespace
} // namespace dravik::ctl_test
