// Each case of a test program in a process of its own, without starting the program again.
#pragma once

namespace dravik::test {

/// Whether the arguments of the program contain `--fork-cases`, and no filter selects cases.
bool forks_cases(int count, char **arguments);

/// Run all cases, each in a child process. Return 0 if all passed, else 1.
int run_forked_cases();

} // namespace dravik::test
