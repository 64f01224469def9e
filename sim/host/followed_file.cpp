// The bytes that a file of a board gains.

#include "host/followed_file.hpp"
#include "base/unique_fd.hpp"
#include "host/board_directory.hpp"

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>

namespace dravik::sim {

std::string followed_file::next(size_t most_bytes) {
  const unique_fd file{open_in_board(board_, inside_, O_RDONLY)};
  struct stat status = {};
  const bool is_there = file && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode);
  const auto size = static_cast<uint64_t>(is_there ? status.st_size : 0);
  if (size < position_) {
    position_ = 0;
    ++restarts_;
  }
  if (!std::exchange(is_begun_, true))
    position_ = size - std::min(size, most_at_start_);
  std::string bytes(static_cast<size_t>(std::min<uint64_t>(size - position_, most_bytes)), '\0');
  const ssize_t count =
      bytes.empty() ? 0 : ::pread(file.get(), bytes.data(), bytes.size(), static_cast<off_t>(position_));
  bytes.resize(static_cast<size_t>(std::max<ssize_t>(count, 0)));
  position_ += bytes.size();
  return bytes;
}

} // namespace dravik::sim
