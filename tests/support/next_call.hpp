// The C library's definition of a call that a test program interposes.
#pragma once

#include <dlfcn.h>

namespace dravik::test {

template <class Function> Function *next_call(const char *name) {
  return reinterpret_cast<Function *>(::dlsym(RTLD_NEXT, name));
}

} // namespace dravik::test
