// Files of the board in a scenario, by the paths that applications use.
#pragma once

#include "scenario/steps.hpp"

#include <string>

namespace dravik::sim::scenario {

/// Whether a file is as wanted. A text is searched for in the first MiB.
bool is_as_wanted(const std::string &board, const file_condition &wanted);
/// What is there instead, for a message.
std::string describe_file(const std::string &board, const file_condition &wanted);

/// Return false and set `error` on failure.
[[nodiscard]] bool write_board_file(const std::string &board, const write_file_of_board &wanted,
                                    std::string &error);
/// As above; a file that does not exist is a failure.
[[nodiscard]] bool remove_board_file(const std::string &board, const std::string &path, std::string &error);

} // namespace dravik::sim::scenario
