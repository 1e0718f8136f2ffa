// From a tree of conditions to alternatives, each of which is a list of tests that must all hold.
#include "importing/condition.h"

#include <algorithm>
#include <optional>
#include <utility>

namespace Quarrow::Importing {
namespace {

using MessageFilters::Comparator;
using MessageFilters::Field;
using MessageFilters::Filter__;
using MessageFilters::Test;
using Tests = std::list<Test>;

// More filters for one rule would be hard to look through.
constexpr std::size_t most_alternatives = 20;

using Alternatives = std::vector<Tests>;

// Nothing when there are too many.
std::optional<Alternatives> alternatives_of(const Condition& condition);

std::optional<Alternatives> alternatives_of_any(const std::vector<Condition>& parts) {
  Alternatives all;
  for (const auto& part : parts) {
    const auto more = alternatives_of(part);
    // single tests share a filter: they count for less than a filter each
    if (!more || all.size() + more->size() > most_alternatives * Filter__::max_tests())
      return std::nullopt;
    all.insert(all.end(), more->begin(), more->end());
  }
  return all;
}

std::optional<Alternatives> alternatives_of_all(const std::vector<Condition>& parts) {
  Alternatives all = {{}};
  for (const auto& part : parts) {
    const auto more = alternatives_of(part);
    if (!more || all.size() * more->size() > most_alternatives * Filter__::max_tests())
      return std::nullopt;
    Alternatives joined;
    for (const auto& left : all)
      for (const auto& right : *more) {
        joined.push_back(left);
        joined.back().insert(joined.back().end(), right.begin(), right.end());
        if (joined.back().size() > Filter__::max_tests()) return std::nullopt;
      }
    all = joined;
  }
  return all;
}

std::optional<Alternatives> alternatives_of(const Condition& condition) {
  switch (condition.kind) {
    case Condition::Kind::test:
      return Alternatives{{condition.test}};
    case Condition::Kind::all:
      return alternatives_of_all(condition.parts);
    case Condition::Kind::any:
      return alternatives_of_any(condition.parts);
  }
  return std::nullopt;
}

Test always() {
  Test test;
  test.field = {Field::SIZE, Field::SIZE, true};
  test.comparator = Comparator::GREATER;
  test.value = "0";
  return test;
}

// The tests of one filter, and how they go together.
struct Conjunct {
  std::string relation;
  Tests tests;
};

// Alternatives of one test share filters in which any test must hold.
std::vector<Conjunct> conjuncts_of(const Alternatives& alternatives) {
  std::vector<Conjunct> filters;
  Tests any;
  const auto flush = [&] {
    if (!any.empty()) filters.push_back({any.size() == 1 ? Filter__::ALLOF : Filter__::ANYOF, any});
    any.clear();
  };
  for (const auto& tests : alternatives) {
    if (tests.size() > 1)
      filters.push_back({Filter__::ALLOF, tests});
    else
      any.push_back(tests.empty() ? always() : tests.front());
    if (any.size() == Filter__::max_tests()) flush();
  }
  flush();
  return filters;
}

}  // namespace

Condition single(const Test& test) { return {Condition::Kind::test, test, {}}; }

Condition all_of(std::vector<Condition> parts) {
  return {Condition::Kind::all, {}, std::move(parts)};
}

Condition any_of(std::vector<Condition> parts) {
  return {Condition::Kind::any, {}, std::move(parts)};
}

Condition negated(Condition condition) {
  if (condition.kind == Condition::Kind::test) {
    condition.test.negative = !condition.test.negative;
    return condition;
  }
  const bool is_all = condition.kind == Condition::Kind::all;
  condition.kind = is_all ? Condition::Kind::any : Condition::Kind::all;
  for (auto& part : condition.parts) part = negated(std::move(part));
  return condition;
}

void add_rule(const RuleDraft& draft, ImportedRules& rules) {
  const auto alternatives = alternatives_of(draft.condition);
  const auto filters = alternatives ? conjuncts_of(*alternatives) : std::vector<Conjunct>();
  if (!alternatives || filters.size() > most_alternatives) {
    rules.losses.push_back({draft.line, draft.name,
                            "the condition takes more tests or filters than there may be; the rule "
                            "is left out"});
    return;
  }
  for (std::size_t i = 0; i < filters.size(); ++i) {
    const auto filter = Filter__::Create();
    filter->name = draft.name + (i == 0 ? "" : " (" + std::to_string(i + 1) + ')');
    filter->enabled = draft.enabled;
    filter->relation = filters[i].relation;
    filter->tests = filters[i].tests;
    filter->actions = draft.actions;
    rules.rules.push_back({filter, draft.line});
  }
}

}  // namespace Quarrow::Importing
