// The places that a call must have beside its declaration. A failure names the call and the place that is missing.

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <regex>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;

const fs::path source = SOURCE;

struct call {
  std::string group; ///< by @defgroup
  std::string name;
  std::string parameters;

  /// Whether it draws: all functions of the shapes, and those with a position.
  bool draws() const { return group == "shapes" || std::regex_search(parameters, std::regex{R"(_t x\b)"}); }
};

std::string text_of(const fs::path &path) {
  std::ifstream file{path};
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>{file}, {}};
}

/// The contents of all files below a directory that end in one of `endings`.
std::string text_below(const fs::path &directory, const std::vector<std::string> &endings) {
  std::string text;
  for (const auto &entry : fs::recursive_directory_iterator{directory})
    if (std::ranges::count(endings, entry.path().extension().string()) != 0)
      text += text_of(entry.path());
  EXPECT_FALSE(text.empty()) << directory;
  return text;
}

/// The functions that the header declares, each with the group that it is in.
std::vector<call> declared_calls() {
  const std::string header = text_of(source / "include/dravik.h");
  const std::regex item{R"(@defgroup (\w+)|DRAVIK_API [^;={]*?(\w+)\(([^;]*)\) DRAVIK_NOEXCEPT)"};
  std::vector<call> calls;
  std::string group;
  for (std::sregex_iterator at{header.begin(), header.end(), item}; at != std::sregex_iterator{}; ++at) {
    if ((*at)[1].matched)
      group = (*at)[1];
    else
      calls.push_back({group, (*at)[2], (*at)[3]});
  }
  return calls;
}

std::vector<call> drawing_calls() {
  std::vector<call> calls = declared_calls();
  std::erase_if(calls, [](const call &c) { return !c.draws(); });
  return calls;
}

bool is_letter(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
}

/// Whether a text contains a name that is not a part of a longer one.
bool names(const std::string &text, const std::string &name) {
  for (size_t at = text.find(name); at != std::string::npos; at = text.find(name, at + 1))
    if ((at == 0 || !is_letter(text[at - 1])) && !is_letter(text[at + name.size()]))
      return true;
  return false;
}

TEST(Places, FindsCallsAndGroups) {
  const std::vector<call> calls = declared_calls(), drawing = drawing_calls();
  const std::string exports = text_of(source / "src/exports.map");
  for (const call &each : calls)
    EXPECT_TRUE(names(exports, each.name)) << each.name;
  EXPECT_GT(calls.size(), 100U);
  for (const std::string name :
       {"fb_put_pixel", "fb_clear_screen_gradient", "fb_printf", "put_unicode_string"})
    EXPECT_EQ(std::ranges::count(drawing, name, &call::name), 1) << name;
  for (const std::string name : {"fb_init", "gsensor_get_data", "log_printf"})
    EXPECT_EQ(std::ranges::count(drawing, name, &call::name), 0) << name;
}

TEST(Places, EveryCallIsTested) {
  std::string tests;
  for (const auto &entry : fs::recursive_directory_iterator{source / "tests"})
    if ((entry.path().extension() == ".cpp" || entry.path().extension() == ".hpp") &&
        entry.path().parent_path().filename() != "library")
      tests += text_of(entry.path());
  for (const call &each : declared_calls())
    EXPECT_TRUE(names(tests, each.name)) << each.name << "() is called by no test below tests/";
}

TEST(Places, AllocationsOfEveryDrawingCallAreCounted) {
  const std::string test = text_of(source / "tests/library/allocations_test.cpp");
  for (const call &each : drawing_calls())
    EXPECT_TRUE(names(test, each.name)) << each.name << "() is not in tests/library/allocations_test.cpp";
}

TEST(Places, EveryDrawingCallIsBenchmarked) {
  const std::string bench = text_below(source / "bench", {".cpp"});
  for (const call &each : drawing_calls())
    EXPECT_TRUE(names(bench, each.name)) << each.name << "() has no row in bench/";
}

/// The beginnings of rows that docs/performance.md names for a call: "| `name()` | `row`, `row` |".
std::vector<std::string> rows_of(const std::string &page, const std::string &name) {
  const size_t start = page.find("\n| `" + name + "()` |");
  if (start == std::string::npos)
    return {};
  const size_t rows = page.find(" |", start) + 2;
  const std::string line = page.substr(rows, page.find('\n', rows) - rows);
  const std::regex quoted{"`([^`]+)`"};
  std::vector<std::string> found;
  for (std::sregex_iterator at{line.begin(), line.end(), quoted}; at != std::sregex_iterator{}; ++at)
    found.push_back((*at)[1]);
  return found;
}

TEST(Places, EveryDrawingCallHasRowsInThePerformancePage) {
  const std::string page = text_of(source / "docs/performance.md");
  const std::string bench = text_below(source / "bench", {".cpp"});
  for (const call &each : drawing_calls()) {
    const std::vector<std::string> rows = rows_of(page, each.name);
    EXPECT_FALSE(rows.empty()) << each.name << "() is not in the table 'Rows by call' of docs/performance.md";
    for (const std::string &row : rows) {
      EXPECT_NE(page.find("\n| " + row), std::string::npos) << row << ": no result in docs/performance.md";
      EXPECT_NE(bench.find('"' + row), std::string::npos) << row << ": no such row in bench/";
    }
  }
}

TEST(Places, EveryDrawingCallIsInTheTableOfClipping) {
  const std::string page = text_of(source / "docs/using.md");
  const size_t start = page.find("\n## What is clipped\n");
  ASSERT_NE(start, std::string::npos);
  const std::string table = page.substr(start, page.find("\n## ", start + 1) - start);
  for (const call &each : drawing_calls())
    EXPECT_TRUE(names(table, each.name)) << each.name << "() is not in 'What is clipped' of docs/using.md";
}

