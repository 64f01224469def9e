// What every fuzz target needs: a board of its own to keep the library from the host's files, a recorder in
// the place of the host's shell, a screen whose memory ends where it says, and files that hold the input.
#pragma once

#include "dravik.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace dravik::fuzz {

using byte_span = std::span<const uint8_t>;

/// Ends the program, as a sanitizer would, when what must hold does not.
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

  /// The path, as the library is to be given it, of a file with these bytes.
  const char *file(byte_span bytes);
  static constexpr const char *file_name = "input";

  /// Makes the file at a path of the board hold these bytes.
  void put(const char *path, byte_span bytes);

  /// Where a path of the board lies on the host.
  std::string host_path(const char *path) const { return board_ + path; }

private:
  rig();
  ~rig();

  void make_board();
  void require_simulator();

  /// A row of odd width that ends with the screen leaves its padding in one pixel more.
  static constexpr size_t padding_pixels = 1;

  std::string board_;
  std::unique_ptr<uint16_t[]> pixels_;
};

} // namespace dravik::fuzz
