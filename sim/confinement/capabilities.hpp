// The capabilities that an application keeps.
#pragma once

#include <cstdint>
#include <string>

namespace dravik::sim {

enum class tracing : bool { unconfined, confined };

/// Drop every capability of this thread but the harmless ones, permanently. CAP_SYS_PTRACE stays only if
/// tracing is confined by other means. Return false if a dangerous capability remains.
bool drop_capabilities(tracing scope);

/// The permitted capabilities of this thread, one bit each.
[[nodiscard]] uint64_t permitted_capabilities();

/// Their names in lower case, separated by spaces.
[[nodiscard]] std::string names_of_capabilities(uint64_t set);

} // namespace dravik::sim
