// The format of artwork archives: made from images, read, and judged.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace dravik::art {

/// An image of 16 levels in rows of (width + 1) / 2 bytes, the left pixel of a byte in its high half.
struct packed_image {
  uint32_t width = 0;
  uint32_t height = 0;
  std::vector<uint8_t> pixels;
};

/// What an archive's table says of one image. Nothing in it is to be believed.
struct image_record {
  uint32_t width;
  uint32_t height;
  uint32_t start; ///< where the pixels begin in the file
  uint32_t reserved;

  constexpr uint64_t row_bytes() const noexcept { return (uint64_t{width} + 1) / 2; }
  constexpr uint64_t bytes() const noexcept { return row_bytes() * height; }
  constexpr uint64_t end() const noexcept { return start + bytes(); }
  constexpr bool is_empty() const noexcept { return width == 0 || height == 0; }
};

/// The length of an archive of images that take `pixel_bytes` together.
constexpr uint64_t archive_size(uint64_t count, uint64_t pixel_bytes) noexcept {
  return 16 * (count + 1) + pixel_bytes;
}

/// Whether the format's 32-bit words can give such a length; if not, `error` says so.
[[nodiscard]] bool fits_archive(uint64_t size, std::string &error);

/// The archive of some images in their order: header, table, and pixels without gaps.
[[nodiscard]] bool build(std::span<const packed_image> images, std::vector<uint8_t> &archive,
                         std::string &error);

/// An archive in memory whose header and table are sound; its records may still point anywhere.
class archive {
public:
  /// Takes a file over. On failure gives false and says why in `error`.
  [[nodiscard]] bool open(std::vector<uint8_t> file, std::string &error);

  std::span<const uint8_t> bytes() const noexcept { return file_; }
  uint32_t count() const noexcept;
  image_record record(uint32_t index) const noexcept;

  /// Whether an image has pixels and all of them lie in the file; if not, `error` says why.
  [[nodiscard]] bool has_pixels(uint32_t index, std::string &error) const;
  /// The rows of an image that has its pixels.
  std::span<const uint8_t> pixels(const image_record &of) const noexcept {
    return bytes().subspan(of.start, of.bytes());
  }

private:
  std::vector<uint8_t> file_;
};

/// Reads and opens an archive; `error` names the file.
[[nodiscard]] bool open_archive(const std::string &path, archive &opened, std::string &error);

/// Everything that is wrong with a file as an archive, a line each: what the library would refuse, and what
/// no packer should have made. A long list is cut short with a line that says so.
std::vector<std::string> check(std::span<const uint8_t> file);

} // namespace dravik::art
