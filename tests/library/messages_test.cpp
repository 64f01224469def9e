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

TEST(Messages, OfTheIndexAreInTheSources) {
  const std::string page = text_of(SOURCE "/docs/messages.md"), sources = all_sources();
  const std::regex row{R"(\n\| `([^`]+)`)"};
  size_t count = 0;
  for (std::sregex_iterator each{page.begin(), page.end(), row}; each != std::sregex_iterator{};
       ++each, ++count)
    EXPECT_NE(sources.find("\"" + (*each)[1].str()), std::string::npos) << "not in src: " << (*each)[1];
  EXPECT_GT(count, 80U);
}

} // namespace
