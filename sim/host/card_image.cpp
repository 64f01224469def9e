// A new image of a board's memory card, written next to the old one and renamed over it.

#include "host/card_image.hpp"
#include "host/card_reports.hpp"
#include "host/sparse_file.hpp"

#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>

namespace dravik::sim {

fresh_image::fresh_image(const std::string &board)
    : board_(board), path_(card_files{board}.fresh_image()),
      card_(::open(card_files{board}.image().c_str(), O_RDONLY | O_CLOEXEC)) {
  struct stat status;
  if (!card_ || ::fstat(card_.get(), &status) != 0)
    return;
  file_.reset(::open(path_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
  size_ = static_cast<uint64_t>(status.st_size);
  // A card that root works on remains its owner's.
  if (file_ && ::fchown(file_.get(), status.st_uid, status.st_gid) == 0)
    ::fchmod(file_.get(), status.st_mode & 07777);
}

fresh_image::~fresh_image() {
  ::unlink(path_.c_str());
}

bool fresh_image::copy_all() {
  return copy_around({});
}

bool fresh_image::copy_around(const partition &left_out) {
  const uint64_t start = left_out.start_bytes();
  const uint64_t end = start + left_out.length_bytes();
  return file_ && ::ftruncate(file_.get(), static_cast<off_t>(size_)) == 0 &&
         copy_region(card_.get(), 0, file_.get(), 0, start) &&
         copy_region(card_.get(), end, file_.get(), end, size_ - end);
}

bool fresh_image::replace_card() {
  free_zeros(file_.get());
  return ::rename(path_.c_str(), card_files{board_}.image().c_str()) == 0;
}

} // namespace dravik::sim
