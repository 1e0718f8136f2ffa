// Prints benchmarks, and at the end how they compare.
#ifndef QUARROW_BENCH_RATIO_REPORTER_H_
#define QUARROW_BENCH_RATIO_REPORTER_H_

#include <benchmark/benchmark.h>

#include <map>
#include <string>

// A benchmark, the one it is measured against, and the most that the ratio of their times should
// be; 0 for no goal.
struct Comparison {
  std::string ours;
  std::string theirs;
  double goal;
};

// The console's report, and then the ratio of each comparison: of the least CPU time of all
// repetitions, or the least real time of benchmarks that measure that. The library does not tell a
// reporter of repetitions when it shall report aggregates only; then it is their median.
class RatioReporter : public benchmark::ConsoleReporter {
 public:
  void ReportRuns(const std::vector<Run>& runs) override;
  void print_ratios(const std::vector<Comparison>& comparisons) const;

 private:
  using Times = std::map<std::string, double>;  // by name, in the benchmark's unit

  Times least_;
  Times medians_;
};

#endif  // QUARROW_BENCH_RATIO_REPORTER_H_
