// One program at a time changes a board's card.
#pragma once

#include "base/unique_fd.hpp"

#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <string>
#include <sys/file.h>
#include <sys/stat.h>

namespace dravik::sim {

/// Hold the memory card of a board; block while another program does. Children inherit the lock, so that a
/// tool whose parent was killed has ended before the next action begins. The file mode mask and the handling
/// of SIGCHLD, which come from the application, are those of the card meanwhile.
class card_in_hand {
public:
  explicit card_in_hand(const std::string &board)
      : directory_(::open(board.c_str(), O_RDONLY | O_DIRECTORY)), mask_(::umask(022)) {
    struct sigaction usual = {};
    usual.sa_handler = SIG_DFL;
    ::sigaction(SIGCHLD, &usual, &child_signal_);
    while (::flock(directory_.get(), LOCK_EX) != 0 && errno == EINTR) {
    }
  }
  ~card_in_hand() {
    ::flock(directory_.get(), LOCK_UN);
    ::sigaction(SIGCHLD, &child_signal_, nullptr);
    ::umask(mask_);
  }
  card_in_hand(const card_in_hand &) = delete;
  card_in_hand &operator=(const card_in_hand &) = delete;

private:
  unique_fd directory_;
  mode_t mask_;
  struct sigaction child_signal_ = {};
};

} // namespace dravik::sim
