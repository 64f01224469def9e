// What all examples have in common: tests, their size, their head, how they fail on other screens.

#include "examples/example_run.hpp"
#include "support/program.hpp"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <sstream>

namespace dravik::test {
namespace {

using sim::screen;
using testing::AllOf;
using testing::Contains;
using testing::Each;
using testing::HasSubstr;
using testing::MatchesRegex;

/// The names of the examples: their files without ".c".
std::vector<std::string> example_names() {
  std::vector<std::string> names;
  for (const auto &entry : std::filesystem::directory_iterator{EXAMPLES_SOURCE})
    if (entry.path().extension() == ".c")
      names.push_back(entry.path().stem().string());
  std::ranges::sort(names);
  return names;
}

std::string text_of(const std::string &name) {
  std::ifstream stream{std::string{EXAMPLES_SOURCE "/"} + name};
  return {std::istreambuf_iterator<char>{stream}, {}};
}

std::vector<std::string> suite_names() {
  const testing::UnitTest &all = *testing::UnitTest::GetInstance();
  std::vector<std::string> names;
  for (int i = 0; i < all.total_test_suite_count(); ++i)
    names.emplace_back(all.GetTestSuite(i)->name());
  return names;
}

TEST(Examples, HaveTestsEach) {
  EXPECT_GT(example_names().size(), 10U);
  for (std::string name : example_names()) {
    name.front() = static_cast<char>(std::toupper(name.front()));
    EXPECT_THAT(suite_names(), Contains(name + "Example"));
  }
}

TEST(Examples, AreShorterThan60Lines) {
  for (const std::string &name : example_names())
    EXPECT_LT(std::ranges::count(text_of(name + ".c"), '\n'), 60) << name;
}

TEST(Examples, DescribeBuildAndRun) {
  for (const std::string &name : example_names())
    EXPECT_THAT(text_of(name + ".c"), AllOf(HasSubstr(" " + name + ".c -o " + name + " -ldravik\n"),
                                            HasSubstr("dravik-sim run board -- ./" + name),
                                            HasSubstr("int main(int argc, char **argv) {")))
        << name;
}

TEST(Examples, AreListedInTheReadme) {
  std::vector<std::string> listed;
  std::istringstream lines{text_of("README.md")};
  for (std::string line; std::getline(lines, line);)
    if (line.starts_with("- ["))
      listed.push_back(line.substr(3, line.find(".c]") - 3));
  EXPECT_EQ(listed, example_names());
}

/// What the others need is not of the board: they run anywhere.
TEST(Examples, ReportThatThereIsNoBoard) {
  const std::vector<std::string> run_anywhere = {"checksums", "log", "system"};
  for (const std::string &name : example_names())
    EXPECT_EQ(text_of(name + ".c").find("or under dravik-sim") == std::string::npos,
              std::ranges::count(run_anywhere, name) == 1)
        << name;
}

class DrawingExample : public testing::TestWithParam<const char *> {};

TEST_P(DrawingExample, FailsWithoutAScreen) {
  const board on;
  on.remove("dev/fb0");
  const std::string name = GetParam();
  const std::map<std::string, words> arguments = {
      {"artwork", {"file"}}, {"bmp", {"file"}}, {"jpeg", {"file"}}, {"slots", {"directory", "file"}}};
  const auto given = arguments.find(name);
  expect_failure(on, name, given == arguments.end() ? words{} : given->second,
                 name + ": no /dev/fb0; run it on a board, or under dravik-sim\nerror reading fixed info");
}

INSTANTIATE_TEST_SUITE_P(All, DrawingExample,
                         testing::Values("artwork", "bmp", "jpeg", "screenshot", "shapes", "slots", "text",
                                         "truetype"),
                         [](const auto &one) { return std::string{one.param}; });

class ExampleWithFile : public testing::TestWithParam<const char *> {};

TEST_P(ExampleWithFile, ReportsItsUsageWithoutOne) {
  const board on;
  const example_result result = run_example(on, GetParam());
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.errors, MatchesRegex("usage: [^\n]*dravik-" + std::string{GetParam()} + " [^\n]+\n"));
}

INSTANTIATE_TEST_SUITE_P(All, ExampleWithFile,
                         testing::Values("artwork", "backlight", "bmp", "checksums", "jpeg", "slots", "sound",
                                         "volume"),
                         [](const auto &one) { return std::string{one.param}; });

struct unfit_screen {
  const char *name;
  screen shown;
};

class ExampleOnAnUnfitScreen : public testing::TestWithParam<unfit_screen> {};

TEST_P(ExampleOnAnUnfitScreen, DrawsNothing) {
  const auto &[name, shown] = GetParam();
  const prepared_board on{shown};
  const words arguments = name == std::string{"artwork"} ? words{"file"} : words{};
  expect_failure(on, name, arguments, std::string{name} + ": not a 16-bit screen of");
  EXPECT_THAT(on.pixels(), Each(untouched));
}

INSTANTIATE_TEST_SUITE_P(All, ExampleOnAnUnfitScreen,
                         testing::Values(unfit_screen{"artwork", screen::of_size(319, 240)},
                                         unfit_screen{"artwork", screen::of_size(320, 240, 32)},
                                         unfit_screen{"screenshot", screen::of_size(640, 481)},
                                         unfit_screen{"screenshot", screen::of_size(641, 480)},
                                         unfit_screen{"screenshot", screen::of_size(640, 480, 32)},
                                         unfit_screen{"shapes", screen::of_size(319, 240)},
                                         unfit_screen{"shapes", screen::of_size(320, 239)},
                                         unfit_screen{"shapes", screen::of_size(320, 240, 32)},
                                         unfit_screen{"text", screen::of_size(319, 180)},
                                         unfit_screen{"text", screen::of_size(320, 179)},
                                         unfit_screen{"text", screen::of_size(320, 240, 32)},
                                         unfit_screen{"truetype", screen::of_size(639, 480)},
                                         unfit_screen{"truetype", screen::of_size(640, 479)},
                                         unfit_screen{"truetype", screen::of_size(640, 480, 32)}),
                         [](const auto &one) {
                           const screen &shown = one.param.shown;
                           return std::string{one.param.name} + '_' + std::to_string(shown.xres) + 'x' +
                                  std::to_string(shown.yres) + '_' + std::to_string(shown.bits_per_pixel);
                         });

} // namespace
} // namespace dravik::test
