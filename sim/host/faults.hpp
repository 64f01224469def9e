// The faults of a board, as lines of its file `faults`.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace dravik::sim {

struct fault {
  std::string request; ///< a word, such as "open"
  std::string target;  ///< a word: the path or device
  std::string error;   ///< a name such as "EIO"; may be empty
};

/// The faults that docs/simulated-board.md lists, with their usual errors.
std::vector<fault> usual_faults();

std::vector<fault> read_faults(std::string_view text);

/// The text without the lines of a request to a target, or with one line for it.
std::string without_fault(std::string_view text, const fault &ordered);
std::string with_fault(std::string_view text, const fault &ordered);

// Change the faults of a board. Return false and set `error` on failure.
[[nodiscard]] bool inject_fault(const std::string &board, const fault &ordered, std::string &error);
[[nodiscard]] bool remove_fault(const std::string &board, const fault &ordered, std::string &error);
[[nodiscard]] bool remove_all_faults(const std::string &board, std::string &error);

} // namespace dravik::sim
