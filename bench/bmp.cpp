// BMP files of each depth, read from the disk's cache.

#include "peers.hpp"
#include "scratch_folder.hpp"

#include <array>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

namespace bench {
namespace {

constexpr box place = {40, 40, 320, 240};
constexpr size_t data_offset = 54 + 256 * 4; ///< in all files, with space for the largest palette

size_t row_size(int bits) {
  return (static_cast<size_t>(place.width) * static_cast<size_t>(bits) + 31) / 32 * 4;
}

size_t data_size(int bits) {
  return row_size(bits) * static_cast<size_t>(place.height);
}

void put_word(uint8_t *at, size_t value) {
  for (int i = 0; i < 4; ++i)
    at[i] = static_cast<uint8_t>(value >> (8 * i));
}

/// A file of noise, which no blit has an easy way with. Colours of palettes are not black, which files of
/// few colours draw as grey.
std::string make_file(int bits) {
  std::vector<uint8_t> bytes(data_offset + data_size(bits));
  uint32_t noise = 3;
  for (uint8_t &byte : bytes) {
    noise = noise * 1664525 + 1013904223;
    byte = static_cast<uint8_t>(noise >> 24 | 8);
  }
  std::memset(bytes.data(), 0, 54);
  bytes[0] = 'B';
  bytes[1] = 'M';
  put_word(&bytes[2], bytes.size());
  put_word(&bytes[10], data_offset);
  put_word(&bytes[14], 40);
  put_word(&bytes[18], place.width);
  put_word(&bytes[22], place.height);
  bytes[26] = 1;
  bytes[28] = static_cast<uint8_t>(bits);
  const size_t colours = bits <= 8 ? size_t{1} << bits : 0;
  put_word(&bytes[46], colours);
  put_word(&bytes[50], colours);
  if (bits == 16) { // RGB565 needs its masks
    bytes[30] = 3;
    put_word(&bytes[54], 0xF800);
    put_word(&bytes[58], 0x07E0);
    put_word(&bytes[62], 0x001F);
  }
  for (size_t i = 0; bits == 32 && i < data_size(bits); i += 4)
    bytes[data_offset + i + 3] = 0xFF;

  std::string path = scratch().file(std::to_string(bits) + ".bmp");
  std::FILE *file = std::fopen(path.c_str(), "wb");
  if (file == nullptr || std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size()) {
    std::perror(path.c_str());
    std::exit(EXIT_FAILURE);
  }
  std::fclose(file);
  return path;
}

/// The usual loop over a mapped file, one pixel after the other.
template <class Pixel> void draw_mapped(const std::string &path, int bits, Pixel pixel_of) {
  const int fd = ::open(path.c_str(), O_RDONLY);
  struct stat status;
  ::fstat(fd, &status);
  const auto size = static_cast<size_t>(status.st_size);
  void *mapping = ::mmap(nullptr, size, PROT_READ, MAP_PRIVATE, fd, 0);
  const auto *file = static_cast<const uint8_t *>(mapping);
  for (int y = 0; y < place.height; ++y) {
    const uint8_t *from = file + data_offset + static_cast<size_t>(y) * row_size(bits);
    uint16_t *to = pixel_at(place.x, place.bottom() - y);
    for (int x = 0; x < place.width; ++x)
      to[x] = pixel_of(from, x);
  }
  ::munmap(mapping, size);
  ::close(fd);
}

uint16_t rgb565(const uint8_t *bgr) {
  return static_cast<uint16_t>(bgr[2] >> 3 << 11 | bgr[1] >> 2 << 5 | bgr[0] >> 3);
}

void draw_mapped_palette(const std::string &path, int bits) {
  std::array<uint16_t, 256> colours;
  std::array<uint8_t, 1024> entries;
  const int fd = ::open(path.c_str(), O_RDONLY);
  const bool is_read = ::pread(fd, entries.data(), entries.size(), 54) == ssize_t{1024};
  ::close(fd);
  for (size_t i = 0; is_read && i < colours.size(); ++i)
    colours[i] = rgb565(&entries[i * 4]);
  const int per_byte = 8 / bits, mask = (1 << bits) - 1;
  draw_mapped(path, bits, [&](const uint8_t *from, int x) {
    const int shift = 8 - bits - x % per_byte * bits;
    return colours[static_cast<size_t>(from[x / per_byte] >> shift & mask)];
  });
}

void draw_mapped_colours(const std::string &path, int bits) {
  if (bits == 16)
    return draw_mapped(path, bits, [](const uint8_t *from, int x) {
      return static_cast<uint16_t>(from[2 * x] | from[2 * x + 1] << 8);
    });
  if (bits == 24)
    return draw_mapped(path, bits, [](const uint8_t *from, int x) { return rgb565(from + 3 * x); });
  draw_mapped(path, bits, [](const uint8_t *from, int x) { return rgb565(from + 4 * x); });
}

void draw_by_sdl(const std::string &path) {
  SDL_Surface *picture = SDL_LoadBMP(path.c_str());
  SDL_SetSurfaceBlendMode(picture, SDL_BLENDMODE_NONE);
  SDL_Rect at = sdl_rect(place);
  SDL_BlitSurface(picture, nullptr, sdl_screen(), &at);
  SDL_FreeSurface(picture);
}

/// Read the file in large pieces and store as many bytes as the image has on the screen.
void read_and_set(const std::string &path, int bits) {
  static std::array<uint8_t, 32768> buffer;
  const int fd = ::open(path.c_str(), O_RDONLY);
  struct stat status;
  ::fstat(fd, &status);
  auto position = static_cast<off_t>(bits <= 8 ? 0 : data_offset);
  ssize_t got = ::pread(fd, buffer.data(), 54, 0);
  while (got > 0 && position < status.st_size)
    position += got = ::pread(fd, buffer.data(), buffer.size(), position);
  ::close(fd);
  set_block(place);
}

/// The same for pixels that need no conversion: all rows are read into their positions in one call.
void read_into_place(const std::string &path) {
  const int fd = ::open(path.c_str(), O_RDONLY);
  struct stat status;
  ::fstat(fd, &status);
  std::array<uint8_t, 54> header;
  std::array<iovec, place.height> rows;
  for (int y = 0; y < place.height; ++y)
    rows[static_cast<size_t>(y)] = {pixel_at(place.x, place.bottom() - y), row_size(16)};
  if (::pread(fd, header.data(), header.size(), 0) < 0 ||
      ::preadv(fd, rows.data(), place.height, data_offset) < 0)
    std::perror(path.c_str());
  ::close(fd);
}

void add_file(int bits, targets limits) {
  row<std::string> row("BMP file 320x240, " + std::to_string(bits) + " bits", limits, {make_file(bits)});
  row.library([](const std::string &path) { fb_put_bmp_file(place.x, place.y, path.c_str(), 0, 0); })
      .peer("SDL", draw_by_sdl);
  if (bits <= 8) {
    row.peer("mapped", [bits](const std::string &path) { draw_mapped_palette(path, bits); });
  } else {
    row.peer("mapped", [bits](const std::string &path) { draw_mapped_colours(path, bits); });
  }
  if (bits == 16) {
    row.floor(read_into_place);
  } else {
    row.floor([bits](const std::string &path) { read_and_set(path, bits); });
  }
}

} // namespace

void add_bmp_files() {
  add_file(1, {0.15, 3.5});
  add_file(4, {0.15, 3.5});
  add_file(8, {0.80, 3.5});
  add_file(16, {0.28, 1.3});
  add_file(24, {0.85, 2.5});
  add_file(32, {1.5, 2.5});
}

} // namespace bench
