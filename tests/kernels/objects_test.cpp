// Objects that are compiled for one machine: what they define must not stand in for code of
// another machine.

#include <array>
#include <cstdio>
#include <gtest/gtest.h>
#include <sstream>
#include <string>

namespace dravik::test {
namespace {

/// The names that an object defines for others, weak ones too; without those that a sanitizer adds.
std::string defined_by(const std::string &object) {
  const std::string command = "'" NM "' --extern-only --defined-only --format=posix '" + object + "'";
  FILE *listing = ::popen(command.c_str(), "r");
  std::string names;
  for (std::array<char, 512> line; listing != nullptr && std::fgets(line.data(), line.size(), listing);)
    if (const std::string text{line.data()}; !text.starts_with("__odr_asan."))
      names += text.substr(0, text.find(' ')) + "\n";
  EXPECT_EQ(::pclose(listing), 0) << command;
  return names;
}

TEST(MachineObjects, DefineOneNameEach) {
  std::istringstream objects{MACHINE_OBJECTS};
  int seen = 0;
  for (std::string object; std::getline(objects, object, '|'); ++seen) {
    const std::string names = defined_by(object);
    EXPECT_EQ(std::count(names.begin(), names.end(), '\n'), 1) << object << " defines\n" << names;
  }
  if (seen == 0)
    GTEST_SKIP() << "this build has the plain loops alone";
}

} // namespace
} // namespace dravik::test
