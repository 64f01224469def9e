// What distinguishes one state of a directory from another.
#pragma once

#include <algorithm>
#include <array>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace dravik::test {

/// The blocks of a sparse file that are not zeros, as numbers and hash values.
inline std::string blocks_of(const std::string &path) {
  constexpr size_t block_bytes = 4096;
  std::string blocks;
  std::array<char, block_bytes> block;
  const int file = ::open(path.c_str(), O_RDONLY | O_NONBLOCK);
  off_t position = 0;
  while ((position = ::lseek(file, position, SEEK_DATA)) >= 0) {
    position -= position % static_cast<off_t>(block_bytes);
    const ssize_t count = ::pread(file, block.data(), block.size(), position);
    const std::string_view bytes{block.data(), static_cast<size_t>(std::max<ssize_t>(count, 0))};
    if (bytes.find_first_not_of('\0') != std::string_view::npos)
      blocks += " " + std::to_string(position) + ":" + std::to_string(std::hash<std::string_view>{}(bytes));
    position += static_cast<off_t>(block_bytes);
  }
  ::close(file);
  return blocks;
}

/// Names, types, modes, owners, sizes and contents of all files below a directory, but not their times.
inline std::string state_of(const std::string &directory) {
  std::set<std::string> lines;
  std::error_code code;
  for (const auto &entry : std::filesystem::recursive_directory_iterator{directory, code}) {
    const std::string path = entry.path().string();
    struct stat status = {};
    ::lstat(path.c_str(), &status);
    std::string line = path + " " + std::to_string(status.st_mode) + " " + std::to_string(status.st_uid);
    if (S_ISREG(status.st_mode))
      line += " " + std::to_string(status.st_size) + blocks_of(path);
    if (S_ISLNK(status.st_mode))
      line += " " + std::filesystem::read_symlink(path, code).string();
    lines.insert(line);
  }
  std::string state;
  for (const std::string &line : lines)
    state += line + "\n";
  return state;
}

} // namespace dravik::test
