// `cmake --install`: what it lays down, moved to another directory, and a program built and run
// against that.

#include "first_program.hpp"

#include <algorithm>
#include <gmock/gmock.h>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace {

using dravik::test::expect_first_program_runs;
using dravik::test::expect_success;
using dravik::test::first_program;
using dravik::test::project_of_first_program;
using dravik::test::scratch_directory;
using dravik::test::shell;
using dravik::test::text_of;
using testing::AllOf;
using testing::Contains;
using testing::HasSubstr;
using testing::IsSupersetOf;
using testing::Not;
using testing::StartsWith;
namespace files = std::filesystem;

constexpr const char *library_path = LIBRARY_DIRECTORY "/libdravik.so.0.1.0";

std::string install(const std::string &arguments) {
  return expect_success(CMAKE " --install " + arguments);
}

/// The files and links below a directory, relative to it.
std::vector<std::string> files_below(const std::string &directory) {
  std::vector<std::string> found;
  for (const auto &entry : files::recursive_directory_iterator{directory})
    if (!entry.is_directory())
      found.push_back(entry.path().string().substr(directory.size() + 1));
  std::ranges::sort(found);
  return found;
}

/// An installation of everything, moved from where it was installed.
class Installation : public testing::Test {
protected:
  static void SetUpTestSuite() {
    scratch = new scratch_directory;
    install(BUILD " --prefix " + scratch->at("first"));
    files::create_directory(scratch->at("another"));
    files::rename(scratch->at("first"), prefix());
    std::ofstream{scratch->at("first.c")} << first_program();
  }
  static void TearDownTestSuite() { delete scratch; }

  static std::string prefix() { return scratch->at("another/place"); }
  static std::string at(const std::string &name) { return scratch->at(name); }
  static std::string libraries() { return prefix() + "/" LIBRARY_DIRECTORY; }
  static std::string pkg_config(const std::string &arguments) {
    return expect_success("PKG_CONFIG_LIBDIR=" + libraries() +
                          "/pkgconfig:$(pkg-config --variable pc_path pkg-config) "
                          "pkg-config " +
                          arguments);
  }
  static std::string configure(const std::string &version) {
    return project_of_first_program(at("project"), version, prefix());
  }

  /// The first word of each line between "Commands:" and an empty line of the help.
  static std::vector<std::string> commands_of(const std::string &tool) {
    const std::string help = expect_success(prefix() + "/bin/" + tool + " --help");
    std::istringstream lines{help.substr(help.find("\nCommands:\n") + 11)};
    std::vector<std::string> names;
    for (std::string line; std::getline(lines, line) && !line.empty();)
      names.push_back(line.substr(2, line.find(' ', 2) - 2));
    return names;
  }

  static scratch_directory *scratch;
};
scratch_directory *Installation::scratch = nullptr;

TEST_F(Installation, HasAllThatUsersNeed) {
  EXPECT_THAT(
      files_below(prefix()),
      IsSupersetOf({library_path, LIBRARY_DIRECTORY "/libdravik.so", "include/dravik.h",
                    LIBRARY_DIRECTORY "/pkgconfig/dravik.pc",
                    LIBRARY_DIRECTORY "/cmake/dravik/dravik-config.cmake", "bin/dravik-ctl", "bin/dravik-art",
                    "bin/dravik-sim", "share/man/man1/dravik-ctl.1", "share/man/man1/dravik-art.1",
                    "share/man/man1/dravik-sim.1", "share/bash-completion/completions/dravik-ctl",
                    "share/doc/dravik/LICENSE", "share/doc/dravik/NEWS.md",
                    "share/doc/dravik/examples/shapes.c", "share/doc/dravik/examples/ci/drive.scenario",
                    "share/doc/dravik/examples/ci/pictures/normal.png",
                    "share/doc/dravik/docs/live-board.md"}));
  EXPECT_EQ(files::read_symlink(libraries() + "/libdravik.so"), "libdravik.so.0.1.0");
}

