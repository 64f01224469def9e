// Reading and writing of whole files.

#include "common/files.hpp"

#include "base/unique_file.hpp"

#include <cerrno>
#include <cstring>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

namespace dravik::tools {

std::string system_error(const std::string &path) {
  return path + ": " + std::strerror(errno);
}

bool read_file(const std::string &path, std::vector<uint8_t> &into, std::string &error) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0) {
    error = system_error(path);
    return false;
  }
  if (!S_ISREG(status.st_mode)) {
    error = path + ": not a regular file";
    return false;
  }
  if (int64_t{status.st_size} > std::numeric_limits<uint32_t>::max()) {
    error = path + ": longer than 4 GiB";
    return false;
  }
  const unique_file file = open_file(path.c_str(), "rb");
  if (file == nullptr) {
    error = system_error(path);
    return false;
  }
  into.resize(static_cast<size_t>(status.st_size));
  if (std::fread(into.data(), 1, into.size(), file.get()) != into.size()) {
    error = path + ": cannot be read to its end";
    return false;
  }
  return true;
}

bool may_replace(const std::string &path, std::string_view magic, std::string &error) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0)
    return true;
  if (!S_ISREG(status.st_mode)) {
    error = path + ": not a regular file, not replaced";
    return false;
  }
  std::string start(magic.size(), '\0');
  const unique_file file = open_file(path.c_str(), "rb");
  if (file != nullptr)
    start.resize(std::fread(start.data(), 1, start.size(), file.get()));
  if (file != nullptr && (status.st_size == 0 || start == magic))
    return true;
  error = path + ": a file of another kind has this name, not replaced";
  return false;
}

std::string unfinished_name(const std::string &path) {
  return path + ".part-" + std::to_string(::getpid());
}

pending_file::~pending_file() {
  if (!unfinished_.empty())
    ::unlink(unfinished_.c_str());
}

bool pending_file::write(std::span<const uint8_t> bytes, std::string &error) {
  const std::string name = unfinished_name(path_);
  unique_file file = open_file(name.c_str(), "wbx");
  if (file == nullptr) {
    error = system_error(path_);
    return false;
  }
  unfinished_ = name;
  const bool is_written = std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size();
  if (!is_written || std::fclose(file.release()) != 0) {
    error = system_error(path_);
    return false;
  }
  return true;
}

bool pending_file::commit(std::string &error) {
  if (std::rename(unfinished_.c_str(), path_.c_str()) != 0) {
    error = system_error(path_);
    return false;
  }
  unfinished_.clear();
  return true;
}

} // namespace dravik::tools
