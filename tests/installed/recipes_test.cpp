// The recipes in packaging/, as far as they can be checked without Buildroot and Yocto.

#include "first_program.hpp"

#include <gmock/gmock.h>
#include <regex>
#include <sstream>
#include <string>

namespace {

using dravik::test::expect_success;
using dravik::test::text_of;
using testing::HasSubstr;

const std::string buildroot = text_of(SOURCE "/packaging/buildroot/package/libdravik/libdravik.mk");
const std::string yocto =
    text_of(SOURCE "/packaging/yocto/recipes-multimedia/libdravik/libdravik_" VERSION ".bb");

TEST(Recipes, HaveTheVersionOfTheProject) {
  EXPECT_THAT(buildroot, HasSubstr("LIBDRAVIK_VERSION = " VERSION "\n"));
  EXPECT_THAT(text_of(SOURCE "/packaging/debian/changelog"), HasSubstr("libdravik (" VERSION "-1)"));
}

TEST(Recipes, HaveTheChecksumOfTheLicence) {
  const std::string sum = expect_success("md5sum <" SOURCE "/LICENSE").substr(0, 32);
  EXPECT_THAT(yocto, HasSubstr("LICENSE;md5=" + sum + "\""));
}

// CMake ignores options that do not exist.
TEST(Recipes, SetOptionsThatExist) {
  const std::string options = text_of(SOURCE "/cmake/DravikOptions.cmake");
  const std::regex option{"-D(DRAVIK_[A-Z]+)="};
  for (const std::string &recipe : {buildroot, yocto}) {
    size_t count = 0;
    for (std::sregex_iterator each{recipe.begin(), recipe.end(), option}; each != std::sregex_iterator{};
         ++each, ++count)
      EXPECT_THAT(options, HasSubstr("option(" + (*each)[1].str() + " "));
    EXPECT_EQ(count, 5U);
  }
}

} // namespace
