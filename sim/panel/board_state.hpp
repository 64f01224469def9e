// What a live board reports besides its screen, sound and texts.
#pragma once

#include <cstdint>
#include <set>
#include <string>

namespace dravik::sim {

/// Reads the files again only if they changed.
class board_state {
public:
  explicit board_state(std::string board) : board_(std::move(board)) {}

  /// Look at the board; return whether something changed.
  bool look();

  /// A JSON object, as docs/live-board.md describes it.
  const std::string &json() const noexcept { return json_; }

private:
  struct mark {
    uint64_t hash = 0;
    int64_t newest_ns = 0; ///< time of the latest change
  };

  mark mark_of_files() const;
  void find_lines();
  std::string describe() const;
  std::string text_of(const std::string &inside) const;
  uint32_t number_in(const std::string &inside, uint32_t otherwise) const;
  uint32_t level_of(uint32_t line) const;

  std::string screen() const;
  std::string backlight() const;
  std::string inputs() const;
  std::string codes() const;
  std::string lines() const;
  std::string card() const;
  std::string mixer() const;
  std::string faults() const;

  std::string board_;
  std::string json_;
  std::set<uint32_t> lines_; ///< GPIO lines with a file
  uint64_t seen_ = 0;
  bool may_change_unseen_ = true;
};

/// Adds a file's time, size and identity to a hash; returns the time of its latest change.
int64_t add_file_mark(const std::string &path, uint64_t &hash);

} // namespace dravik::sim
