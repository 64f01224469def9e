// The definition of a C library's call behind the one that a test program has of its own.
#pragma once

#include <dlfcn.h>

namespace dravik::test {

template <class Function> Function *next_call(const char *name) {
  return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

} // namespace dravik::test
