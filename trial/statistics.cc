// A script for each rule.
#include "trial/statistics.h"

#include <sstream>

#include "message_filters/sieve_script.h"
#include "quarrow/delivery/delivery_plan.h"
#include "trial/batch_evaluation.h"
#include "trial/isolated_runs.h"

namespace Quarrow::Trial {
namespace {

using Delivery::Evaluation;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;

// The script of `filter` alone; empty for a filter that is in no script.
std::string script_of(const boost::shared_ptr<Filter__>& filter) {
  if (!filter->enabled || filter->tests.empty()) return "";
  const auto list = FilterList__::Create();
  list->filters.push_back(filter);
  std::ostringstream script;
  (void)write_script(list, false, script);  // a part of a script does not compile
  return script.str();
}

// What each rule makes of the latest message.
class RuleByRule : public MessageEvaluator {
 public:
  explicit RuleByRule(const FilterList__& list) {
    for (const auto& filter : list.filters) scripts_.push_back(script_of(filter));
  }

  // Gives the evaluation that decides, of the first rule that matches or fails.
  Evaluation evaluate(const FoundMessage& message, std::time_t received) override {
    matching_.clear();
    Evaluation first;
    first.outcome = Evaluation::Outcome::done;
    for (std::size_t rule = 0; rule < scripts_.size(); ++rule) {
      if (scripts_[rule].empty()) continue;
      const Evaluation evaluation = runs_.run_text(message, received, scripts_[rule]);
      const bool failed = has_failed(evaluation);
      if (!failed && evaluation.result.actions.empty()) continue;
      if (matching_.empty()) first = evaluation;
      if (failed && matching_.empty()) return first;
      if (!failed) matching_.push_back(rule);
    }
    return first;
  }

  // The rules that match the latest message, in their order; none when it failed before.
  const std::vector<std::size_t>& matching() const { return matching_; }

 private:
  std::vector<std::string> scripts_;
  IsolatedRuns runs_;
  std::vector<std::size_t> matching_;
};

class Counter : public Observer {
 public:
  Counter(const FilterList__& list, const RuleByRule& rules, const RunSettings& settings,
          const std::function<void(const SourceFailure&)>& on_failure,
          const std::function<void(std::uint64_t)>& on_progress)
      : rules_(rules),
        dots_(settings.dots),
        tell_failure_(on_failure),
        tell_progress_(on_progress) {
    for (const auto& filter : list.filters) {
      statistics_.rules.emplace_back();
      statistics_.rules.back().filter = filter;
    }
  }

  void on_result(const std::string& /*name*/, const Evaluation& evaluation) override {
    ++statistics_.messages;
    if (has_failed(evaluation))
      ++statistics_.failed;
    else
      count(evaluation);
  }
  void on_not_evaluated(const std::string& /*name*/, const std::string& /*reason*/) override {
    ++statistics_.messages;
    ++statistics_.failed;
  }
  void on_failure(const SourceFailure& failure) override {
    ++statistics_.failed_sources;
    tell_failure_(failure);
  }
  void on_progress(std::uint64_t bytes) override { tell_progress_(bytes); }

  const Statistics& statistics() const { return statistics_; }

 private:
  void count(const Evaluation& evaluation) {
    const auto& matching = rules_.matching();
    if (matching.empty()) {
      ++statistics_.undecided;
      return;
    }
    RuleFigures& first = statistics_.rules[matching.front()];
    ++first.decides;
    for (const auto& folder : plan_for(evaluation, dots_).mailboxes) ++first.folders[folder];
    for (const std::size_t rule : matching) {
      ++statistics_.rules[rule].matches;
      if (rule != matching.front()) ++statistics_.rules[rule].taken_by[matching.front()];
    }
  }

  const RuleByRule& rules_;
  const Delivery::FolderDots dots_;
  const std::function<void(const SourceFailure&)>& tell_failure_;
  const std::function<void(std::uint64_t)>& tell_progress_;
  Statistics statistics_;
};

}  // namespace

Statistics statistics_of(const FilterList__& list, const std::vector<MailSource>& sources,
                         const RunSettings& settings,
                         const std::function<void(const SourceFailure&)>& on_failure,
                         const std::function<void(std::uint64_t)>& on_progress) {
  RuleByRule rules(list);
  Counter counter(list, rules, settings, on_failure, on_progress);
  BatchEvaluation(sources, rules, counter, settings.received).evaluate({0, sources.size()});
  return counter.statistics();
}

}  // namespace Quarrow::Trial
