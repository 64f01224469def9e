// The bytes that a file of a board gains.
#pragma once

#include <cstdint>
#include <string>

namespace dravik::sim {

/// Reads a file that others append to. One that got shorter was emptied, and is read from its start.
class followed_file {
public:
  /// Of what is there at the start, read at most the last `most_bytes`.
  followed_file(std::string board, std::string inside, uint64_t most_bytes)
      : board_(std::move(board)), inside_(std::move(inside)), most_at_start_(most_bytes) {}

  /// The next bytes, at most as many; empty if there are none yet.
  std::string next(size_t most_bytes);

  /// The end of what was read.
  uint64_t position() const noexcept { return position_; }

  /// How often the file began again.
  uint32_t restarts() const noexcept { return restarts_; }

private:
  std::string board_;
  std::string inside_;
  uint64_t most_at_start_;
  uint64_t position_ = 0;
  uint32_t restarts_ = 0;
  bool is_begun_ = false;
};

} // namespace dravik::sim
