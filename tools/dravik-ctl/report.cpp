// Printing of reports.

#include "dravik-ctl/captured_output.hpp"
#include "dravik-ctl/commands.hpp"

#include <cstdio>

namespace dravik::ctl {

void print_report(const command_line &given, const value::fields &report) {
  const value whole{report};
  std::fputs((given.has("--json") ? whole.json() + '\n' : whole.text()).c_str(), stdout);
}

outcome run_and_print(reporter *does, const command_line &given, std::string &error) {
  captured_output::print_to_stderr(given.has("--verbose"));
  value::fields report;
  const outcome ended = does(given, report, error);
  if (!report.empty())
    print_report(given, report);
  return ended;
}

} // namespace dravik::ctl
