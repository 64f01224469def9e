// Files of a FAT32 file system by their cluster chains, for file systems whose chains are broken.
#pragma once

#include "board/card_layout.hpp"

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>
#include <vector>

namespace dravik::sim {

/// A part of a file in one place of the card.
struct fat_piece {
  uint64_t start = 0; ///< in bytes, as the length
  uint64_t length = 0;
};

struct fat_file {
  std::string path; ///< from the root of the file system, as a kernel shows it
  uint32_t size = 0;
  std::time_t modified = 0;
  std::vector<fat_piece> pieces; ///< whole clusters, as far as the chain leads
  uint64_t readable = 0;         ///< bytes before the break, `size` if the chain is complete

  /// Whether its chain is not that of a file: broken, or a loop.
  bool is_damaged() const;
};

/// All files of a FAT32 file system on an open card; nothing if it is another one, if a directory cannot be read
/// completely, if a name is in an unknown code page, or if chains are much longer than the card.
std::optional<std::vector<fat_file>> list_fat_files(int card, const partition &place);

/// Write the readable part of a file to an open, empty file, and set its size. Return false and set errno on failure.
[[nodiscard]] bool copy_fat_file(int card, const fat_file &file, int target);

} // namespace dravik::sim
