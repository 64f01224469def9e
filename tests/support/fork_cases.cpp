#include "support/fork_cases.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fnmatch.h>
#include <gtest/gtest.h>
#include <string_view>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace dravik::test {
namespace {

bool is_selected(const std::string &name, const std::string &pattern) {
  const bool is_negative = pattern.starts_with('-');
  return (::fnmatch(pattern.c_str() + is_negative, name.c_str(), 0) == 0) != is_negative;
}

std::vector<std::string> cases_of(const std::string &pattern) {
  std::vector<std::string> names;
  const testing::UnitTest &program = *testing::UnitTest::GetInstance();
  for (int s = 0; s < program.total_test_suite_count(); ++s) {
    const testing::TestSuite &suite = *program.GetTestSuite(s);
    for (int c = 0; c < suite.total_test_count(); ++c)
      names.push_back(std::string{suite.name()} + "." + suite.GetTestInfo(c)->name());
  }
  std::erase_if(names, [&](const std::string &name) { return !is_selected(name, pattern); });
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

std::optional<std::string> forked_cases(int count, char **arguments) {
  constexpr std::string_view option = "--fork-cases";
  char **end = arguments + count;
  char **found = std::find_if(arguments, end, [=](std::string_view one) { return one.starts_with(option); });
  if (found == end || GTEST_FLAG_GET(filter) != "*")
    return {};
  const std::string_view value = std::string_view{*found}.substr(option.size());
  return std::string{value.starts_with('=') ? value.substr(1) : "*"};
}

int run_forked_cases(const std::string &pattern) {
  const std::vector<std::string> names = cases_of(pattern);
  std::vector<std::string> failed;
  std::copy_if(names.begin(), names.end(), std::back_inserter(failed),
               [](const std::string &name) { return !case_passes(name); });
  std::printf("%zu cases, %zu failed\n", names.size(), failed.size());
  for (const std::string &name : failed)
    std::printf("FAILED: %s\n", name.c_str());
  return names.empty() || !failed.empty() ? EXIT_FAILURE : EXIT_SUCCESS;
}

} // namespace dravik::test
