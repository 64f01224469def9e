// Files that are read as a whole, and files that appear complete or not at all.
#pragma once

#include "base/unique_file.hpp"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace dravik::tools {

/// "path: " and the text of errno.
std::string system_error(const std::string &path);

/// Open a regular file for reading. On failure returns null and set `error`: devices and pipes are rejected
/// without being opened, so that no name can block a tool.
unique_file open_regular(const std::string &path, std::string &error);

/// Read a regular file of at most 4 GiB. On failure returns false and set `error`.
[[nodiscard]] bool read_file(const std::string &path, std::vector<uint8_t> &into, std::string &error);

/// Whether a file may be written under this name: it does not exist, is empty, or begins with `magic`. On
/// failure returns false and sets `error`. Protects drawings from a slip in the arguments.
[[nodiscard]] bool may_replace(const std::string &path, std::string_view magic, std::string &error);

/// Create an empty directory of a unique name next to `path`, with permissions by the umask. On failure
/// returns an empty name and sets `error`.
std::string make_unfinished_directory(const std::string &path, std::string &error);

/// A file that is written under a unique name next to its own, and renamed when it is complete.
class pending_file {
public:
  explicit pending_file(std::string path) : path_(std::move(path)) {}
  pending_file(const pending_file &) = delete;
  pending_file &operator=(const pending_file &) = delete;
  /// Remove the file unless it was committed.
  ~pending_file();

  // On failure each returns false and sets `error`.
  [[nodiscard]] bool open(std::string &error);
  [[nodiscard]] bool close(std::string &error);
  [[nodiscard]] bool write(std::span<const uint8_t> bytes, std::string &error); ///< open, write, close
  [[nodiscard]] bool commit(std::string &error);                                ///< once closed

  std::FILE *stream() noexcept { return stream_.get(); }

private:
  bool failed(std::string &error) const; ///< false, with errno in `error`

  std::string path_;
  std::string unfinished_; ///< empty while there is no such file
  unique_file stream_;
};

} // namespace dravik::tools
