// The report of a run: the library's medians next to those of the reference libraries and of the
// lower bound.
#pragma once

#include <benchmark/benchmark.h>

namespace bench {

class ratio_table : public benchmark::BenchmarkReporter {
public:
  bool ReportContext(const Context &context) override;
  void ReportRuns(const std::vector<Run> &runs) override;
  /// Print the table, in Markdown.
  void Finalize() override;

  /// Whether a contender painted something else than the library.
  bool failed() const { return failed_; }

private:
  bool failed_ = false;
};

} // namespace bench
