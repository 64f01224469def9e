// Measures the contenders of all rows of a program in one interleaved run and prints their ratios.

#include "harness.hpp"
#include "ratio_table.hpp"

#include <cstdlib>

int main(int argc, char **argv) {
  // Flags of the command line come later and take precedence.
  char interleaving[] = "--benchmark_enable_random_interleaving=true";
  char repetitions[] = "--benchmark_repetitions=11";
  char time[] = "--benchmark_min_time=0.02";
  std::vector<char *> arguments = {argv[0], interleaving, repetitions, time};
  arguments.insert(arguments.end(), argv + 1, argv + argc);
  int count = static_cast<int>(arguments.size());
  arguments.push_back(nullptr);
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data()))
    return EXIT_FAILURE;

  bench::use_screen();
  bench::add_rows();

  bench::ratio_table table;
  benchmark::RunSpecifiedBenchmarks(&table);
  return table.failed() ? EXIT_FAILURE : EXIT_SUCCESS;
}
