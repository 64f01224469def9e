// Files whose blocks of zeros take no space on the host.

#include "host/sparse_file.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

constexpr off_t block_bytes = 4096;
constexpr std::array<char, block_bytes> zero_block = {};

void free_range(int file, off_t start, off_t end) {
  if (start < end)
    ::fallocate(file, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, start, end - start);
}

/// Free the zeros of a range without holes; its start is a multiple of a block.
void free_zeros_between(int file, off_t start, off_t end) {
  std::array<char, 16 * block_bytes> bytes;
  off_t zeros = start; // where the present run of them began
  for (off_t position = start; position < end;) {
    const ssize_t count = ::pread(file, bytes.data(), bytes.size(), position);
    if (count <= 0)
      break;
    for (off_t at = 0; at < count; at += block_bytes) {
      const auto length = static_cast<size_t>(std::min(block_bytes, count - at));
      if (std::memcmp(bytes.data() + at, zero_block.data(), length) == 0)
        continue;
      free_range(file, zeros, position + at);
      zeros = position + at + block_bytes;
    }
    position += count;
  }
  free_range(file, zeros, end);
}

} // namespace

void free_zeros(int file) {
  struct stat status;
  if (::fstat(file, &status) != 0)
    return;
  off_t position = 0;
  for (off_t data; (data = ::lseek(file, position, SEEK_DATA)) >= 0;) {
    position = ::lseek(file, data, SEEK_HOLE);
    free_zeros_between(file, data / block_bytes * block_bytes, position);
  }
  const std::array<timespec, 2> times = {status.st_atim, status.st_mtim};
  ::futimens(file, times.data());
}

} // namespace dravik::sim
