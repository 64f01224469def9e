// Vector types of the compiler, and the choice between code for large and for small machines.
#pragma once

#include <cstdint>

namespace dravik::fb {

/// 64-bit machines have 16-byte registers and store them to any address. Smaller ones store aligned words.
inline constexpr bool has_wide_registers = sizeof(void *) == 8;

typedef uint16_t vector_of_8 __attribute__((vector_size(16)));
typedef uint32_t vector_of_4 __attribute__((vector_size(16)));
typedef uint64_t vector_of_2 __attribute__((vector_size(16)));

} // namespace dravik::fb
