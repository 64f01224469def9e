// The report of a played scenario, as CI reads it.
#pragma once

#include "scenario/steps.hpp"

#include <span>
#include <string>

namespace dravik::sim::scenario {

/// Steps before the failed one have passed, those after it were skipped.
struct report {
  std::string file; ///< of the scenario
  std::span<const step> steps;
  std::span<const double> seconds; ///< of the steps that were played
  std::string failure;             ///< of the last one that was played; empty if it has passed
};

/// JUnit's XML: a test case per step.
std::string junit_of(const report &played);

/// Text in XML, also of attributes. What XML cannot contain becomes a question mark.
std::string xml_text(std::string_view text);

} // namespace dravik::sim::scenario
