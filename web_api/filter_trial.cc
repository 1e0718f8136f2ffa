// Up to three runs of scripts a message, one for most.
#include "web_api/filter_trial.h"

#include <algorithm>
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

std::string script_of(const ListPointer& list) { return Administration::script_text(list, false); }

// A list of the filter of that number, if it is in a script, and else of none.
ListPointer working(const ListPointer& list, std::int32_t id) {
  const FilterPointer filter = list->find_filter(id);
  if (!filter || !filter->enabled || filter->tests.empty()) return FilterList__::Create();
  return numbered({filter});
}

std::vector<std::int32_t> filters_before(const ListPointer& list, std::int32_t id) {
  std::vector<std::int32_t> before;
  for (const auto& filter : list->filters) {
    if (filter->id == id) break;
    before.push_back(filter->id);
  }
  return before;
}

// The number of the filter that decided; nothing when none did.
std::optional<std::int32_t> decider_of(const Evaluation& evaluation) {
  std::int32_t id = 0;
  const std::string& text = evaluation.rule;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), id);
  if (read.ec != std::errc()) return std::nullopt;
  return id;
}

}  // namespace

TrialScripts trial_scripts(const ListPointer& now, const ListPointer& then, std::int32_t id) {
  TrialScripts scripts;
  scripts.now = script_of(numbered(now->filters));
  scripts.then = script_of(numbered(then->filters));
  scripts.id = id;
  scripts.before = filters_before(then, id);
  scripts.is_later = filters_before(now, id).size() < scripts.before.size();
  const ListPointer either = working(then, id);
  const ListPointer replaced = working(now, id);
  for (const auto& filter : replaced->filters) {
    filter->name.assign(1, '0');
    either->filters.push_back(filter);
  }
  if (!either->filters.empty()) scripts.either = script_of(either);
  return scripts;
}

TrialResult FilterTrial::run(const Trial::FoundMessage& message, std::time_t received) {
  TrialResult result;
  if (scripts_.either.empty()) return result;
  const auto run = [&](const std::string& script) {
    return runs_.run_text(message, received, script);
  };
  const Evaluation either = run(scripts_.either);
  if (!has_failed(either) && either.rule.empty()) return result;
  const Evaluation now = run(scripts_.now);
  const auto known = foretold(either, now);
  const Evaluation then = known ? *known : run(scripts_.then);
  result.is_caught = decider_of(either) == scripts_.id;
  result.has_failed = has_failed(now) || has_failed(then);
  result.decider = decider_of(then);
  result.now = plan_for(now, dots_);
  result.then = plan_for(then, dots_);
  result.is_changed = !Trial::is_same_place(result.now, result.then, dots_);
  return result;
}

// A test that fails ends a script, and may do so in front of a filter that decides or behind it.
// Where the filter that is replaced decides now, nothing is known of those behind it.
std::optional<Evaluation> FilterTrial::foretold(const Evaluation& either,
                                                const Evaluation& now) const {
  if (has_failed(either) || has_failed(now)) return std::nullopt;
  const bool is_caught = decider_of(either) == scripts_.id;
  const auto decider = decider_of(now);
  if (decider == scripts_.id) {
    if (!is_caught || scripts_.is_later) return std::nullopt;
    return either;
  }
  const auto& before = scripts_.before;
  const bool is_taken =
      decider && std::find(before.begin(), before.end(), *decider) != before.end();
  return is_caught && !is_taken ? either : now;
}

}  // namespace Quarrow::WebApi
