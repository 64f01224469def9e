// The example of an application in CI: its scenario holds on its program, and its page shows its files.

#include "sim/scenario_stage.hpp"
#include "support/paths.hpp"
#include "support/tool_rules.hpp"

namespace dravik::test {
namespace {

using testing::HasSubstr;

/// The example's files, and a board as its workflow makes it.
class CiExample : public ScenarioStage {
protected:
  CiExample() {
    std::filesystem::copy(EXAMPLE, at("ci"), std::filesystem::copy_options::recursive);
    EXPECT_EQ(launched({"new", at("board"), "--size", "320x240", "--card", "0"}).exit_status(), 0);
  }

  outcome drive() const {
    return launched({"play", at("board"), at("ci/drive.scenario"), "--junit", at("out/drive.xml"), "--output",
                     at("out"), "--", alarm_path});
  }

  static std::vector<uint8_t> pixel(const png::picture &of, uint32_t x, uint32_t y) {
    const auto begin = of.rgba.begin() + (size_t{y} * of.width + x) * 4;
    return {begin, begin + 3};
  }
};

TEST_F(CiExample, Holds) {
  const outcome result = drive();
  EXPECT_EQ(result.exit_status(), 0) << result.errors;
  EXPECT_EQ(messages(result), "");
  EXPECT_THAT(text_of("out/drive.xml"), HasSubstr("failures=\"0\""));
  EXPECT_TRUE(exists("out/cool.png"));
}

TEST_F(CiExample, FailsIfAPictureDiffers) {
  std::string error;
  png::picture hot = saved("ci/pictures/hot.png");
  ASSERT_EQ(hot.width, 320U);
  hot.rgba[(size_t{120} * hot.width + 30) * 4] ^= 0x80; // one pixel of the bar
  save("ci/pictures/hot.png", hot);
  std::string scenario = text_of("ci/drive.scenario");
  scenario.replace(scenario.find("timeout 20s"), 11, "timeout 2s");
  write("ci/drive.scenario", scenario);
  const outcome result = drive();
  EXPECT_EQ(result.exit_status(), 1);
  EXPECT_THAT(messages(result),
              HasSubstr(": wait screen \"pictures/hot.png\": not within 2s; 1 of 320x240 pixels"));
  EXPECT_THAT(text_of("out/drive.xml"), HasSubstr("failures=\"1\""));
  EXPECT_TRUE(exists("out/pictures/hot-difference.png") && exists("out/pictures/hot-screen.png"));
}

/// 81 degrees are 279 * 81 / 120 = 188 pixels after column 20.
TEST_F(CiExample, ExpectsWhatItsProgramIsToShow) {
  const std::vector<uint8_t> red = {255, 0, 0}, white = {255, 255, 255}, blue = {0, 0, 255};
  const png::picture hot = saved("ci/pictures/hot.png");
  EXPECT_EQ(pixel(hot, 0, 0), red);
  EXPECT_EQ(pixel(hot, 20, 100), white);
  EXPECT_EQ(pixel(hot, 208, 139), white);
  EXPECT_EQ(pixel(hot, 209, 139), blue);
  EXPECT_EQ(pixel(hot, 299, 100), blue);
  EXPECT_EQ(pixel(hot, 300, 100), red);
  EXPECT_EQ(pixel(hot, 20, 140), red);
}

TEST(CiExamplePage, ShowsTheFilesOfTheExample) {
  const std::string page = text_of_file(DRAVIK_SOURCE "/docs/your-application-in-ci.md");
  for (const char *name : {"drive.scenario", "github.yml", "gitlab.yml"})
    EXPECT_THAT(page, HasSubstr("```\n" + text_of_file(std::string{EXAMPLE "/"} + name) + "```\n")) << name;
}

} // namespace
} // namespace dravik::test
