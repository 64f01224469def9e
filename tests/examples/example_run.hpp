// Examples run on a test's board, and how they succeed and fail.
#pragma once

#include "examples/demonstration.hpp"
#include "support/paths.hpp"
#include "support/serial_keeper.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace dravik::test {

struct example_result {
  int status;
  std::string output, errors;
};

inline example_result run_example(const board &on, const std::string &name,
                                  const std::vector<std::string> &arguments = {}) {
  application program{on, examples_prefix + name, arguments};
  const int status = program.finish();
  await_serial_keeper(on.path());
  return {status, program.output(), program.errors()};
}

/// Expect failure with this text on standard error.
inline void expect_failure(const board &on, const std::string &name,
                           const std::vector<std::string> &arguments, const std::string &problem) {
  const example_result result = run_example(on, name, arguments);
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.errors, testing::HasSubstr(problem));
}

/// Expect success with empty standard error. Return the standard output.
inline std::string expect_success(const board &on, const std::string &name,
                                  const std::vector<std::string> &arguments = {}) {
  const example_result result = run_example(on, name, arguments);
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "");
  return result.output;
}

} // namespace dravik::test
