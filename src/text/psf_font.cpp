// PC Screen Fonts in slots.

#include "base/byte_reader.hpp"
#include "base/heap_block.hpp"
#include "base/unique_file.hpp"
#include "dravik.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <sys/stat.h>

extern "C" {
constinit psf_font psf[DRAVIK_FONT_SLOTS] = {};
constinit int32_t psf_font_num = 0;
}

static_assert(offsetof(psf_font, height) == sizeof(void *) + 4 * sizeof(int32_t) &&
                  sizeof(psf_font) - offsetof(psf_font, height) == alignof(psf_font),
              "applications read the slots as an array of records");

namespace dravik::text {
namespace {

constexpr int32_t large_glyph = 128;  ///< bytes per glyph that cause a warning
constexpr int32_t size_limit = 32768; ///< maximum bytes of all glyphs of a font

constexpr std::array<uint8_t, 2> magic1 = {0x36, 0x04};
constexpr std::array<uint8_t, 4> magic2 = {0x72, 0xB5, 0x4A, 0x86};
constexpr uint32_t header1_size = 4;
constexpr uint32_t header2_size = 32;
using header_bytes = std::array<uint8_t, header2_size>;

/// Version 1: magic, mode, bytes per glyph. Glyphs are 8 pixels wide.
uint32_t take_header1(const header_bytes &header, psf_font &slot) noexcept {
  const uint8_t mode = header[2], charsize = header[3];
  slot.version = 1;
  slot.charsize = slot.height = charsize;
  slot.length = mode == 0 || mode == 2 ? 256 : mode == 1 || mode == 3 ? 512 : 0;
  slot.width = 8;
  return header1_size;
}

/// Version 2: magic, version, header size, flags, length, bytes per glyph, height, width.
uint32_t take_header2(const header_bytes &header, psf_font &slot) noexcept {
  byte_reader reader{header};
  reader.seek(8);
  const uint32_t header_size = reader.u32le();
  reader.u32le();
  slot.version = 2;
  slot.length = static_cast<int32_t>(reader.u32le());
  slot.charsize = static_cast<int32_t>(reader.u32le());
  slot.height = static_cast<int32_t>(reader.u32le());
  slot.width = static_cast<int32_t>(reader.u32le());
  return header_size;
}

/// Read the header into the slot and return the position of the glyphs. A file of another format
/// leaves version 0.
uint32_t read_header(std::FILE *file, const char *path, psf_font &slot) noexcept {
  header_bytes header = {};
  // Bytes missing from a truncated file are 0.
  [[maybe_unused]] const size_t got = std::fread(header.data(), 1, header.size(), file);
  if (std::equal(magic1.begin(), magic1.end(), header.begin()))
    return take_header1(header, slot);
  if (std::equal(magic2.begin(), magic2.end(), header.begin()))
    return take_header2(header, slot);
  log_printf("only support PSF font : %s", path);
  log_printf("font id : %02x %02x %02x %02x", header[0], header[1], header[2], header[3]);
  return 0;
}

/// Allocate memory for the glyphs of the slot. The size is a 32-bit product, which may wrap: a product that
/// is small only because it wrapped passes the size check, but is never allocated.
heap_block allocate_glyphs(const char *path, const psf_font &slot) noexcept {
  if (slot.charsize > large_glyph)
    log_printf("font character size > 128 bytes");
  int32_t size = 0;
  const bool overflows = __builtin_mul_overflow(slot.length, slot.charsize, &size);
  if (size > size_limit) {
    log_printf("%s(): font file size err = %d", "psf_font_load", size);
    log_printf("%d x %d font, %d x %d bytes", slot.width, slot.height, slot.charsize, slot.length);
    return {};
  }
  heap_block block = overflows || size < 0 ? heap_block{} : allocate_block(static_cast<size_t>(size));
  if (block == nullptr)
    log_printf("%s : malloc %d bytes err", path, size);
  return block;
}

int load(const char *path, psf_font &slot) noexcept {
  slot = {};
  struct stat status;
  if (::stat(path, &status) != 0) {
    log_printf("%s not found!", path);
    return -1;
  }
  if (!S_ISREG(status.st_mode)) {
    log_printf("%s not regular file", path);
    return -1;
  }
  const unique_file file = open_file(path, "r");
  if (file == nullptr) {
    log_printf("%s(): fopen %s err", "psf_font_load", path);
    return -1;
  }
  const uint32_t glyphs_at = read_header(file.get(), path, slot);
  if (slot.version == 0)
    return -1;
  heap_block block = allocate_glyphs(path, slot);
  if (block == nullptr)
    return -1;
  const auto size = static_cast<size_t>(slot.length) * static_cast<size_t>(slot.charsize);
  const bool found = ::fseeko(file.get(), off_t{glyphs_at}, SEEK_SET) == 0;
  const size_t got = found ? std::fread(block.get(), 1, size, file.get()) : 0;
  std::memset(block.get() + got, 0, size - got); // missing glyphs are blank
  slot.ptr = block.release();
  return 0;
}

void free_fonts() noexcept {
  for (int32_t i = 0; i < std::min<int32_t>(psf_font_num, std::size(psf)); ++i) {
    if (psf[i].ptr == nullptr) {
      log_printf("%s(): free psf_font_ptr[%d] err!", "psf_font_free", i);
      return;
    }
    std::free(psf[i].ptr);
    psf[i].ptr = nullptr;
  }
}

} // namespace
} // namespace dravik::text

extern "C" {

void psf_font_alloc(int32_t count, const char *const *paths) noexcept {
  const int32_t slots = std::clamp<int32_t>(count, 0, std::size(psf));
  for (int32_t i = 0; i < slots; ++i)
    if (psf_font_load(paths[i], &psf[i]) != 0)
      log_printf("%s(): load %s err", "psf_font_alloc", paths[i]);
  psf_font_num = slots;
}

int psf_font_load(const char *path, psf_font *slot) noexcept {
  return dravik::text::load(path, *slot);
}

void psf_font_free() noexcept {
  dravik::text::free_fonts();
}

int32_t get_psf_font_num() noexcept {
  return psf_font_num;
}

} // extern "C"
