// Selects the loops of this machine once, when the library is loaded.

#include "kernels/kernels.hpp"

#ifdef DRAVIK_ARM_KERNELS
#include <asm/hwcap.h>
#include <sys/auxv.h>
#endif

namespace dravik::kernels {

constinit const machine *active = &plain;
constinit crc32_loop crc32 = crc32_by_tables;

#ifdef DRAVIK_X86_KERNELS
namespace {

bool is_v2() noexcept {
  return __builtin_cpu_supports("ssse3") && __builtin_cpu_supports("sse4.2") &&
         __builtin_cpu_supports("popcnt");
}

bool is_v4() noexcept {
  return is_v2() && __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi2") &&
         __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
         __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
         __builtin_cpu_supports("avx512vl");
}

[[gnu::constructor]] void select() noexcept {
  __builtin_cpu_init();
  if (is_v4())
    active = &x86_64_v4;
  else if (is_v2())
    active = &x86_64_v2;
  if (is_v2() && __builtin_cpu_supports("pclmul"))
    crc32 = crc32_by_16;
  if (is_v4() && __builtin_cpu_supports("pclmul") && __builtin_cpu_supports("vpclmulqdq"))
    crc32 = crc32_by_64;
}

} // namespace
#endif

#ifdef DRAVIK_ARM_KERNELS
namespace {

#ifdef __aarch64__
bool has_neon() noexcept {
  return (::getauxval(AT_HWCAP) & HWCAP_ASIMD) != 0;
}
bool has_crc32() noexcept {
  return (::getauxval(AT_HWCAP) & HWCAP_CRC32) != 0;
}
#else
bool has_neon() noexcept {
  return (::getauxval(AT_HWCAP) & HWCAP_NEON) != 0;
}
bool has_crc32() noexcept {
  return (::getauxval(AT_HWCAP2) & HWCAP2_CRC32) != 0;
}
#endif

[[gnu::constructor]] void select() noexcept {
  if (has_neon())
    active = &neon;
  if (has_crc32())
    crc32 = crc32_by_instructions;
}

} // namespace
#endif

} // namespace dravik::kernels
