// A new image of a board's memory card, written next to the old one and renamed over it.
#pragma once

#include "base/unique_fd.hpp"
#include "board/card_layout.hpp"

#include <string>

namespace dravik::sim {

/// Zeros of the size of the card's image. Removed again unless it replaces the image.
class fresh_image {
public:
  explicit fresh_image(const std::string &board);
  ~fresh_image();
  fresh_image(const fresh_image &) = delete;
  fresh_image &operator=(const fresh_image &) = delete;

  const std::string &path() const { return path_; }
  const unique_fd &file() const { return file_; }

  // Return false and set errno on failure.
  [[nodiscard]] bool copy_all();
  [[nodiscard]] bool copy_around(const partition &left_out);
  /// Blocks of zeros take no space on the host afterwards.
  [[nodiscard]] bool replace_card();

private:
  std::string board_;
  std::string path_;
  unique_fd card_;
  unique_fd file_;
  uint64_t size_ = 0;
};

} // namespace dravik::sim
