// Output captured during a call.

#include "dravik-ctl/captured_output.hpp"
#include "support/descriptors.hpp"

#include <cstdio>
#include <gtest/gtest.h>
#include <unistd.h>

namespace dravik::ctl {
namespace {

captured_output three_lines() {
  return captured_output{[] {
    std::fputs("first of stderr\n", stderr);
    std::fputs("second, with an error\n", stderr);
    std::fputs("third of stderr\n", stderr);
  }};
}

TEST(CtlCapturedOutput, FindsLines) {
  const captured_output output = three_lines();
  EXPECT_EQ(output.first_line(), "first of stderr");
  EXPECT_EQ(output.first_line("error"), "second, with an error");
  EXPECT_EQ(output.first_line("second"), "second, with an error");
  EXPECT_EQ(output.first_line("fourth"), "");
  EXPECT_EQ(output.last_line(), "third of stderr");
  EXPECT_FALSE(output.is_empty());
}

TEST(CtlCapturedOutput, CapturesBothOutputs) {
  testing::internal::CaptureStdout();
  const captured_output output{[] {
    std::puts("from stdio");
    [[maybe_unused]] const ssize_t written = ::write(STDOUT_FILENO, "from a child\n", 13);
  }};
  std::puts("afterwards");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "afterwards\n");
  EXPECT_EQ(output.first_line("stdio"), "from stdio");
  EXPECT_EQ(output.first_line("child"), "from a child");
}

TEST(CtlCapturedOutput, LeavesWhatWasWrittenBefore) {
  testing::internal::CaptureStdout();
  std::fputs("before", stdout);
  const captured_output output{[] {}};
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "before");
  EXPECT_TRUE(output.is_empty());
  EXPECT_EQ(output.first_line(), "");
  EXPECT_EQ(output.last_line(), "");
}

TEST(CtlCapturedOutput, CapturesLineWithoutEnd) {
  const captured_output output{[] { std::fputs("no end", stderr); }};
  EXPECT_EQ(output.first_line(), "no end");
  EXPECT_EQ(output.last_line(), "no end");
}

TEST(CtlCapturedOutput, LeavesNoDescriptorOpen) {
  three_lines();
  const size_t before = test::open_descriptors();
  three_lines();
  EXPECT_EQ(test::open_descriptors(), before);
}

TEST(CtlCapturedOutput, LetsThroughOnWish) {
  captured_output::print_to_stderr(true);
  testing::internal::CaptureStderr();
  const captured_output output = three_lines();
  captured_output::print_to_stderr(false);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "first of stderr\nsecond, with an error\nthird of stderr\n");
  EXPECT_EQ(output.last_line(), "third of stderr");
}

TEST(CtlCapturedOutput, PrintsReasonInBrackets) {
  EXPECT_EQ(because("it failed", "the reason"), "it failed (the reason)");
  EXPECT_EQ(because("it failed", ""), "it failed");
}

} // namespace
} // namespace dravik::ctl
