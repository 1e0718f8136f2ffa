#include "bench/ratio_reporter.h"

#include <algorithm>
#include <cstdio>

namespace {

constexpr char median[] = "median";

std::string name_of(const benchmark::BenchmarkReporter::Run& run) {
  const auto& name = run.run_name;
  return name.function_name + (name.args.empty() ? "" : "/" + name.args) +
         (name.threads.empty() ? "" : "/" + name.threads);
}

double time_of(const benchmark::BenchmarkReporter::Run& run) {
  return run.run_name.time_type == "real_time" ? run.GetAdjustedRealTime()
                                               : run.GetAdjustedCPUTime();
}

}  // namespace

void RatioReporter::ReportRuns(const std::vector<Run>& runs) {
  ConsoleReporter::ReportRuns(runs);
  for (const Run& run : runs) {
    if (run.error_occurred) continue;
    if (run.run_type == Run::RT_Aggregate) {
      if (run.aggregate_name == median) medians_[name_of(run)] = time_of(run);
      continue;
    }
    const auto [entry, first] = least_.emplace(name_of(run), time_of(run));
    if (!first) entry->second = std::min(entry->second, time_of(run));
  }
}

void RatioReporter::print_ratios(const std::vector<Comparison>& comparisons) const {
  const bool has_least = !least_.empty();
  const Times& times = has_least ? least_ : medians_;
  std::printf("\n%-36s %-36s %8s %6s\n", has_least ? "least time of" : "median time of", "beside",
              "ratio", "goal");
  for (const Comparison& comparison : comparisons) {
    const auto ours = times.find(comparison.ours);
    const auto theirs = times.find(comparison.theirs);
    if (ours == times.end() || theirs == times.end()) continue;  // left out by a filter
    std::printf("%-36s %-36s %8.2f ", comparison.ours.c_str(), comparison.theirs.c_str(),
                ours->second / theirs->second);
    if (comparison.goal > 0)
      std::printf("%6.2f\n", comparison.goal);
    else
      std::printf("%6s\n", "-");
  }
}
