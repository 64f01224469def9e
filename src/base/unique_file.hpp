// RAII owner of a stdio stream.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>
#include <unistd.h>

namespace dravik {

struct close_file {
  void operator()(std::FILE *file) const noexcept { std::fclose(file); }
};

using unique_file = std::unique_ptr<std::FILE, close_file>;

inline unique_file open_file(const char *path, const char *mode) noexcept {
  return unique_file{std::fopen(path, mode)};
}

/// Open a file without a stream buffer, so that none is allocated: for reads in large pieces,
/// or by descriptor.
inline unique_file open_unbuffered(const char *path, const char *mode) noexcept {
  unique_file file = open_file(path, mode);
  if (file != nullptr)
    std::setvbuf(file.get(), nullptr, _IONBF, 0);
  return file;
}

/// Return the length in bytes of a file of which nothing was read yet, or -1. Leaves the descriptor at the end:
/// rewind the stream before reading it. std::fseek() would allocate a buffer and query the file twice.
inline int64_t seek_to_end(std::FILE *file) noexcept {
  return ::lseek(::fileno(file), 0, SEEK_END);
}

} // namespace dravik
