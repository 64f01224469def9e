// Call of the C library by name, as programs of another year or compiled with checks make them.
#pragma once

#include <dlfcn.h>
#include <gtest/gtest.h>

namespace dravik::test {

/// The function that a program linked like this one calls by `name`.
template <typename Function> Function *library_call(const char *name) {
  void *found = ::dlsym(RTLD_DEFAULT, name);
  if (found == nullptr)
    ADD_FAILURE() << name << " is no function of this C library";
  return reinterpret_cast<Function *>(found);
}

} // namespace dravik::test
