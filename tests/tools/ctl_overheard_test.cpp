// Output captured during a call.

#include "dravik-ctl/overheard.hpp"
#include "support/descriptors.hpp"

#include <cstdio>
#include <gtest/gtest.h>
#include <unistd.h>

namespace dravik::ctl {
namespace {

overheard three_lines() {
  return overheard{[] {
    std::fputs("first of stderr\n", stderr);
    std::fputs("second, with an error\n", stderr);
    std::fputs("third of stderr\n", stderr);
  }};
}

TEST(CtlOverheard, FindsLines) {
  const overheard said = three_lines();
  EXPECT_EQ(said.first_line(), "first of stderr");
  EXPECT_EQ(said.first_line("error"), "second, with an error");
  EXPECT_EQ(said.first_line("second"), "second, with an error");
  EXPECT_EQ(said.first_line("fourth"), "");
  EXPECT_EQ(said.last_line(), "third of stderr");
  EXPECT_FALSE(said.said_nothing());
}

TEST(CtlOverheard, CapturesBothOutputs) {
  testing::internal::CaptureStdout();
  const overheard said{[] {
    std::puts("from stdio");
    [[maybe_unused]] const ssize_t written = ::write(STDOUT_FILENO, "from a child\n", 13);
  }};
  std::puts("afterwards");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "afterwards\n");
  EXPECT_EQ(said.first_line("stdio"), "from stdio");
  EXPECT_EQ(said.first_line("child"), "from a child");
}

TEST(CtlOverheard, LeavesWhatWasWrittenBefore) {
  testing::internal::CaptureStdout();
  std::fputs("before", stdout);
  const overheard said{[] {}};
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "before");
  EXPECT_TRUE(said.said_nothing());
  EXPECT_EQ(said.first_line(), "");
  EXPECT_EQ(said.last_line(), "");
}

TEST(CtlOverheard, CapturesLineWithoutEnd) {
  const overheard said{[] { std::fputs("no end", stderr); }};
  EXPECT_EQ(said.first_line(), "no end");
  EXPECT_EQ(said.last_line(), "no end");
}

TEST(CtlOverheard, LeavesNoDescriptorOpen) {
  three_lines();
  const size_t before = test::open_descriptors();
  three_lines();
  EXPECT_EQ(test::open_descriptors(), before);
}

TEST(CtlOverheard, LetsThroughOnWish) {
  overheard::let_through(true);
  testing::internal::CaptureStderr();
  const overheard said = three_lines();
  overheard::let_through(false);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "first of stderr\nsecond, with an error\nthird of stderr\n");
  EXPECT_EQ(said.last_line(), "third of stderr");
}

TEST(CtlOverheard, PrintsReasonInBrackets) {
  EXPECT_EQ(because("it failed", "the reason"), "it failed (the reason)");
  EXPECT_EQ(because("it failed", ""), "it failed");
}

} // namespace
} // namespace dravik::ctl
