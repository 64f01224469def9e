// The shared library as a file: its exports, its dependencies, its name.

#include "dravik.h"
#include "exported_names.hpp"
#include "support/paths.hpp"

#include <cstdio>
#include <fstream>
#include <gmock/gmock.h>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::IsSupersetOf;
using testing::Not;

/// The lines that a command writes.
std::vector<std::string> lines_of(const std::string &command) {
  std::vector<std::string> lines;
  std::FILE *stream = ::popen(command.c_str(), "r");
  EXPECT_NE(stream, nullptr);
  std::string line;
  for (int c; (c = std::fgetc(stream)) != EOF;) {
    if (c != '\n') {
      line += static_cast<char>(c);
      continue;
    }
    lines.push_back(line);
    line.clear();
  }
  EXPECT_EQ(::pclose(stream), 0) << command;
  EXPECT_THAT(lines, Not(IsEmpty())) << command;
  return lines;
}

/// The text in brackets of the dynamic section's entries of one kind.
std::vector<std::string> dynamic_entries(const std::string &kind) {
  std::vector<std::string> entries;
  for (const std::string &line : lines_of(std::string{READELF " --wide --dynamic "} + library_path))
    if (line.find("(" + kind + ")") != std::string::npos) {
      const size_t start = line.find('[') + 1;
      entries.push_back(line.substr(start, line.find(']') - start));
    }
  return entries;
}

/// The names that the library defines for others, versions and all, with their sizes.
std::map<std::string, unsigned long> defined_names() {
  std::map<std::string, unsigned long> names;
  for (const std::string &line :
       lines_of(std::string{NM " --dynamic --defined-only --print-size --format=posix "} + library_path)) {
    std::istringstream fields{line};
    std::string name, kind, address, size;
    fields >> name >> kind >> address >> size;
    names[name] = size.empty() ? 0 : std::stoul(size, nullptr, 16);
  }
  return names;
}

/// The name that ends a piece of text.
std::string last_name(const std::string &text) {
  constexpr const char *letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_";
  const size_t end = text.find_last_of(letters) + 1;
  const size_t start = text.find_last_not_of(letters, end - 1) + 1;
  return text.substr(start, end - start);
}

/// The names that the header declares: those before the first bracket or semicolon after DRAVIK_API.
std::set<std::string> declared_names() {
  std::ifstream file{HEADER};
  std::set<std::string> names;
  for (std::string line, more; std::getline(file, line);) {
    size_t start = line.starts_with('#') ? std::string::npos : line.find("DRAVIK_API ");
    if (start == std::string::npos)
      continue;
    while (line.find_first_of("([;", start) == std::string::npos && std::getline(file, more))
      line += more;
    names.insert(last_name(line.substr(start, line.find_first_of("([;", start) - start)));
  }
  return names;
}

/// Whether the library exports these names and no others.
testing::AssertionResult are_exported(const std::set<std::string> &names) {
  testing::AssertionResult result = testing::AssertionSuccess();
  const auto defined = defined_names();
  for (const std::string &name : names)
    if (!defined.contains(name))
      result = testing::AssertionFailure() << name << " is not exported";
  for (const auto &[name, size] : defined)
    if (!names.contains(name))
      result = testing::AssertionFailure() << name << " is exported";
  return result;
}

TEST(Library, IsCalledByItsVersion) {
  EXPECT_THAT(dynamic_entries("SONAME"), ElementsAre("libdravik.so.0.1.0"));
}

// A release with the same ABI keeps the soname, which then has an older patch number.
TEST(Library, HasVersionOfSoname) {
  const std::vector<std::string> soname = dynamic_entries("SONAME");
  int major = -1, minor = -1, patch = -1;
  ASSERT_EQ(std::sscanf(soname.at(0).c_str(), "libdravik.so.%d.%d.%d", &major, &minor, &patch), 3);
  EXPECT_EQ(DRAVIK_VERSION_MAJOR, major);
  EXPECT_EQ(DRAVIK_VERSION_MINOR, minor);
  EXPECT_GE(DRAVIK_VERSION_PATCH, patch);
}

TEST(Library, HasVersionOfProject) {
  const std::string numbers = std::to_string(DRAVIK_VERSION_MAJOR) + "." +
                              std::to_string(DRAVIK_VERSION_MINOR) + "." +
                              std::to_string(DRAVIK_VERSION_PATCH);
  EXPECT_EQ(DRAVIK_VERSION_STRING, numbers);
  EXPECT_EQ(PROJECT_VERSION, numbers);
}

TEST(Library, NeedsNoCxxRunTimeLibrary) {
  const std::vector<std::string> needed = dynamic_entries("NEEDED");
  EXPECT_THAT(needed, Contains("libc.so.6"));
  EXPECT_THAT(needed, Not(Contains(HasSubstr("libstdc++"))));
  EXPECT_THAT(needed, Not(Contains(HasSubstr("libgcc"))));
}

TEST(Library, ExportsTheNamesOfItsListAndNoOthers) {
  std::set<std::string> listed;
  for (const exported_name &exported : exported_names)
    listed.insert(exported.name);
  EXPECT_EQ(listed.size(), exported_names.size());
  EXPECT_TRUE(are_exported(listed));
}

TEST(Library, ExportsWhatTheHeaderDeclaresAndNothingElse) {
  const std::set<std::string> declared = declared_names();
  EXPECT_THAT(declared, Contains("fb_init"));
  EXPECT_THAT(declared, Contains("gc"));
  EXPECT_TRUE(are_exported(declared));
}

TEST(Library, HasSizesOfHeader) {
  auto sizes = defined_names();
  EXPECT_EQ(sizes["fbfd"], 4U);
  EXPECT_EQ(sizes["fbp"], sizeof(void *));
  EXPECT_EQ(sizes["fbp0"], sizeof(void *));
  EXPECT_EQ(sizes["fbinfo"], 48U);
  EXPECT_EQ(sizes["image_buffer"], 307200U);
  EXPECT_EQ(sizes["gc"], 928U);
  EXPECT_EQ(sizes["grad_line"], 416U);
}

// Then the programs next to this one prove what they are for: that both sides use the same copy.
TEST(Library, SharesGlobalsWithProgramsOfFixedAddress) {
  std::set<std::string> names;
  for (const std::string &line : lines_of(std::string{READELF " --wide --relocs "} + program_path)) {
    std::istringstream fields{line};
    std::string offset, info, type, value, name;
    fields >> offset >> info >> type >> value >> name;
    if (type.ends_with("_COPY"))
      names.insert(name);
  }
  EXPECT_THAT(names, IsSupersetOf({"gc", "grad_line", "fbinfo", "fbp", "psf_font_num", "q7bmp_ptr_num"}));
}

} // namespace
