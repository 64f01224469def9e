// Files made byte by byte.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace dravik::test {

using bytes = std::vector<uint8_t>;

inline void put_u32(bytes &to, size_t position, uint32_t value) {
  for (size_t i = 0; i < 4; ++i)
    to.at(position + i) = static_cast<uint8_t>(value >> (8 * i));
}

inline void put_u16(bytes &to, size_t position, uint16_t value) {
  for (size_t i = 0; i < 2; ++i)
    to.at(position + i) = static_cast<uint8_t>(value >> (8 * i));
}

/// The little-endian word at a position; bytes past the end read as 0.
inline uint32_t get_u32(const bytes &from, size_t position) {
  uint32_t value = 0;
  for (size_t i = 0; i < 4; ++i)
    if (position + i < from.size())
      value |= uint32_t{from[position + i]} << (8 * i);
  return value;
}

inline void append(bytes &to, const bytes &more) {
  for (const uint8_t byte : more)
    to.push_back(byte);
}

inline bytes first_bytes(const bytes &of, size_t count) {
  return {of.begin(), of.begin() + static_cast<std::ptrdiff_t>(count)};
}

inline bytes random_bytes(std::mt19937 &random, size_t count) {
  bytes made(count);
  for (uint8_t &byte : made)
    byte = static_cast<uint8_t>(random());
  return made;
}

/// A whole number from `first` to `last`, the same on every machine.
inline uint32_t random_in(std::mt19937 &random, uint32_t first, uint32_t last) {
  return first + static_cast<uint32_t>(random() % (uint64_t{last} - first + 1));
}

inline void write_file(const std::string &path, const bytes &content) {
  std::FILE *file = std::fopen(path.c_str(), "wb");
  const bool is_written =
      file != nullptr && (content.empty() || std::fwrite(content.data(), content.size(), 1, file) == 1);
  if (!is_written || std::fclose(file) != 0) {
    std::perror(path.c_str());
    std::abort();
  }
}

/// The whole file; empty if there is none.
inline bytes read_file(const std::string &path) {
  bytes content;
  if (std::FILE *file = std::fopen(path.c_str(), "rb")) {
    uint8_t block[65536];
    while (const size_t got = std::fread(block, 1, sizeof block, file))
      content.insert(content.end(), block, block + got);
    std::fclose(file);
  }
  return content;
}

} // namespace dravik::test
