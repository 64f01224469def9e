// Runs the tests of a program, with the simulator in charge.

#include "support/board.hpp"

#include <gtest/gtest.h>

int main(int count, char **arguments) {
  dravik::test::require_simulator();
  ::testing::InitGoogleTest(&count, arguments);
  return RUN_ALL_TESTS();
}
