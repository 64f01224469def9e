// Sorting of arguments.

#include "common/command_line.hpp"

#include <gtest/gtest.h>

namespace dravik::tools {
namespace {

constexpr option_rule rules[] = {{"--flag", false}, {"--name", true}, {"--many", true, true}};

struct parsed {
  bool ok;
  command_line given;
  std::string error;
};

parsed parse(std::vector<const char *> arguments, size_t own_operands = SIZE_MAX) {
  parsed made;
  made.ok = made.given.parse(arguments, rules, own_operands, made.error);
  return made;
}

using list = std::vector<std::string>;

TEST(CommandLine, SortsOptionsAndOperands) {
  const parsed made = parse({"a", "--flag", "b", "--name", "x", "-"});
  ASSERT_TRUE(made.ok) << made.error;
  EXPECT_EQ(made.given.operands(), (list{"a", "b", "-"}));
  EXPECT_TRUE(made.given.has("--flag"));
  EXPECT_EQ(made.given.value("--name"), "x");
  EXPECT_EQ(parse({"--name=a=b"}).given.value("--name"), "a=b");
  EXPECT_EQ(parse({}).given.value("--name", "default"), "default");
}

TEST(CommandLine, TreatsAllAfterTwoHyphensAsOperands) {
  EXPECT_EQ(parse({"--", "--flag", "--"}).given.operands(), (list{"--flag", "--"}));
}

TEST(CommandLine, LeavesArgumentsOfAnotherProgramAlone) {
  const parsed plain = parse({"--flag", "board", "app", "--flag", "--", "--odd"}, 1);
  ASSERT_TRUE(plain.ok) << plain.error;
  EXPECT_EQ(plain.given.operands(), (list{"board", "app", "--flag", "--", "--odd"}));
  EXPECT_TRUE(plain.given.has("--flag"));
  EXPECT_EQ(parse({"board", "--", "--odd", "--"}, 1).given.operands(), (list{"board", "--odd", "--"}));
  const parsed late = parse({"board", "--name", "x", "app", "--name"}, 1);
  EXPECT_EQ(late.given.operands(), (list{"board", "app", "--name"}));
  EXPECT_EQ(late.given.value("--name"), "x");
}

TEST(CommandLine, CollectsValuesOfARepeatedOption) {
  const parsed made = parse({"--many", "a", "--many=b"});
  ASSERT_TRUE(made.ok) << made.error;
  EXPECT_EQ(made.given.values("--many"), (list{"a", "b"}));
  EXPECT_EQ(made.given.values("--name"), list{});
}

TEST(CommandLine, RejectsUnknownAndIncompleteOptions) {
  EXPECT_EQ(parse({"--frob"}).error, "unknown option '--frob'");
  EXPECT_EQ(parse({"-x"}).error, "unknown option '-x'");
  EXPECT_EQ(parse({"--flag", "--flag"}).error, "option '--flag' given twice");
  EXPECT_EQ(parse({"--flag=1"}).error, "option '--flag' accepts no value");
  EXPECT_EQ(parse({"--name"}).error, "option '--name' requires a value");
}

} // namespace
} // namespace dravik::tools
