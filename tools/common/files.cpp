// Complete files: read, and written under a unique name first.

#include "common/files.hpp"

#include "base/unique_fd.hpp"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

namespace dravik::tools {
namespace {

constexpr const char *unfinished_suffix = ".part-XXXXXX"; ///< as mkstemp() takes it

mode_t by_umask(mode_t mode) noexcept {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return mode & ~mask;
}

/// A rename must not put a file in the place of a device.
bool is_regular_or_absent(const std::string &path, std::string &error) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode))
    return true;
  error = path + ": not a regular file, not replaced";
  return false;
}

} // namespace

std::string system_error(const std::string &path) {
  return path + ": " + std::strerror(errno);
}

unique_file open_regular(const std::string &path, std::string &error) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0) {
    error = system_error(path);
    return {};
  }
  if (!S_ISREG(status.st_mode)) {
    error = path + ": not a regular file";
    return {};
  }
  // Not blocking: the name may have become that of a pipe meanwhile.
  unique_fd file{::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)};
  unique_file stream{file ? ::fdopen(file.get(), "rb") : nullptr};
  if (stream == nullptr)
    error = system_error(path);
  else
    file.release();
  return stream;
}

bool read_file(const std::string &path, std::vector<uint8_t> &into, std::string &error) {
  const unique_file file = open_regular(path, error);
  struct stat status;
  if (file == nullptr)
    return false;
  if (::fstat(::fileno(file.get()), &status) != 0) {
    error = system_error(path);
    return false;
  }
  if (int64_t{status.st_size} > std::numeric_limits<uint32_t>::max()) {
    error = path + ": longer than 4 GiB";
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
  if (!is_regular_or_absent(path, error))
    return false;
  std::string start(magic.size(), '\0');
  const unique_file file = open_file(path.c_str(), "rb");
  if (file != nullptr)
    start.resize(std::fread(start.data(), 1, start.size(), file.get()));
  if (file != nullptr && (status.st_size == 0 || start == magic))
    return true;
  error = path + ": a file of another kind has this name, not replaced";
  return false;
}

std::string make_unfinished_directory(const std::string &path, std::string &error) {
  std::string name = path + unfinished_suffix;
  if (::mkdtemp(name.data()) == nullptr) {
    error = system_error(path);
    return {};
  }
  ::chmod(name.c_str(), by_umask(0777));
  return name;
}

pending_file::~pending_file() {
  if (!unfinished_.empty())
    ::unlink(unfinished_.c_str());
}

bool pending_file::open(std::string &error) {
  if (!is_regular_or_absent(path_, error))
    return false;
  std::string name = path_ + unfinished_suffix;
  unique_fd file{::mkostemp(name.data(), O_CLOEXEC)};
  if (file)
    unfinished_ = name;
  if (!file || ::fchmod(file.get(), by_umask(0666)) != 0)
    return failed(error);
  stream_.reset(::fdopen(file.get(), "wb"));
  if (stream_ == nullptr)
    return failed(error);
  file.release();
  return true;
}

bool pending_file::close(std::string &error) {
  return std::fclose(stream_.release()) == 0 || failed(error);
}

bool pending_file::write(std::span<const uint8_t> bytes, std::string &error) {
  if (!open(error))
    return false;
  const bool is_written = std::fwrite(bytes.data(), 1, bytes.size(), stream()) == bytes.size();
  return is_written ? close(error) : failed(error);
}

bool pending_file::commit(std::string &error) {
  if (std::rename(unfinished_.c_str(), path_.c_str()) != 0)
    return failed(error);
  unfinished_.clear();
  return true;
}

bool pending_file::failed(std::string &error) const {
  error = system_error(path_);
  return false;
}

} // namespace dravik::tools
