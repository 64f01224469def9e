// Interposing functions of the C library and calling the originals.
#pragma once

#include <atomic>
#include <dlfcn.h>

namespace dravik::sim {

/// off_t of the calls without "64" in their names.
using short_offset = long;

/// An interposed function of the C library. All are looked up when the library is loaded, so that no later
/// call, in a signal handler or after a fork, takes the loader's lock.
struct next_symbol {
  const char *name;
  std::atomic<void *> address = nullptr;

  template <typename Function> Function *as() noexcept {
    void *known = address.load(std::memory_order_relaxed);
    if (known == nullptr)
      known = resolve(); // a call from before this library's start-up
    return reinterpret_cast<Function *>(known);
  }

  void *resolve() noexcept {
    void *found = ::dlsym(RTLD_NEXT, name);
    address.store(found, std::memory_order_relaxed);
    return found;
  }
};

} // namespace dravik::sim

// Define the replacement of the C library's `name`. It has a C++ name of its own, so that it
// need not match the declaration in this version of the headers. All next_symbols are in one
// section, which is walked at the start.
#define SIM_DEFINE(result, name, parameters)                                                                 \
  [[gnu::used, gnu::section("next_symbols")]] static constinit ::dravik::sim::next_symbol next_##name{       \
      #name};                                                                                                \
  extern "C" result sim_##name parameters __asm__(#name);                                                    \
  extern "C" [[gnu::visibility("default")]] result sim_##name parameters

// The original `name`, for use inside SIM_DEFINE's body.
#define SIM_NEXT(name) next_##name.as<decltype(sim_##name)>()

// A replacement that only forwards other arguments.
#define SIM_PASS(result, name, parameters, arguments)                                                        \
  SIM_DEFINE(result, name, parameters) {                                                                     \
    return SIM_NEXT(name) arguments;                                                                         \
  }