/// The guides refer to each other, to their images, to the examples and to the news.
TEST_F(Installation, HasWhatItsGuidesReferTo) {
  const std::string directory = prefix() + "/share/doc/dravik/docs";
  const std::regex link{R"(\]\(([^)#:]+)[^):]*\))"};
  size_t count = 0;
  for (const auto &entry : files::directory_iterator{directory}) {
    const std::string text = entry.is_regular_file() ? text_of(entry.path()) : "";
    for (std::sregex_iterator at{text.begin(), text.end(), link}; at != std::sregex_iterator{}; ++at, ++count)
      EXPECT_TRUE(files::exists(directory + "/" + (*at)[1].str())) << entry.path() << ": " << (*at)[1];
  }
  EXPECT_GT(count, 10U);
}

TEST_F(Installation, NamesNoPlaceOfTheBuild) {
  const std::string found = shell("grep -rlF " SOURCE " " + prefix()).output;
  EXPECT_EQ(found, "");
}

TEST_F(Installation, BuildsTheFirstProgramWithPkgConfig) {
  EXPECT_EQ(pkg_config("--modversion dravik"), "0.1.0\n");
  std::string flags = pkg_config("--cflags --libs dravik");
  std::ranges::replace(flags, '\n', ' ');
  expect_success(C_COMPILER " " + at("first.c") + " " + flags + " -o " + at("first"));
  expect_first_program_runs(prefix() + "/bin/dravik-sim", at("first"), libraries());
}

TEST_F(Installation, AnswersPkgConfigForStaticPrograms) {
  EXPECT_THAT(pkg_config("--static --libs dravik"),
              AllOf(HasSubstr("-ljpeg"), HasSubstr("-lfreetype"), HasSubstr("-lasound"), HasSubstr("-lmad")));
  EXPECT_THAT(pkg_config("--libs dravik"), Not(HasSubstr("-ljpeg")));
}

TEST_F(Installation, BuildsTheFirstProgramWithCMake) {
  expect_success(configure("0.1") + " && " CMAKE " --build " + at("project/build"));
  expect_first_program_runs(prefix() + "/bin/dravik-sim", at("project/build/first"), libraries());
}

TEST_F(Installation, RejectsAnotherVersionInCMake) {
  for (const char *version : {"0.2", "1.0"}) {
    const auto result = shell(configure(version));
    EXPECT_NE(result.status, 0) << version;
    EXPECT_THAT(result.output, HasSubstr("0.1.0")) << version;
  }
}

TEST_F(Installation, RunsToolsWithTheirLibraryAndVersion) {
  for (const std::string tool : {"dravik-ctl", "dravik-art", "dravik-sim"})
    EXPECT_EQ(expect_success("env -u LD_LIBRARY_PATH " + prefix() + "/bin/" + tool + " --version"),
              tool + " 0.1.0\n");
}

TEST_F(Installation, PlaysSoundOfSimulatorWhereInstalled) {
  expect_success(prefix() + "/bin/dravik-sim new " + at("desk") + " --card 0");
  std::ofstream{at("beep.pcm"), std::ios::binary} << std::string(48000, '\x11');
  expect_success(prefix() + "/bin/dravik-sim run " + at("desk") + " -- " + prefix() +
                 "/bin/dravik-ctl play " + at("beep.pcm"));
  EXPECT_THAT(text_of(at("desk/sound/played.wav")), HasSubstr("\x11\x11\x11\x11"));
}

TEST_F(Installation, DescribesEveryCommandInManPages) {
  for (const std::string tool : {"dravik-ctl", "dravik-art", "dravik-sim"}) {
    const std::string page = text_of(prefix() + "/share/man/man1/" + tool + ".1");
    EXPECT_THAT(page, StartsWith(".TH")) << tool;
    for (const std::string &name : commands_of(tool))
      EXPECT_THAT(page, HasSubstr("\n.SS " + name + "\n")) << tool;
    EXPECT_EQ(shell("command -v man >/dev/null || exit 0; man --warnings -l -Tutf8 -Z " + prefix() +
                    "/share/man/man1/" + tool + ".1 >/dev/null")
                  .output,
              "");
  }
}