TEST(Places, EveryDrawingCallHasAPicture) {
  const std::string pictures = text_of(source / "docs/manual/pictures.c");
  for (const call &each : drawing_calls())
    EXPECT_NE(pictures.find("{\"" + each.name + "\","), std::string::npos)
        << each.name << "() has no picture in docs/manual/pictures.c";
}

/// The programs are examples, which are compiled and run by tests.
TEST(Places, EveryGroupHasAPageWithAProgram) {
  const std::string pages = text_of(source / "docs/manual/groups.dox");
  const std::string header = text_of(source / "include/dravik.h");
  const std::regex group{R"(@defgroup (\w+))"}, program{R"(@include (\S+))"};
  for (std::sregex_iterator at{header.begin(), header.end(), group}; at != std::sregex_iterator{}; ++at) {
    const std::string name = (*at)[1];
    const size_t start = pages.find("@addtogroup " + name + "\n");
    const std::string page =
        start == std::string::npos ? "" : pages.substr(start, pages.find("*/", start) - start);
    for (const std::string part : {"Program", "Threads", "Failures"})
      EXPECT_NE(page.find("@par " + part + "\n"), std::string::npos)
          << name << " has no paragraph '" << part << "'";
    for (std::sregex_iterator each{page.begin(), page.end(), program}; each != std::sregex_iterator{}; ++each)
      EXPECT_TRUE(fs::exists(source / "examples" / (*each)[1].str())) << name << ": " << (*each)[1];
  }
}

/// Whether a build file names a source of tests, completely or without "_test.cpp".
bool builds_test(const std::string &build_file, const std::string &stem) {
  return names(build_file, stem) || names(build_file, stem.substr(0, stem.rfind("_test")));
}

TEST(Places, EveryTestIsBuilt) {
  size_t tests = 0;
  for (const auto &directory : fs::directory_iterator{source / "tests"}) {
    if (!fs::exists(directory.path() / "CMakeLists.txt"))
      continue;
    const std::string build_file = text_of(directory.path() / "CMakeLists.txt");
    for (const auto &entry : fs::directory_iterator{directory}) {
      if (!entry.path().filename().string().ends_with("_test.cpp"))
        continue;
      ++tests;
      EXPECT_TRUE(builds_test(build_file, entry.path().stem().string()))
          << entry.path() << " is missing in the CMakeLists.txt next to it";
    }
  }
  EXPECT_GT(tests, 100U);
}

/// The files of fuzz/ with an input each; the others are shared.
std::vector<std::string> fuzz_targets() {
  std::vector<std::string> targets;
  for (const auto &entry : fs::directory_iterator{source / "fuzz"})
    if (entry.path().extension() == ".cpp" && names(text_of(entry.path()), "LLVMFuzzerTestOneInput") &&
        entry.path().stem() != "replay")
      targets.push_back(entry.path().stem());
  return targets;
}

TEST(Places, EveryFuzzTargetIsInAllPlaces) {
  const std::string build_file = text_of(source / "fuzz/CMakeLists.txt");
  const std::string script = text_of(source / "scripts/fuzz"), page = text_of(source / "docs/fuzzing.md");
  const std::vector<std::string> targets = fuzz_targets();
  EXPECT_GT(targets.size(), 10U);
  for (const std::string &name : targets) {
    EXPECT_TRUE(names(build_file, name)) << name << " is missing in fuzz/CMakeLists.txt";
    EXPECT_TRUE(names(script, name)) << name << " is missing in scripts/fuzz";
    EXPECT_NE(page.find("| `" + name + "` |"), std::string::npos) << name << " is missing in docs/fuzzing.md";
    EXPECT_TRUE(fs::is_directory(source / "fuzz/seeds" / name)) << name << " has no seeds in fuzz/seeds";
  }
}

/// What the first paragraphs of README.md call each group.
const std::map<std::string, std::string> words_in_readme = {
    {"screen", "frame buffer"},
    {"colours", "gradients"},
    {"shapes", "lines, rectangles, circles"},
    {"placement", "alignment"},
    {"bmp", "BMP and JPEG images"},
    {"bmp_slots", "BMP and JPEG images"},
    {"jpeg", "BMP and JPEG images"},
    {"artwork", "packed interface artwork"},
    {"psf_text", "bitmap fonts"},
    {"truetype", "anti-aliased text"},
    {"sound", "plays MP3, WAV and raw PCM files"},
    {"mixer", "volume"},
    {"log", "event log"},
    {"console", "serial console"},
    {"adc", "temperature"},
    {"backlight", "backlight"},
    {"gpio", "GPIO"},
    {"gsensor", "accelerometer"},
    {"probes", "network"},
    {"sd_card", "memory card"},
    {"checksums", "checksums"},
};

TEST(Places, EveryGroupIsInTheReadme) {
  std::string readme = text_of(source / "README.md");
  readme.resize(std::min(readme.find("\n## "), readme.size()));
  std::ranges::replace(readme, '\n', ' ');
  const std::string header = text_of(source / "include/dravik.h");
  const std::regex group{R"(@defgroup (\w+))"};
  for (std::sregex_iterator at{header.begin(), header.end(), group}; at != std::sregex_iterator{}; ++at) {
    const auto known = words_in_readme.find((*at)[1]);
    if (known == words_in_readme.end())
      ADD_FAILURE() << "group " << (*at)[1] << " has no words for README.md in this test";
    else
      EXPECT_NE(readme.find(known->second), std::string::npos)
          << "the introduction of README.md does not name '" << known->second << "'";
  }
}

} // namespace
