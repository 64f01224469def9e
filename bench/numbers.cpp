// Checksums and hexadecimal text. Each result is drawn as two pixels, by which the libraries are compared.

#include "harness.hpp"

#include <cstdlib>
#include <cstring>
#include <libdeflate.h>
#include <span>
#include <zlib.h>

namespace bench {
namespace {

void paint(size_t place, uint32_t number) {
  std::memcpy(pixel_at(static_cast<int>(place * 2), 0), &number, sizeof number);
}

struct block {
  size_t place;
  std::span<const uint8_t> bytes;
};

/// Blocks of one size at all alignments to 8 bytes.
std::vector<block> blocks_of(size_t size) {
  static const std::vector<uint8_t> memory = [] {
    std::vector<uint8_t> made(65536 + 8);
    uint32_t noise = 3;
    for (uint8_t &byte : made) {
      noise = noise * 1664525 + 1013904223;
      byte = static_cast<uint8_t>(noise >> 24);
    }
    return made;
  }();
  std::vector<block> blocks;
  for (size_t place = 0; place < 8; ++place)
    blocks.push_back({place, {memory.data() + place, size}});
  return blocks;
}

void library_crc(const block &b) {
  paint(b.place, get_data_crc(b.bytes.data(), static_cast<uint32_t>(b.bytes.size())));
}

void zlib_crc(const block &b) {
  paint(b.place, static_cast<uint32_t>(::crc32_z(0, b.bytes.data(), b.bytes.size())));
}

void libdeflate_crc(const block &b) {
  paint(b.place, libdeflate_crc32(0, b.bytes.data(), b.bytes.size()));
}

struct text {
  size_t place;
  const char *digits;
};

const std::vector<text> texts = {{0, "3ff"},      {1, "0000abcd"}, {2, "DEADBEEF"}, {3, "1f"},
                                 {4, "00c0ffee"}, {5, "7FFFFFFF"}, {6, "12345678"}, {7, "9a0"}};

} // namespace

void add_numbers() {
  row<block>("CRC of 16 bytes", {0.8, 0}, blocks_of(16))
      .library(library_crc)
      .peer("libdeflate", libdeflate_crc)
      .peer("zlib", zlib_crc);
  // Beyond that libdeflate multiplies by an instruction of this processor, which is another job.
  row<block>("CRC of 1 KiB", {1.2, 0}, blocks_of(1024)).library(library_crc).peer("zlib", zlib_crc);
  row<block>("CRC of 64 KiB", {1.2, 0}, blocks_of(65536)).library(library_crc).peer("zlib", zlib_crc);
  row<text>("hexadecimal text", {0.5, 0}, texts)
      .library([](const text &t) { paint(t.place, atohex(t.digits)); })
      .peer("strtoul", [](const text &t) {
        paint(t.place, static_cast<uint32_t>(std::strtoul(t.digits, nullptr, 16)));
      });
}

} // namespace bench
