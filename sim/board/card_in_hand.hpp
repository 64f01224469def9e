// One program at a time changes a board's card.
#pragma once

#include "base/unique_fd.hpp"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/file.h>

namespace dravik::sim {

/// Holds the card of a board; waits while someone else does.
class card_in_hand {
public:
  explicit card_in_hand(const std::string &board)
      : directory_(::open(board.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    while (::flock(directory_.get(), LOCK_EX) != 0 && errno == EINTR) {
    }
  }

private:
  unique_fd directory_;
};

} // namespace dravik::sim
