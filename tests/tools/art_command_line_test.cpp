// The tool as a whole: help, version, invalid arguments.

#include "art_fixture.hpp"
#include "support/paths.hpp"
#include "support/tool_rules.hpp"

using namespace dravik;
using namespace dravik::art_test;

namespace {

class ArtCommandLine : public ArtTool {
protected:
  std::string checked_output(const std::vector<std::string> &arguments) const {
    const run_result result = run(arguments);
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.err, "");
    return result.out;
  }
};

} // namespace

TEST_F(ArtCommandLine, PrintsTheVersionOfTheProject) {
  EXPECT_EQ(checked_output({"--version"}), "dravik-art " DRAVIK_VERSION "\n");
}

TEST_F(ArtCommandLine, PrintsHelpOfCommonForm) {
  test::expect_help_of_tool("dravik-art",
                            [this](const auto &arguments) { return checked_output(arguments); });
}

TEST_F(ArtCommandLine, HasEveryCommandInAllPlaces) {
  test::expect_places_of_commands({.overview = checked_output({"--help"}),
                                   .sources = "tools/dravik-art",
                                   .build_file = "tools/dravik-art/CMakeLists.txt",
                                   .page = "docs/artwork.md",
                                   .in_page = "dravik-art ",
                                   .tests = "tests/tools",
                                   .test_prefix = "art_"});
}

TEST_F(ArtCommandLine, PrintsHelpAmongOtherArguments) {
  EXPECT_EQ(checked_output({"check", "a", "--help", "--frob"}), checked_output({"check", "--help"}));
  EXPECT_EQ(checked_output({"check", "-h"}), checked_output({"check", "--help"}));
  EXPECT_EQ(checked_output({"-h"}), checked_output({"--help"}));
}

TEST_F(ArtCommandLine, RejectsInvalidArguments) {
  const std::string hint = "; try 'dravik-art --help'";
  expect_refusal({}, 2, "missing COMMAND" + hint);
  expect_refusal({"paint"}, 2, "unknown command 'paint'" + hint);
  expect_refusal({"--frob"}, 2, "unknown command '--frob'" + hint);
  const std::string list_hint = "; try 'dravik-art list --help'";
  expect_refusal({"list", "--frob", "a"}, 2, "list: unknown option '--frob'" + list_hint);
  expect_refusal({"list", "-l", "a"}, 2, "list: unknown option '-l'" + list_hint);
  expect_refusal({"list", "a", "b"}, 2, "list: extra argument 'b'" + list_hint);
  expect_refusal({"check"}, 2, "check: missing ARCHIVE; try 'dravik-art check --help'");
  const std::string pack_hint = "; try 'dravik-art pack --help'";
  expect_refusal({"pack", "a", "--list"}, 2, "pack: option '--list' requires a value" + pack_hint);
  expect_refusal({"pack", "a", "--list", "b", "--list", "c"}, 2,
                 "pack: option '--list' given twice" + pack_hint);
}

TEST_F(ArtCommandLine, NamesThatBeginWithAHyphenFollowTwoHyphens) {
  write_bytes(at("--help"), sound_archive());
  expect_quiet_success({"check", "--", "--help"});
  write_bytes(at("-"), sound_archive());
  expect_quiet_success({"check", "-"});
}

TEST_F(ArtCommandLine, PrintsErrorsOnOneLine) {
  expect_refusal({"list", "a\nb\x1B[31m\x7F"}, 1, "a?b?[31m?: No such file or directory");
}

TEST_F(ArtCommandLine, FailsIfHelpCannotBeWritten) {
  const run_result result = run_program({dravik_art_path, "--help"}, "/dev/full");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "dravik-art: standard output: No space left on device\n");
}
