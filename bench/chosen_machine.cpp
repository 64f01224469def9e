// The loops of the machine that DRAVIK_BENCH_MACHINE names: for benchmarks, in place of kernels/select.cpp.

#include "kernels/kernels.hpp"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace dravik::kernels {

constinit const machine *active = &plain;
constinit crc32_loop crc32 = crc32_by_tables;

namespace {

struct choice {
  const machine *loops;
  crc32_loop checksum;
  bool runs_here;
};

bool use_if_named(const char *name, const choice &one) noexcept {
  if (std::strcmp(name, one.loops->name) != 0 || !one.runs_here)
    return false;
  active = one.loops;
  crc32 = one.checksum;
  return true;
}

bool use(const char *name) noexcept {
  bool found = use_if_named(name, {&plain, crc32_by_tables, true});
#ifdef DRAVIK_X86_KERNELS
  __builtin_cpu_init();
  const bool multiplies = __builtin_cpu_supports("pclmul");
  found |= use_if_named(name, {&x86_64_v2, crc32_by_16, multiplies && __builtin_cpu_supports("x86-64-v2")});
  found |= use_if_named(
      name, {&x86_64_v4, crc32_by_64,
             multiplies && __builtin_cpu_supports("x86-64-v4") && __builtin_cpu_supports("vpclmulqdq")});
#endif
#ifdef DRAVIK_ARM_KERNELS
  found |= use_if_named(name, {&neon, crc32_by_tables, true});
#endif
  return found;
}

[[gnu::constructor]] void select() noexcept {
  const char *name = std::getenv("DRAVIK_BENCH_MACHINE");
  if (name != nullptr && use(name))
    return;
  std::fprintf(stderr, "DRAVIK_BENCH_MACHINE: '%s' is no machine that this processor runs\n",
               name != nullptr ? name : "");
  std::exit(EXIT_FAILURE);
}

} // namespace
} // namespace dravik::kernels
