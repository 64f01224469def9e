// Each case of a test program in a process of its own, without starting the program again.
#pragma once

#include <optional>
#include <string>

namespace dravik::test {

/// Return PATTERN of the argument `--fork-cases=PATTERN`, "*" of `--fork-cases`. Return nothing if there is no such
/// argument, or if a filter selects cases.
std::optional<std::string> forked_cases(int count, char **arguments);

/// Run the cases whose names match a pattern, or with '-' before it those that do not, each in a child process.
/// Return 0 if all passed, else 1.
int run_forked_cases(const std::string &pattern);

} // namespace dravik::test
