// Programs of the host that work on a card's image: dosfstools and mtools.
#pragma once

#include <string>
#include <vector>

namespace dravik::sim {

/// Runs a tool of the host, found in PATH or where the system's own tools lie, to its end and past the
/// simulator. Gives its status as waitpid() does, -1 when there is no such tool. With `said`, what it writes
/// goes there instead of to this program's own output.
int run_tool(const std::vector<std::string> &words, std::string *said = nullptr);

/// The tools that a card needs and this host lacks, with their packages; empty when all are there.
std::string lacking_card_tools();

} // namespace dravik::sim
