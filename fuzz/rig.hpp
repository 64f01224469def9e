// What every fuzz target needs: a board of its own to keep the library from the host's files, a recorder in
// the place of the host's shell, a screen that ends at a protected page, and files that hold the input.
#pragma once

#include "dravik.h"
#include "support/guarded_memory.hpp"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <span>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace dravik::fuzz {

using byte_span = std::span<const uint8_t>;

/// Abort the program, as a sanitizer would, if a condition is not met.
inline void require(bool holds) {
  if (!holds)
    std::abort();
}

/// One for each process; made at the first input.
class rig {
public:
  static constexpr uint32_t width = 160;
  static constexpr uint32_t height = 120;

  static rig &the();

  /// The library's path of a file with these bytes.
  const char *file(byte_span bytes);
  static constexpr const char *file_name = "input";

  /// Make the file at a path of the board hold these bytes.
  void put(const char *path, byte_span bytes);

  /// The host's path of a path of the board.
  std::string host_path(const char *path) const { return board_ + path; }

private:
  rig();
  ~rig();

  void make_board();
  void require_simulator();

  /// A row of odd width at the end of the screen stores its padding in one more pixel.
  static constexpr size_t padding_pixels = 1;

  /// The bytes between the protected page before the screen and its first pixel.
  std::span<uint8_t> guard_band() const { return memory_.all().first(memory_.all().size() - screen_bytes); }
  /// End the program when the input before has changed the guard band.
  void check_guard_band() const;

  static constexpr uint8_t guard_byte = 0x5A;
  static constexpr size_t screen_bytes = (size_t{width} * height + padding_pixels) * sizeof(uint16_t);

  std::string board_;
  test::guarded_memory memory_{screen_bytes};
};

} // namespace dravik::fuzz
