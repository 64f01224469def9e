// docs/messages.md against the messages in the library's sources.

#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <set>
#include <string>

namespace {

std::string text_of(const std::filesystem::path &path) {
  std::ifstream file{path};
  EXPECT_TRUE(file) << path;
  return {std::istreambuf_iterator<char>{file}, {}};
}

std::string all_sources() {
  std::string text;
  for (const auto &entry : std::filesystem::recursive_directory_iterator{SOURCE "/src"})
    if (entry.path().extension() == ".cpp")
      text += text_of(entry.path());
  return text;
}

/// The literals that are printed or logged, without the newline at their end.
std::set<std::string> messages(const std::string &sources) {
  const std::string literal = R"lit("((?:[^"\\]|\\.)*?)(?:\\n)?")lit";
  std::set<std::string> found;
  for (const char *before : {R"(\b(?:log_printf|perror|die|failed|open_failed)\(\s*)",
                             R"(\bfprintf\(\s*(?:stderr|file),\s*)", R"(return request\([^;"]*)"}) {
    const std::regex pattern{before + literal};
    for (std::sregex_iterator each{sources.begin(), sources.end(), pattern}; each != std::sregex_iterator{};
         ++each)
      found.insert((*each)[1]);
  }
  // The results of a call that have a message each.
  const std::regex results{R"lit("([^"\n]*err(?:or)?!)(?:\\n)?")lit"};
  for (std::sregex_iterator each{sources.begin(), sources.end(), results}; each != std::sregex_iterator{};
       ++each)
    found.insert((*each)[1]);
  return found;
}

TEST(Messages, AreInTheirIndex) {
  const std::string page = text_of(SOURCE "/docs/messages.md");
  const std::set<std::string> found = messages(all_sources());
  EXPECT_GT(found.size(), 110U);
  for (const std::string &message : found)
    EXPECT_NE(page.find("`" + message + "`"), std::string::npos) << "not in docs/messages.md: " << message;
}

/// All literals of several words that are not those of another kind: a new way to print is found too.
TEST(Messages, OfAnyFormAreInTheirIndex) {
  const std::string page = text_of(SOURCE "/docs/messages.md");
  const std::string sources = std::regex_replace(
      all_sources(), std::regex{R"(//[^\n]*|#include[^\n]*|static_assert\([^"]*"[^"]*"\);|extern "C")"}, "");
  const std::regex literal{R"lit("((?:[^"\\\n]|\\.)*?)(?:\\n)*")lit"};
  const std::regex other{R"((/|mount |amixer ).*|No HDMI|Basic EDID|vfat rw|ret : %d)"};
  size_t count = 0;
  for (std::sregex_iterator each{sources.begin(), sources.end(), literal}; each != std::sregex_iterator{};
       ++each) {
    const std::string text = (*each)[1];
    if (text.find(' ') == std::string::npos || std::regex_match(text, other))
      continue;
    ++count;
    EXPECT_NE(page.find("`" + text + "`"), std::string::npos) << "not in docs/messages.md: " << text;
  }
  EXPECT_GT(count, 100U);
}

/// The quoted texts of the first column of each table, and of the list of steps.
std::set<std::string> listed_messages(const std::string &page) {
  const std::regex place{R"(\n\| (`[^|]*`) \||\nSteps that are not errors:([^|]*?)\n\n)"},
      quoted{"`([^`]+)`"};
  std::set<std::string> found;
  for (std::sregex_iterator at{page.begin(), page.end(), place}; at != std::sregex_iterator{}; ++at) {
    const std::string cell = (*at)[1].matched ? (*at)[1] : (*at)[2];
    for (std::sregex_iterator each{cell.begin(), cell.end(), quoted}; each != std::sregex_iterator{}; ++each)
      found.insert((*each)[1]);
  }
  return found;
}

TEST(Messages, OfTheIndexAreInTheSources) {
  const std::string sources = all_sources();
  const std::set<std::string> listed = listed_messages(text_of(SOURCE "/docs/messages.md"));
  EXPECT_GT(listed.size(), 120U);
  EXPECT_EQ(listed.count("gsensor_open() : done!"), 1U);
  for (const std::string &message : listed)
    EXPECT_NE(sources.find("\"" + message), std::string::npos) << "not in src: " << message;
}

} // namespace
