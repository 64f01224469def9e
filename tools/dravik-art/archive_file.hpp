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

/// The record of one image in an archive's table. Untrusted.
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

/// The length of an archive of images with `pixel_bytes` in total.
constexpr uint64_t archive_size(uint64_t count, uint64_t pixel_bytes) noexcept {
  return 16 * (count + 1) + pixel_bytes;
}

/// Whether the format's 32-bit words can store this length; if not, set `error`.
[[nodiscard]] bool fits_archive(uint64_t size, std::string &error);

/// The archive of some images in their order: header, table, and pixels without gaps.
[[nodiscard]] bool build(std::span<const packed_image> images, std::vector<uint8_t> &archive,
                         std::string &error);

/// An archive in memory whose header and table are sound; its records may still point anywhere.
class archive {
public:
  /// Read a file. Return false and set `error` on failure.
  [[nodiscard]] bool open(std::vector<uint8_t> file, std::string &error);

  std::span<const uint8_t> bytes() const noexcept { return file_; }
  uint32_t count() const noexcept;
  image_record record(uint32_t index) const noexcept;

  /// Whether an image has pixels and all of them are in the file; if not, set `error`.
  [[nodiscard]] bool has_pixels(uint32_t index, std::string &error) const;
  /// The rows of an image that has its pixels.
  std::span<const uint8_t> pixels(const image_record &of) const noexcept {
    return bytes().subspan(of.start, static_cast<size_t>(of.bytes()));
  }

private:
  std::vector<uint8_t> file_;
};

/// Read and open an archive; `error` names the file.
[[nodiscard]] bool open_archive(const std::string &path, archive &opened, std::string &error);

/// All findings in a file, one per line: what the library would reject, and what
/// no packer should write. A long list is truncated, with a line that reports it.
std::vector<std::string> check(std::span<const uint8_t> file);

} // namespace dravik::art
