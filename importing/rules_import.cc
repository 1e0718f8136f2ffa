// The new list of filters, and its difference from the old one.
#include "importing/rules_import.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <map>

#include "administration/rule_text.h"
#include "administration/rules_json.h"

namespace Quarrow::Importing {
namespace {

using Administration::Refusal;
using Administration::RulesTransaction;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using FilterPointer = boost::shared_ptr<Filter__>;

// The filter in words, such as "string subject contains a and size size greater 5: move Reports".
std::string words_of(const Filter__& filter) {
  std::string words = filter.enabled ? "" : "disabled: ";
  const char* const relation = filter.relation == Filter__::ANYOF ? " or " : " and ";
  const char* separator = "";
  for (const auto& test : filter.tests) {
    words += separator + Administration::test_text(test);
    separator = relation;
  }
  separator = ": ";
  for (const auto& action : filter.actions) {
    words += separator + Administration::action_text(action);
    separator = ", ";
  }
  return words;
}

// A text that two filters share when they differ in nothing but their numbers.
std::string content_of(const Filter__& filter) {
  const auto copy = boost::make_shared<Filter__>(filter);
  copy->id = 1;
  const auto list = FilterList__::Create();
  (void)list->append(copy);  // it has a number, and was in a list before
  return Administration::rules_json(*list);
}

RuleChange change_of(RuleChange::Kind kind, const Filter__& filter, std::size_t line) {
  return {kind, filter.id, filter.name, line, words_of(filter)};
}

// The filters of the old list, by their content, with their places in it.
class OldFilters {
 public:
  explicit OldFilters(const std::list<FilterPointer>& filters) {
    for (const auto& filter : filters) {
      places_[content_of(*filter)].push_back(filters_.size());
      filters_.push_back(filter);
    }
  }

  // What becomes of an old filter for this new one to be there.
  RuleChange::Kind take(const Filter__& filter) {
    auto& places = places_[content_of(filter)];
    if (places.empty()) return RuleChange::Kind::adds;
    const std::size_t place = places.front();
    places.erase(places.begin());
    filters_[place] = nullptr;
    const bool moves = place < next_;
    next_ = std::max(next_, place);
    return moves ? RuleChange::Kind::moves : RuleChange::Kind::keeps;
  }

  // The filters that were not taken.
  std::vector<RuleChange> removals() const {
    std::vector<RuleChange> changes;
    for (const auto& filter : filters_)
      if (filter) changes.push_back(change_of(RuleChange::Kind::removes, *filter, 0));
    return changes;
  }

 private:
  std::map<std::string, std::vector<std::size_t>> places_;
  std::vector<FilterPointer> filters_;
  std::size_t next_ = 0;  // the last place so far of a filter that keeps its order
};

// Adds all rules at the end of the transaction's list.
Refusal add_all(const ImportedRules& rules, bool keep_numbers, RulesTransaction& transaction) {
  for (const auto& rule : rules.rules) {
    if (!keep_numbers) rule.filter->id = 0;
    if (Refusal refusal = transaction.check_place(0)) {
      refusal.reason = "can't have " + std::to_string(rules.rules.size()) +
                       (keep_numbers ? "" : " more") + " filters: " + refusal.reason;
      return refusal;
    }
    if (!transaction.filters().add_filter(rule.filter, 0))
      return {Refusal::Kind::no_number_left, rule.filter->name, "no filter number is left"};
  }
  return {};
}

}  // namespace

const char* change_word(RuleChange::Kind kind) {
  switch (kind) {
    case RuleChange::Kind::removes:
      return "removes";
    case RuleChange::Kind::keeps:
      return "keeps";
    case RuleChange::Kind::moves:
      return "moves";
    case RuleChange::Kind::adds:
      return "adds";
    case RuleChange::Kind::loses:
      break;
  }
  return "loses";
}

Refusal put_rules(const ImportedRules& rules, Earlier earlier, RulesTransaction& transaction,
                  std::vector<RuleChange>& changes) {
  auto& list = transaction.filters().filters;
  if (earlier == Earlier::unstated && !list->filters.empty())
    return {Refusal::Kind::has_filters, transaction.filters().address.address(),
            "has filters already"};
  const bool replaces = earlier != Earlier::kept;
  OldFilters old(replaces ? list->filters : std::list<FilterPointer>());
  if (replaces) list = FilterList__::Create();
  if (Refusal refusal = add_all(rules, replaces && rules.numbered, transaction)) return refusal;

  std::vector<RuleChange> rest;
  for (const auto& rule : rules.rules)
    rest.push_back(change_of(old.take(*rule.filter), *rule.filter, rule.line));
  for (const auto& loss : rules.losses)
    rest.push_back({RuleChange::Kind::loses, 0, loss.rule, loss.line, loss.reason});
  changes = old.removals();
  changes.insert(changes.end(), rest.begin(), rest.end());
  return {};
}

}  // namespace Quarrow::Importing
