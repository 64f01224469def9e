// Complete files: read, and written under a unique name first.

#include "common/files.hpp"

#include "base/unique_fd.hpp"

#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

namespace dravik::tools {
namespace {

/// Create something under a unique name next to `path`, with permissions by the umask. Not mkstemp(): on a
/// simulated board it would act on the host. Returns the name, or an empty one with errno.
template <class Create> std::string create_next_to(const std::string &path, Create create) {
  constexpr int attempts = 100;
  for (int i = 0; i < attempts; ++i) {
    uint32_t number = 0;
    if (::getrandom(&number, sizeof number, 0) != sizeof number)
      return {};
    std::string name = path + ".part-" + std::to_string(number);
    if (create(name.c_str()))
      return name;
    if (errno != EEXIST)
      return {};
  }
  return {};
}

/// A rename must not put a file in the place of a device.
bool is_regular_or_absent(const std::string &path, std::string &error) {
  struct stat status;
  if (::stat(path.c_str(), &status) != 0 || S_ISREG(status.st_mode))
    return true;
  error = path + ": not a regular file; not replaced";
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
  constexpr size_t most = std::numeric_limits<uint32_t>::max();
  const unique_file file = open_regular(path, error);
  if (file == nullptr)
    return false;
  struct stat status = {};
  ::fstat(::fileno(file.get()), &status);
  if (uint64_t(status.st_size) > most) {
    error = path + ": larger than 4 GiB";
    return false;
  }
  into.clear();
  into.reserve(static_cast<size_t>(status.st_size));
  // Attributes of the kernel report one size and contain another: read to the end.
  std::array<uint8_t, 65536> block;
  size_t count;
  while ((count = std::fread(block.data(), 1, block.size(), file.get())) > 0 && into.size() <= most)
    into.insert(into.end(), block.data(), block.data() + count);
  if (std::ferror(file.get()) == 0)
    return true;
  error = system_error(path);
  return false;
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
  error = path + ": exists in another format; not replaced";
  return false;
}

std::string make_unfinished_directory(const std::string &path, std::string &error) {
  std::string name = create_next_to(path, [](const char *each) { return ::mkdir(each, 0777) == 0; });
  if (name.empty())
    error = system_error(path);
  return name;
}

pending_file::~pending_file() {
  if (!unfinished_.empty())
    ::unlink(unfinished_.c_str());
}

bool pending_file::open(std::string &error) {
  if (!is_regular_or_absent(path_, error))
    return false;
  unique_fd file;
  unfinished_ = create_next_to(path_, [&file](const char *name) {
    file.reset(::open(name, O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    return bool{file};
  });
  stream_.reset(file ? ::fdopen(file.get(), "wb") : nullptr);
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
