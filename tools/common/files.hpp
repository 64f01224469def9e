// Files that are read whole, and files that appear whole or not at all.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace dravik::tools {

/// "path: " and the reason that errno gives.
std::string system_error(const std::string &path);

/// Reads a regular file of at most 4 GiB. On failure gives false and says why in `error`.
[[nodiscard]] bool read_file(const std::string &path, std::vector<uint8_t> &into, std::string &error);

/// Whether a file may be written under this name: there is none, or it is empty or begins with `magic`. A
/// slip in the arguments must not cost anybody a drawing.
[[nodiscard]] bool may_replace(const std::string &path, std::string_view magic, std::string &error);

/// A name beside `path`, of this process, for what is not finished.
std::string unfinished_name(const std::string &path);

/// A file that is written beside its place and takes its name at once when all is well.
class pending_file {
public:
  explicit pending_file(std::string path) : path_(std::move(path)) {}
  pending_file(const pending_file &) = delete;
  pending_file &operator=(const pending_file &) = delete;
  /// Removes what was not committed.
  ~pending_file();

  [[nodiscard]] bool write(std::span<const uint8_t> bytes, std::string &error);
  [[nodiscard]] bool commit(std::string &error);

private:
  std::string path_;
  std::string unfinished_; ///< empty while there is no such file
};

} // namespace dravik::tools
