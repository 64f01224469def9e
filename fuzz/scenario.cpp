// The text of a scenario: its steps, or where it is none.

#include "rig.hpp"
#include "scenario/parser.hpp"

#include <algorithm>
#include <string_view>

using dravik::fuzz::require;
namespace scenario = dravik::sim::scenario;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
  const std::string_view text{reinterpret_cast<const char *>(data), size};
  const auto lines = static_cast<size_t>(std::ranges::count(text, '\n')) + 1;
  std::vector<scenario::step> steps;
  scenario::problem error;
  const bool is_scenario = scenario::parse(text, steps, error);
  require(is_scenario == error.text.empty());
  require(is_scenario || (error.line >= 1 && error.line <= lines && error.column >= 1 &&
                          error.column <= scenario::most_line_bytes + 1));
  require(steps.size() <= scenario::most_steps);
  for (const scenario::step &step : steps)
    require(step.line >= 1 && step.line <= lines && !step.text.empty());
  return 0;
}
