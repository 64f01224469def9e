// The calls of the C library that can act on the whole machine, by themselves or by the programs that
// they start.
#pragma once

namespace dravik::test {

/// Calls that the simulator must serve.
constexpr const char *harmful_calls[] = {"mount", "reboot", "system", "umount", "umount2"};

/// Calls that it must serve if it interposes them at all; only the boundary makes the others harmless.
constexpr const char *other_harmful_calls[] = {
    "__clock_settime64",
    "__settimeofday64",
    "clock_settime",
    "settimeofday",
    "popen",
    "execl",
    "execle",
    "execlp",
    "execv",
    "execve",
    "execvp",
    "execvpe",
    "fexecve",
    "posix_spawn",
    "posix_spawnp",
};

} // namespace dravik::test
