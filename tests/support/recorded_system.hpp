// A system() and a sync() that only record their calls, so that no command of the library runs on the host.
// Include it in one file of a program, where they replace those of the C library. A test that may run such
// a command calls require_recorder() first.
#pragma once

#include "dravik.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>
#include <functional>
#include <string>
#include <unistd.h>
#include <vector>

namespace dravik::test {

/// The commands, oldest first; "(sync)" represents sync().
inline std::vector<std::string> recorded_commands;
/// Return the result of a system() after changing the board as the command would.
inline std::function<int(const std::string &)> command_result;

} // namespace dravik::test

extern "C" int system(const char *command) {
  dravik::test::recorded_commands.emplace_back(command);
  return dravik::test::command_result ? dravik::test::command_result(command) : 0;
}

extern "C" void sync() noexcept {
  dravik::test::recorded_commands.emplace_back("(sync)");
}

namespace dravik::test {

template <class Function> bool is_first_definition(const char *name, Function *ours) {
  return ::dlsym(RTLD_DEFAULT, name) == reinterpret_cast<void *>(ours);
}

/// End the program unless the library's commands come to the recorder: by the loader's order of
/// definitions, then by the one command of the library that harms nobody. Begins a new record.
inline void require_recorder() {
  command_result = nullptr;
  bool in_charge = is_first_definition("system", &::system) && is_first_definition("sync", &::sync);
  if (in_charge) {
    recorded_commands.clear();
    char language[3];
    get_splash_lang(language);
    in_charge = recorded_commands.size() == 1;
  }
  if (!in_charge) {
    std::fprintf(stderr, "The recorder of commands is not in charge of this program.\n");
    ::_exit(EXIT_FAILURE);
  }
  recorded_commands.clear();
}

} // namespace dravik::test
