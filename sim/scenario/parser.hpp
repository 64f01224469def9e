// A scenario from its text.
#pragma once

#include "scenario/steps.hpp"
#include "scenario/tokens.hpp"

namespace dravik::sim::scenario {

constexpr size_t most_bytes = 1 << 20; ///< of a scenario
constexpr size_t most_line_bytes = 1000;
constexpr size_t most_steps = 10000;

/// Return false and set `error` on failure. Depends on nothing but the text.
[[nodiscard]] bool parse(std::string_view text, std::vector<step> &steps, problem &error);

} // namespace dravik::sim::scenario
