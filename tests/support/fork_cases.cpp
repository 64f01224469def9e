#include "support/fork_cases.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <gtest/gtest.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace dravik::test {
namespace {

std::vector<std::string> all_cases() {
  std::vector<std::string> names;
  const testing::UnitTest &program = *testing::UnitTest::GetInstance();
  for (int s = 0; s < program.total_test_suite_count(); ++s) {
    const testing::TestSuite &suite = *program.GetTestSuite(s);
    for (int c = 0; c < suite.total_test_count(); ++c)
      names.push_back(std::string{suite.name()} + "." + suite.GetTestInfo(c)->name());
  }
  return names;
}

[[noreturn]] void run_case(const std::string &name) {
  GTEST_FLAG_SET(filter, name);
  std::exit(RUN_ALL_TESTS());
}

bool case_passes(const std::string &name) {
  std::printf("%s\n", name.c_str());
  std::fflush(nullptr);
  const pid_t child = ::fork();
  if (child == 0)
    run_case(name);
  int status = -1;
  if (child < 0 || ::waitpid(child, &status, 0) != child)
    std::perror("fork");
  else if (WIFSIGNALED(status))
    std::printf("%s: killed by signal %d\n", name.c_str(), WTERMSIG(status));
  return status == 0;
}

} // namespace

bool forks_cases(int count, char **arguments) {
  const bool is_asked = std::any_of(arguments, arguments + count,
                                    [](const char *one) { return std::string_view{one} == "--fork-cases"; });
  return is_asked && GTEST_FLAG_GET(filter) == "*";
}

int run_forked_cases() {
  const std::vector<std::string> names = all_cases();
  std::vector<std::string> failed;
  std::copy_if(names.begin(), names.end(), std::back_inserter(failed),
               [](const std::string &name) { return !case_passes(name); });
  std::printf("%zu cases, %zu failed\n", names.size(), failed.size());
  for (const std::string &name : failed)
    std::printf("FAILED: %s\n", name.c_str());
  return names.empty() || !failed.empty() ? EXIT_FAILURE : EXIT_SUCCESS;
}

} // namespace dravik::test
