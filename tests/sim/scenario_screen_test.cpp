// Scenarios played: the screen, and the pictures expected of it.

#include "sim/scenario_stage.hpp"

namespace dravik::test {
namespace {

using testing::HasSubstr;

constexpr const char *ready = "timeout 60s\nwait console \"guest ready\"\n";
constexpr const char *fill_red = "type \"fill f800\\n\"\nwait console \"done fill\"\n";

class ScenarioScreen : public ScenarioStage {
protected:
  static std::vector<uint8_t> pixel(const png::picture &of, uint32_t x, uint32_t y) {
    const auto begin = of.rgba.begin() + (size_t{y} * of.width + x) * 4;
    return {begin, begin + 4};
  }
  static void set_pixel(png::picture &of, uint32_t x, uint32_t y, const std::vector<uint8_t> &rgba) {
    std::ranges::copy(rgba, of.rgba.begin() + (size_t{y} * of.width + x) * 4);
  }
  const std::vector<uint8_t> red_ = {255, 0, 0, 255}, blue_ = {0, 0, 255, 255};
};

// ------------------------------------------------------------------------------------------- changes

TEST_F(ScenarioScreen, AwaitsAChangeSinceTheLastInput) {
  expect_held(std::string{ready} + R"(
type "fill f800\n"
wait console "done fill"   # the change was before the next step
wait screen change
type "fill 001f\n"
wait screen change in 63,47 1x1
)");
}

TEST_F(ScenarioScreen, ReportsAScreenThatDoesNotChange) {
  expect_failed(std::string{ready} + fill_red + "type \"fill f800\\n\"\nwait console \"done fill\"\n" +
                    "timeout 200ms\nwait screen change",
                "not within 200ms; the screen is the same");
}

TEST_F(ScenarioScreen, AwaitsAScreenThatStandsStill) {
  expect_held(std::string{ready} + fill_red + "wait screen still 300ms\nwait screen still 100ms in 0,0 8x8");
  expect_failed(std::string{ready} + "timeout 100ms\nwait screen still 1s",
                "not within 100ms; the screen changes");
}

TEST_F(ScenarioScreen, ReportsABoardWithoutScreen) {
  board_.remove("dev/fb0");
  expect_failed("timeout 100ms\nwait screen change",
                "not within 100ms; " + board_.path("dev/fb0") + ": No such file or directory", {});
  expect_failed("shot \"a.png\"", board_.path("dev/fb0") + ": No such file or directory", {});
}

// ------------------------------------------------------------------------------------------- pictures

TEST_F(ScenarioScreen, HoldsForThePictureThatIsShown) {
  std::filesystem::create_directory(at("pictures"));
  save("pictures/red.png", picture(width, height, red_));
  expect_held(std::string{ready} + "type \"fill f800\\n\"\nwait screen \"pictures/red.png\"\n" +
              "expect screen \"pictures/red.png\"");
}

TEST_F(ScenarioScreen, SavesTheDifference) {
  png::picture expected = picture(width, height, red_);
  set_pixel(expected, 5, 7, {255, 9, 0, 255});
  set_pixel(expected, 6, 7, {255, 0, 0, 0}); // transparent, but of the same colour
  set_pixel(expected, 63, 47, blue_);
  save("red.png", expected);
  expect_failed(std::string{ready} + fill_red + "expect screen \"red.png\"",
                "2 of 64x48 pixels differ, by up to 255, the first at 5,7; see " + at("red-difference.png") +
                    " and " + at("red-screen.png"));
  const png::picture difference = saved("red-difference.png");
  EXPECT_EQ(pixel(difference, 5, 7), red_);
  EXPECT_EQ(pixel(difference, 63, 47), red_);
  EXPECT_EQ(pixel(difference, 6, 7), (std::vector<uint8_t>{255, 192, 192, 255})); // a quarter of the contrast
  EXPECT_EQ(saved("red-screen.png").rgba, picture(width, height, red_).rgba);
  EXPECT_EQ(saved("red.png").rgba, expected.rgba);
}

TEST_F(ScenarioScreen, SavesTheDifferenceOfAnAwaitedPicture) {
  save("blue.png", picture(width, height, blue_));
  expect_failed(std::string{ready} + fill_red + "timeout 200ms\nwait screen \"blue.png\"",
                "not within 200ms; 3072 of 64x48 pixels differ, by up to 255, the first at 0,0; see ");
  EXPECT_TRUE(exists("blue-difference.png"));
}

TEST_F(ScenarioScreen, ToleratesDifferencesOfColours) {
  save("near.png", picture(width, height, {247, 8, 3, 255}));
  expect_held(std::string{ready} + fill_red + "expect screen \"near.png\" tolerance 8");
  expect_failed(std::string{ready} + fill_red + "expect screen \"near.png\" tolerance 7",
                "3072 of 64x48 pixels differ, by up to 8, ");
}

TEST_F(ScenarioScreen, ComparesAPart) {
  png::picture whole = picture(width, height, blue_);
  for (uint32_t y = 10; y < 14; ++y)
    for (uint32_t x = 20; x < 28; ++x)
      set_pixel(whole, x, y, red_);
  save("whole.png", whole);
  save("part.png", picture(8, 4, red_));
  expect_held(std::string{ready} + fill_red + "expect screen \"whole.png\" in 20,10 8x4\n" +
              "expect screen \"part.png\" in 20,10 8x4\nwait screen \"part.png\" in 56,44 8x4");
  expect_failed(std::string{ready} + fill_red + "expect screen \"whole.png\" in 20,10 8x5",
                "8 of 8x5 pixels differ, by up to 255, the first at 0,4; ");
  EXPECT_EQ(saved("whole-difference.png").height, 5U);
}

TEST_F(ScenarioScreen, RejectsPicturesOfAnotherSize) {
  save("small.png", picture(8, 4, red_));
  expect_failed("expect screen \"small.png\"", "the picture has 8x4 pixels, the screen 64x48", {});
  expect_failed("wait screen \"small.png\" in 0,0 8x5", "the picture has 8x4 pixels, the screen 64x48", {});
  expect_failed("expect screen \"small.png\" in 57,0 8x4", "beyond the screen of 64x48 pixels", {});
}

TEST_F(ScenarioScreen, ReportsPicturesThatCannotBeRead) {
  expect_failed("expect screen \"none.png\"", "missing " + at("none.png") + "; --update makes it", {});
  expect_failed("wait screen \"none.png\"", "missing " + at("none.png") + "; --update makes it", {});
  write("text.png", "no picture");
  expect_failed("expect screen \"text.png\"", at("text.png") + ": ", {});
}

// ------------------------------------------------------------------------------------------- files

TEST_F(ScenarioScreen, SavesShots) {
  expect_held(std::string{ready} + fill_red + "shot \"now/red.png\"");
  EXPECT_EQ(saved("now/red.png").rgba, picture(width, height, red_).rgba);
}

TEST_F(ScenarioScreen, SavesInADirectoryOfItsOwn) {
  save("blue.png", picture(width, height, blue_));
  const outcome result =
      played(std::string{ready} + fill_red + "shot \"red.png\"\nexpect screen \"blue.png\"",
             {"--output", at("out")});
  EXPECT_EQ(result.exit_status(), 1);
  EXPECT_TRUE(exists("out/red.png") && exists("out/blue-difference.png") && exists("out/blue-screen.png"));
  EXPECT_FALSE(exists("red.png") || exists("blue-difference.png"));
}

TEST_F(ScenarioScreen, RenewsExpectedPictures) {
  png::picture whole = picture(width, height, blue_);
  save("whole.png", whole);
  save("kept.png", picture(width, height, {250, 0, 0, 255}));
  const outcome result = played(std::string{ready} + fill_red + R"(
expect screen "whole.png"
expect screen "fresh/part.png" in 1,2 3x4
wait screen "awaited.png"
expect screen "kept.png" tolerance 5
)",
                                {"--update"});
  EXPECT_EQ(result.exit_status(), 0) << result.errors;
  EXPECT_EQ(result.output, at("whole.png") + "\n" + at("fresh/part.png") + "\n" + at("awaited.png") + "\n");
  EXPECT_EQ(saved("whole.png").rgba, picture(width, height, red_).rgba);
  EXPECT_EQ(saved("fresh/part.png").rgba, picture(3, 4, red_).rgba);
  EXPECT_EQ(saved("awaited.png").rgba, picture(width, height, red_).rgba);
  EXPECT_EQ(pixel(saved("kept.png"), 0, 0)[0], 250);
}

TEST_F(ScenarioScreen, RenewsNoPictureBeyondTheScreen) {
  const outcome result = played("expect screen \"a.png\" in 64,0 1x1", {"--update"}, {});
  EXPECT_EQ(result.exit_status(), 1);
  EXPECT_THAT(messages(result), HasSubstr("beyond the screen of 64x48 pixels"));
  EXPECT_FALSE(exists("a.png"));
}

TEST_F(ScenarioScreen, KeepsTheWholePictureWhenItRenewsAPart) {
  save("whole.png", picture(width, height, blue_));
  const outcome result =
      played(std::string{ready} + fill_red + "expect screen \"whole.png\" in 0,0 1x1", {"--update"});
  EXPECT_EQ(result.exit_status(), 0);
  EXPECT_EQ(saved("whole.png").rgba, picture(width, height, red_).rgba);
}

} // namespace
} // namespace dravik::test
