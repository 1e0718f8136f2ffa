// Runs the benchmarks and compares them.
//
//   quarrow_bench [--messages=FOLDER] --benchmark_repetitions=9
//   --benchmark_enable_random_interleaving=true
//
// FOLDER holds messages, one a file; without it those of examples/mail are used.

#include <benchmark/benchmark.h>

#include "bench/message_set.h"
#include "bench/ratio_reporter.h"

int main(int argc, char** argv) {
  read_messages_option(argc, argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  RatioReporter reporter;
  benchmark::RunSpecifiedBenchmarks(&reporter);
  reporter.print_ratios({{"Match/1", "BareInterpreter/1", 1.0},
                         {"Match/20", "BareInterpreter/20", 1.0},
                         {"Match/100", "BareInterpreter/100", 1.0},
                         {"ParallelMatch/20/threads:2", "ParallelMatch/20/threads:1", 0.56},
                         {"ExecutionForm/20", "BareInterpreter/20", 0.6},
                         {"Isolated/20", "ParseAndMatch/20", 0},
                         {"ParseHeaders/20000", "ParseHeaders/20", 1.2},
                         {"LoadFilters", "BareParse", 0},
                         {"StartMatch", "StartTrue", 0}});
  return 0;
}
