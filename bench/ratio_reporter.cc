#include "bench/ratio_reporter.h"

#include <cstdio>

void RatioReporter::ReportRuns(const std::vector<Run>& runs) {
  ConsoleReporter::ReportRuns(runs);
  for (const Run& run : runs) {
    if (run.error_occurred || run.run_type != Run::RT_Iteration) continue;
    const bool real = run.run_name.time_type == "real_time";
    const double time = real ? run.GetAdjustedRealTime() : run.GetAdjustedCPUTime();
    const std::string name =
        run.run_name.function_name + (run.run_name.args.empty() ? "" : "/" + run.run_name.args);
    const auto [entry, first] = least_.emplace(name, time);
    if (!first && time < entry->second) entry->second = time;
  }
}

void RatioReporter::print_ratios(const std::vector<Comparison>& comparisons) const {
  std::printf("\n%-36s %-36s %8s %6s\n", "least time of", "beside", "ratio", "goal");
  for (const Comparison& comparison : comparisons) {
    const auto ours = least_.find(comparison.ours);
    const auto theirs = least_.find(comparison.theirs);
    if (ours == least_.end() || theirs == least_.end()) continue;  // left out by a filter
    std::printf("%-36s %-36s %8.2f ", comparison.ours.c_str(), comparison.theirs.c_str(),
                ours->second / theirs->second);
    if (comparison.goal > 0)
      std::printf("%6.1f\n", comparison.goal);
    else
      std::printf("%6s\n", "-");
  }
}
