// Up to four runs of scripts a message, one for most.
#include "web_api/filter_trial.h"

#include <charconv>

#include "administration/rules_text.h"
#include "trial/comparison.h"

namespace Quarrow::WebApi {
namespace {

using Delivery::Evaluation;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using Trial::has_failed;
using FilterPointer = boost::shared_ptr<Filter__>;
using ListPointer = boost::shared_ptr<FilterList__>;

ListPointer numbered(const std::list<FilterPointer>& filters) {
  const ListPointer list = FilterList__::Create();
  for (const auto& filter : filters) {
    const FilterPointer copy = Filter__::Create();
    *copy = *filter;
    copy->name = std::to_string(filter->id);
    list->filters.push_back(copy);
  }
  return list;
}

std::string script_of(const std::list<FilterPointer>& filters) {
  return Administration::script_text(numbered(filters), false);
}

// The filter of that number, if it is in a script.
std::list<FilterPointer> working(const ListPointer& list, std::int32_t id) {
  const FilterPointer filter = list->find_filter(id);
  if (!filter || !filter->enabled || filter->tests.empty()) return {};
  return {filter};
}

std::optional<std::int32_t> decider_of(const Evaluation& evaluation) {
  std::int32_t id = 0;
  const std::string& text = evaluation.rule;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), id);
  if (text.empty() || read.ec != std::errc()) return std::nullopt;
  return id;
}

}  // namespace

TrialScripts trial_scripts(const ListPointer& now, const ListPointer& then, std::int32_t id) {
  std::list<FilterPointer> either = working(then, id);
  TrialScripts scripts = {script_of(now->filters), script_of(then->filters),
                          either.empty() ? "" : script_of(either), ""};
  either.splice(either.end(), working(now, id));
  if (!either.empty()) scripts.either = script_of(either);
  return scripts;
}

// A test that fails ends the script, and may do so before or behind a filter that decides: then the
// whole scripts tell.
TrialResult FilterTrial::run(const Trial::FoundMessage& message, std::time_t received) {
  TrialResult result;
  if (scripts_.either.empty()) return result;
  const auto run = [&](const std::string& script) {
    return runs_.run_text(message, received, script);
  };
  const Evaluation either = run(scripts_.either);
  if (!has_failed(either) && either.rule.empty()) return result;
  const Evaluation now = run(scripts_.now);
  const Evaluation then = run(scripts_.then);
  if (!scripts_.alone.empty()) {
    const Evaluation alone = run(scripts_.alone);
    result.is_caught = !has_failed(alone) && !alone.rule.empty();
  }
  result.has_failed = has_failed(now) || has_failed(then);
  result.decider = decider_of(then);
  result.now = plan_for(now, dots_);
  result.then = plan_for(then, dots_);
  result.is_changed = !Trial::is_same_place(result.now, result.then, dots_);
  return result;
}

}  // namespace Quarrow::WebApi
