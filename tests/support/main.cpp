// Run the tests of a program inside the boundary, with the simulator in charge.

#include "support/fork_cases.hpp"
#include "support/simulator_guard.hpp"

#include <gtest/gtest.h>

int main(int count, char **arguments) {
  dravik::test::guard_host(); // before anything that a test, or the framework, does
  dravik::test::require_simulator();
  ::testing::InitGoogleTest(&count, arguments);
  const std::optional<std::string> forked = dravik::test::forked_cases(count, arguments);
  return forked ? dravik::test::run_forked_cases(*forked) : RUN_ALL_TESTS();
}
