// Sentences: a subject, a verb, and what it is compared with.
#include "administration/rule_sentence.h"

#include <list>

#include "administration/date_value.h"
#include "administration/rule_fields.h"
#include "administration/rule_text.h"
#include "administration/size_value.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::Action;
using MessageFilters::Comparator;
using MessageFilters::Field;
using MessageFilters::Filter__;
using MessageFilters::Test;

const struct {
  const std::string& comparator;
  const char* verb;
  const char* negated;
} verbs[] = {{Comparator::IS, " is ", " is not "},
             {Comparator::CONTAINS, " contains ", " does not contain "},
             {Comparator::BEGINWITH, " begins with ", " does not begin with "},
             {Comparator::ENDWITH, " ends with ", " does not end with "},
             {Comparator::GREATER, " is larger than ", " is not larger than "},
             {Comparator::LESS, " is smaller than ", " is not smaller than "}};

std::string verb_of(const Test& test) {
  for (const auto& row : verbs)
    if (row.comparator == test.comparator) return test.negative ? row.negated : row.verb;
  return "";
}

// Headers that hold addresses can be compared as text, too.
std::string subject_of(const Test& test) {
  const bool is_text_of_addresses =
      test.field.type == Field::STRING && holds_addresses(test.field.name);
  return (is_text_of_addresses ? "the text of " : "") + field_words(test.field.name);
}

std::string date_sentence(const Test& test) {
  return (test.negative ? "not " : "") + field_words(test.field.name) + ' ' +
         (test.comparator == Comparator::IS ? "on" : test.comparator) + ' ' +
         readable_date(test.value);
}

// The sentences of `parts`, with `between` in front of each but the first.
template <typename Part>
std::string joined(const std::list<Part>& parts, const std::string& between,
                   std::string (*sentence)(const Part&)) {
  std::string text;
  for (const Part& part : parts) text += (text.empty() ? "" : between) + sentence(part);
  return text;
}

}  // namespace

std::string test_sentence(const Test& test) {
  if (!test.is_valid()) return test_text(test);
  if (test.field.type == Field::DATE) return date_sentence(test);
  const bool is_size = test.field.type == Field::SIZE;
  return subject_of(test) + verb_of(test) +
         (is_size ? readable_size(test.value) : '"' + test.value + '"') +
         (test.match_case ? " (capitals count)" : "");
}

std::string action_sentence(const Action& action) {
  if (!action.is_valid()) return action_text(action);
  if (action.method == Action::DELETE) return "delete (move to Trash)";
  return action.method + " to " + action.target;
}

std::string rule_sentence(const Filter__& filter) {
  const char* const relation = filter.relation == Filter__::ANYOF ? " or " : " and ";
  const std::string tests = joined(filter.tests, relation, test_sentence);
  const std::string actions = joined(filter.actions, " and ", action_sentence);
  return (tests.empty() ? "Never" : "When " + tests) + ": " + actions;
}

}  // namespace Quarrow::Administration
