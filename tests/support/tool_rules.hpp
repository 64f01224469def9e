// Rules for every tool: the form of its help, and the places of its commands.
#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace dravik::test {

inline std::string text_of_file(const std::filesystem::path &path) {
  std::ifstream file{path};
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>{file}, {}};
}

/// The commands in the overview of a tool.
inline std::vector<std::string> commands_of(const std::string &overview) {
  std::vector<std::string> names;
  std::istringstream lines{overview.substr(std::min(overview.find("\nCommands:\n"), overview.size()))};
  std::string line;
  std::getline(lines, line); // the end of the line before
  std::getline(lines, line);
  while (std::getline(lines, line) && line.starts_with("  "))
    names.push_back(line.substr(2, line.find(' ', 2) - 2));
  return names;
}

/// Expect lines of at most 80 columns, the parts in their order, and the exit status last.
inline void expect_help_form(const std::string &help, const std::string &usage) {
  EXPECT_TRUE(help.starts_with("Usage: " + usage)) << help;
  EXPECT_TRUE(std::regex_search(help, std::regex{R"(^(.*\n)+?\n[A-Z][^\n]*\.\n)"}))
      << "no sentence: " << help;
  const size_t examples = help.find("\nExamples:\n  "), status = help.find("\nExit status: ");
  EXPECT_LT(examples, status) << help;
  EXPECT_NE(status, std::string::npos) << help;
  EXPECT_TRUE(help.ends_with('\n') && !help.ends_with("\n\n")) << help;
  std::istringstream lines{help};
  for (std::string line; std::getline(lines, line);) {
    const auto columns = std::ranges::count_if(line, [](char c) { return (c & 0xC0) != 0x80; });
    EXPECT_LE(columns, 80) << line;
    EXPECT_FALSE(line.ends_with(' ')) << line;
  }
}

/// Expect the common form of the help of a tool and of all its commands. `output` runs the tool.
inline void expect_help_of_tool(const std::string &tool,
                                const std::function<std::string(const std::vector<std::string> &)> &output) {
  const std::string overview = output({"--help"});
  expect_help_form(overview, tool + " COMMAND ...\n");
  const std::vector<std::string> commands = commands_of(overview);
  EXPECT_FALSE(commands.empty()) << overview;
  for (const std::string &command : commands) {
    const std::string help = output({command, "--help"});
    expect_help_form(help, tool + " " + command);
    EXPECT_NE(help.find("\n  " + tool + " " + command), std::string::npos) << "no example: " << help;
  }
}

/// Where the commands of a tool are declared, built, documented and tested; paths are relative
/// to DRAVIK_SOURCE.
struct places_of_commands {
  std::string overview;    ///< output of --help
  std::string sources;     ///< directory of the files that declare commands, and of their list
  std::string build_file;  ///< lists the source files
  std::string page;        ///< documentation
  std::string in_page;     ///< precedes a command's name in it
  std::string tests;       ///< directory of the tests
  std::string test_prefix; ///< of their file names
};

inline std::string source_path(const std::string &relative) {
  return DRAVIK_SOURCE "/" + relative;
}

inline bool mentions(const std::string &text, const std::string &before, const std::string &name) {
  return std::regex_search(
      text, std::regex{std::regex_replace(before, std::regex{R"([|`])"}, R"(\$&)") + name + "([^a-z]|$)"});
}

/// The text of all C++ files of a directory whose names start with `prefix`.
inline std::string text_of_sources(const std::string &directory, const std::string &prefix) {
  std::string text;
  for (const auto &entry : std::filesystem::directory_iterator{source_path(directory)})
    if (entry.path().filename().string().starts_with(prefix) && entry.path().extension() == ".cpp")
      text += text_of_file(entry.path());
  return text;
}

inline void expect_sources_are_built(const places_of_commands &in) {
  const std::string build_file = text_of_file(source_path(in.build_file));
  for (const auto &entry : std::filesystem::directory_iterator{source_path(in.sources)}) {
    const std::string source = entry.path().filename().string();
    const bool is_built = build_file.find(source) != std::string::npos;
    EXPECT_TRUE(is_built || !source.ends_with(".cpp")) << source << " is missing in " << in.build_file;
  }
}

inline void expect_declared_commands_are_listed(const places_of_commands &in) {
  const std::vector<std::string> listed = commands_of(in.overview);
  const std::string sources = text_of_sources(in.sources, "");
  const std::regex declaration{R"(command \w+_command = \{\s*\.name = "(\w+)\")"};
  for (std::sregex_iterator found{sources.begin(), sources.end(), declaration}, end; found != end; ++found)
    EXPECT_EQ(std::ranges::count(listed, (*found)[1].str()), 1)
        << "command '" << (*found)[1] << "' is missing in " << in.sources << "/commands.cpp";
}

/// Expect each command in all its places; a failure names the place that was forgotten.
inline void expect_places_of_commands(const places_of_commands &in) {
  expect_sources_are_built(in);
  expect_declared_commands_are_listed(in);
  const std::string page = text_of_file(source_path(in.page));
  const std::string tests = text_of_sources(in.tests, in.test_prefix);
  for (const std::string &name : commands_of(in.overview)) {
    EXPECT_TRUE(mentions(page, in.in_page, name)) << "command '" << name << "' is missing in " << in.page;
    EXPECT_NE(tests.find("{\"" + name + "\""), std::string::npos)
        << "command '" << name << "' has no test in " << in.tests;
  }
}

} // namespace dravik::test
