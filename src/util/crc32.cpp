// CRC-32 of blocks and files.

#include "util/crc32.hpp"

#include "base/heap_block.hpp"
#include "base/unique_file.hpp"
#include "dravik.h"
#include "kernels/kernels.hpp"

#include <cstring>

namespace dravik::util {
namespace {

uint32_t crc32_of_file(const char *path) noexcept {
  unique_file file = open_unbuffered(path, "r");
  if (file == nullptr)
    return DRAVIK_NONE;
  const int64_t end = seek_to_end(file.get());
  std::rewind(file.get());
  const auto size = static_cast<size_t>(end);
  const heap_block block = end < 0 ? heap_block{} : allocate_block(size);
  if (block == nullptr)
    return DRAVIK_NONE;
  const size_t got = std::fread(block.get(), 1, size, file.get());
  std::memset(block.get() + got, 0, size - got);
  file.reset();
  return crc32({block.get(), size});
}

} // namespace

uint32_t crc32(std::span<const uint8_t> bytes) noexcept {
  return kernels::crc32(0xFFFFFFFF, bytes.data(), bytes.size()) ^ 0xFFFFFFFF;
}

} // namespace dravik::util

extern "C" {

uint32_t get_data_crc(const void *data, uint32_t length) noexcept {
  if (static_cast<int32_t>(length) < 1)
    return 0;
  return dravik::util::crc32({static_cast<const uint8_t *>(data), length});
}

uint32_t get_file_crc(const char *path) noexcept {
  return dravik::util::crc32_of_file(path);
}

} // extern "C"
