// Conditions of any shape, made into filters, which have one list of tests each.
#ifndef QUARROW_IMPORTING_CONDITION_H_
#define QUARROW_IMPORTING_CONDITION_H_

#include <quarrow/rule_model.h>

#include <cstddef>
#include <list>
#include <string>
#include <vector>

#include "importing/imported_rules.h"

namespace Quarrow::Importing {

// A test, or conditions of which all must hold, or any.
struct Condition {
  enum class Kind { test, all, any };
  Kind kind = Kind::all;
  MessageFilters::Test test;     // of Kind::test
  std::vector<Condition> parts;  // of the others
};

Condition single(const MessageFilters::Test& test);
Condition all_of(std::vector<Condition> parts);  // of no parts: always
Condition any_of(std::vector<Condition> parts);  // of no parts: never
Condition negated(Condition condition);

// What to make of a rule of another system.
struct RuleDraft {
  std::size_t line = 0;
  std::string name;
  bool enabled = true;
  Condition condition;
  std::list<MessageFilters::Action> actions;
};

// Adds to `rules` filters that together catch what the draft's condition holds for: one, or several
// behind each other where one list of tests won't do. A condition that always holds is a size above
// 0. For one that never holds there is nothing to add. A condition that takes too many filters, or
// a filter with too many tests, is a loss.
void add_rule(const RuleDraft& draft, ImportedRules& rules);

}  // namespace Quarrow::Importing

#endif  // QUARROW_IMPORTING_CONDITION_H_