/// What bash offers for the last of the words on a command line, by the completion that the tool has installed.
std::vector<std::string> completions(const std::string &prefix, const std::vector<std::string> &words) {
  std::string quoted;
  for (const std::string &word : words)
    quoted += "\"" + word + "\" ";
  const std::string file = prefix + "/share/bash-completion/completions/" + words[0];
  const std::string offered =
      expect_success("PATH=" + prefix + "/bin:$PATH bash -c '. " + file + "; COMP_WORDS=(" + quoted +
                     "); COMP_CWORD=" + std::to_string(words.size() - 1) + "; $(complete -p " + words[0] +
                     " | sed \"s/.*-F \\([a-z_]*\\) .*/\\1/\") " + words[0] + " \"" + words.back() +
                     "\"; printf \"%s\\n\" \"${COMPREPLY[@]}\"'");
  std::istringstream lines{offered};
  return {std::istream_iterator<std::string>{lines}, {}};
}

TEST_F(Installation, CompletesEveryCommand) {
  for (const std::string tool : {"dravik-ctl", "dravik-art", "dravik-sim"}) {
    std::vector<std::string> expected = commands_of(tool);
    EXPECT_GT(expected.size(), 4U);
    expected.insert(expected.end(), {"--help", "--version"});
    EXPECT_EQ(completions(prefix(), {tool, ""}), expected);
  }
  EXPECT_THAT(commands_of("dravik-sim"), IsSupersetOf({"panel", "press"}));
}

TEST_F(Installation, CompletesOptions) {
  using words = std::vector<std::string>;
  EXPECT_EQ(completions(prefix(), {"dravik-ctl", "ba"}), words{"backlight"});
  EXPECT_EQ(completions(prefix(), {"dravik-ctl", "--v"}), words{"--version"});
  EXPECT_EQ(completions(prefix(), {"dravik-ctl", "accel", "--w"}), words{"--watch"});
  EXPECT_EQ(completions(prefix(), {"dravik-sim", "panel", "--o"}), words{"--open"});
  EXPECT_EQ(completions(prefix(), {"dravik-ctl", "show", "logo"}), words{});
}

TEST(Install, PutsEachComponentByItself) {
  const scratch_directory scratch;
  const std::string prefix = scratch.at("usr");
  install(BUILD " --prefix " + prefix + " --component runtime");
  EXPECT_THAT(files_below(prefix), testing::ElementsAre(library_path, "share/doc/dravik/LICENSE"));
  install(BUILD " --prefix " + prefix + " --component development");
  EXPECT_THAT(files_below(prefix), Not(Contains(StartsWith("bin/"))));
  install(BUILD " --prefix " + prefix + " --component tools");
  EXPECT_THAT(files_below(prefix + "/bin"), testing::ElementsAre("dravik-art", "dravik-ctl"));
  install(BUILD " --prefix " + prefix + " --component simulator");
  EXPECT_THAT(files_below(prefix + "/bin"), Contains("dravik-sim"));
}

TEST(Install, CanBeStaged) {
  const scratch_directory scratch;
  expect_success("DESTDIR=" + scratch.at("stage") + " " CMAKE " --install " BUILD " --prefix /opt/dravik");
  const auto found = files_below(scratch.at("stage"));
  EXPECT_THAT(found, Contains("opt/dravik/share/bash-completion/completions/dravik-sim"));
  EXPECT_THAT(found, testing::Each(StartsWith("opt/dravik/")));
}

// The library is copied, not built: a build of the library alone takes half a minute.
TEST(Install, OmitsRestForLibraryOnly) {
  const scratch_directory scratch;
  const std::string build = scratch.at("build"), prefix = scratch.at("usr");
  expect_success(CMAKE " -S " SOURCE " -B " + build + " -DDRAVIK_TESTS=OFF -DDRAVIK_EXAMPLES=OFF");
  files::create_directories(build + "/lib");
  files::copy_file(LIBRARY_FILE, build + "/lib/libdravik.so.0.1.0");
  files::create_symlink("libdravik.so.0.1.0", build + "/lib/libdravik.so");
  install(build + " --prefix " + prefix);
  const auto found = files_below(prefix);
  EXPECT_THAT(found, IsSupersetOf({LIBRARY_DIRECTORY "/libdravik.so.0.1.0", "include/dravik.h"}));
  EXPECT_THAT(found, Not(Contains(AllOf(HasSubstr("dravik-"), Not(HasSubstr("/cmake/"))))));
}

} // namespace
