// Programs of the host that work on a card's image: dosfstools and mtools.
#pragma once

#include <string>
#include <vector>

namespace dravik::sim {

/// Run a tool of the host from the system's own directories, with an environment of its own. Return its
/// status as waitpid() reports it, -1 if there is no such tool. Store its output in `output`, unless null.
int run_tool(const std::vector<std::string> &words, std::string *output = nullptr);

/// Set what a child process that becomes another program inherits: neither ignored nor blocked signals.
void set_default_signals();

/// Return the missing tools for cards, with their packages; empty if there are none.
std::string lacking_card_tools();

} // namespace dravik::sim
