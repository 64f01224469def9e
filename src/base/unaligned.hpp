// Numbers in memory that is less aligned than they are.
#pragma once

#include <cstddef>

namespace dravik {

/// Access to a number by the machine's own loads and stores. A memcpy() of a few bytes is a call on machines
/// that require alignment.
template <class T, size_t Alignment> struct [[gnu::packed, gnu::may_alias]] alignas(Alignment) unaligned {
  T value;
};

/// Load a number from an address that is a multiple of `Alignment`.
template <class T, size_t Alignment = 1> inline T load(const void *from) noexcept {
  return static_cast<const unaligned<T, Alignment> *>(from)->value;
}

/// Store a number at an address that is a multiple of `Alignment`.
template <size_t Alignment, class T> inline void store(void *to, T value) noexcept {
  static_cast<unaligned<T, Alignment> *>(to)->value = value;
}

} // namespace dravik
