// The tool as a whole: help, version and words that make no sense.

#include "art_fixture.hpp"

using namespace dravik;
using namespace dravik::art_test;

namespace {

using ArtCommandLine = ArtTool;
constexpr const char *commands[] = {"pack", "list", "check", "unpack", "preview"};

} // namespace

TEST_F(ArtCommandLine, VersionIsThatOfTheProject) {
  const run_result result = run({"--version"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out, "dravik-art " DRAVIK_ART_VERSION "\n");
  EXPECT_EQ(result.err, "");
}

TEST_F(ArtCommandLine, HelpNamesEveryCommandAndHasExamples) {
  const run_result result = run({"--help"});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  for (const std::string command : commands)
    EXPECT_NE(result.out.find("\n  " + command + " "), std::string::npos) << command;
  EXPECT_NE(result.out.find("Examples:\n"), std::string::npos);
}

TEST_F(ArtCommandLine, EveryCommandHasHelpWithAnExample) {
  for (const std::string command : commands)
    for (const std::vector<std::string> &words :
         {std::vector<std::string>{command, "--help"},
          std::vector<std::string>{command, "a", "--help", "--frob"}}) {
      const run_result result = run(words);
      EXPECT_EQ(result.status, 0) << command;
      EXPECT_EQ(result.err, "") << command;
      EXPECT_EQ(result.out.rfind("dravik-art " + command + " ", 0), 0u) << result.out;
      EXPECT_NE(result.out.find("\n  dravik-art " + command), std::string::npos) << result.out;
      EXPECT_NE(result.out.find("Example"), std::string::npos) << result.out;
    }
}

TEST_F(ArtCommandLine, HelpFitsAScreen) {
  for (const std::string command : {"", "pack", "list", "check", "unpack", "preview"}) {
    const std::string out = run(command.empty() ? std::vector<std::string>{"--help"}
                                                : std::vector<std::string>{command, "--help"})
                                .out;
    size_t start = 0;
    for (size_t end = 0; (end = out.find('\n', start)) != std::string::npos; start = end + 1)
      EXPECT_LE(end - start, 120u) << out.substr(start, end - start);
  }
}

TEST_F(ArtCommandLine, RefusesWordsThatMakeNoSense) {
  const std::string how = " (--help tells how)";
  expect_refusal({}, 2, "no command given" + how);
  expect_refusal({"paint"}, 2, "unknown command 'paint'" + how);
  expect_refusal({"--frob"}, 2, "unknown command '--frob'" + how);
  expect_refusal({"list", "--frob", "a"}, 2, "list: unknown option --frob" + how);
  expect_refusal({"list", "-l", "a"}, 2, "list: unknown option -l" + how);
  expect_refusal({"list", "a", "b"}, 2, "list: too many arguments" + how);
  expect_refusal({"check"}, 2, "check: too few arguments" + how);
  expect_refusal({"pack", "a", "--list"}, 2, "pack: option --list needs a value" + how);
  expect_refusal({"pack", "a", "--list", "b", "--list", "c"}, 2, "pack: option --list given twice" + how);
}

TEST_F(ArtCommandLine, NamesThatBeginWithAHyphenFollowTwoHyphens) {
  write_bytes(at("--help"), sound_archive());
  expect_quiet_success({"check", "--", "--help"});
  write_bytes(at("-"), sound_archive());
  expect_quiet_success({"check", "-"});
}

TEST_F(ArtCommandLine, AComplaintIsOneLineWhateverTheName) {
  expect_refusal({"list", "a\nb\x1B[31m\x7F"}, 1, "a?b?[31m?: No such file or directory");
}

TEST_F(ArtCommandLine, LostOutputOfHelpIsAFailure) {
  const run_result result = run_program({DRAVIK_ART, "--help"}, "/dev/full");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "dravik-art: standard output: No space left on device\n");
}
