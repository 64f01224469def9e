// The guard of test programs: this one was let through; it stops where a harmful call would go elsewhere.

#include "support/emulation.hpp"
#include "support/harmful_calls.hpp"
#include "support/paths.hpp"
#include "support/simulator_guard.hpp"

#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace dravik::test {
namespace {

TEST(SimulatorGuard, HasTheFilterInForce) {
  SKIP_UNDER_EMULATION("passes on no filter of system calls");
  EXPECT_EQ(::prctl(PR_GET_SECCOMP, 0, 0, 0, 0), 2);
  EXPECT_EQ(::prctl(PR_GET_NO_NEW_PRIVS, 0, 0, 0, 0), 1);
}

TEST(SimulatorGuard, FindsTheSimulatorBehindHarmfulCalls) {
  for (const char *call : harmful_calls)
    EXPECT_EQ(why_not_simulated(call), "") << call;
}

TEST(SimulatorGuard, ReportsWhoseCallItIs) {
  EXPECT_TRUE(why_not_simulated("getppid").starts_with("getppid() is not the simulator's but that of "));
  EXPECT_NE(why_not_simulated("no_such_call"), "");
}

class TakenCall : public testing::TestWithParam<const char *> {};

/// A library that is loaded first has the call, and does nothing in it.
TEST_P(TakenCall, StopsTheProgram) {
  const std::string library = std::string{taken_calls_directory} + "/libtakes_" + GetParam() + ".so";
  ASSERT_TRUE(std::filesystem::exists(library)) << library;
  const std::string message = std::string{GetParam()} + "() is not the simulator's";
  EXPECT_EXIT(
      {
        ::setenv("LD_PRELOAD", library.c_str(), 1);
        ::setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 1);
        ::execl("/proc/self/exe", "sim_test", "--gtest_list_tests", nullptr);
      },
      testing::ExitedWithCode(EXIT_FAILURE), testing::HasSubstr(message));
}

INSTANTIATE_TEST_SUITE_P(Calls, TakenCall, testing::ValuesIn(harmful_calls));

} // namespace
} // namespace dravik::test
