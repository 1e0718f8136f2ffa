// A script for each rule, and one for each test.
#include "trial/explanation.h"

#include <algorithm>
#include <sstream>

#include "message_filters/field_names.h"
#include "message_filters/sieve_script.h"
#include "quarrow/delivery/delivery_plan.h"

namespace Quarrow::Trial {
namespace {

using Delivery::Evaluation;
using MessageFilters::Field;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using MessageFilters::Test;

struct Subject {
  const FoundMessage& message;
  std::time_t received;
  IsolatedRuns& runs;
};

// The reason in the words of a delivery.
std::string reason_of(const Evaluation& evaluation) {
  return has_failed(evaluation) ? Delivery::plan_for(evaluation).note : "";
}

// Runs the script of `list`, whose filters are enabled.
Evaluation run_alone(const boost::shared_ptr<FilterList__>& list, const Subject& subject) {
  std::ostringstream script;
  (void)write_script(list, false, script);  // a part of a script does not compile
  return subject.runs.run_text(subject.message, subject.received, script.str());
}

std::vector<std::string> headers_of(const std::string& field) {
  if (field == FieldNames::to_cc) return {"to", "cc"};
  if (field == FieldNames::from_to_cc) return {"from", "to", "cc"};
  return {field};
}

ExplainedTest explain_test(const Test& test, const Subject& subject) {
  ExplainedTest explained;
  explained.test = test;
  explained.values = compared_values(test, subject.message, subject.received, subject.runs);
  const Evaluation evaluation = run_alone(MessageFilters::list_to_try(test), subject);
  explained.reason = reason_of(evaluation);
  if (has_failed(evaluation)) return explained;
  explained.result = evaluation.result.actions.empty() ? ExplainedTest::Result::does_not_hold
                                                       : ExplainedTest::Result::holds;
  return explained;
}

ExplainedRule::Result result_of(const Evaluation& evaluation) {
  if (has_failed(evaluation)) return ExplainedRule::Result::failed;
  return evaluation.result.actions.empty() ? ExplainedRule::Result::does_not_match
                                           : ExplainedRule::Result::matches;
}

// Explains one rule. `evaluation` becomes what it alone does, where it is in the script.
ExplainedRule explain_rule(const boost::shared_ptr<Filter__>& filter, const Subject& subject,
                           Evaluation& evaluation) {
  ExplainedRule rule;
  rule.filter = filter;
  rule.result = filter->enabled ? ExplainedRule::Result::no_tests : ExplainedRule::Result::disabled;
  if (!filter->enabled || filter->tests.empty()) return rule;
  const auto list = FilterList__::Create();
  list->filters.push_back(filter);
  evaluation = run_alone(list, subject);
  rule.result = result_of(evaluation);
  rule.reason = reason_of(evaluation);
  for (const Test& test : filter->tests) rule.tests.push_back(explain_test(test, subject));
  return rule;
}

bool is_same(const SieveAction& a, const SieveAction& b) {
  return a.type == b.type && a.mailbox == b.mailbox && a.message == b.message;
}

// The actions beside an error say nothing.
bool is_same(const Evaluation& a, const Evaluation& b) {
  if (a.outcome != b.outcome || a.result.error != b.result.error) return false;
  if (has_failed(a)) return true;
  return a.rule == b.rule &&
         std::equal(a.result.actions.begin(), a.result.actions.end(), b.result.actions.begin(),
                    b.result.actions.end(),
                    [](const SieveAction& x, const SieveAction& y) { return is_same(x, y); });
}

// By ExplainedTest::Result and ExplainedRule::Result.
const char* const test_words[] = {"holds", "does_not_hold", "failed"};
const char* const rule_words[] = {"matches", "does_not_match", "failed", "disabled", "no_tests"};

}  // namespace

const char* result_word(ExplainedTest::Result result) {
  return test_words[static_cast<std::size_t>(result)];
}

const char* result_word(ExplainedRule::Result result) {
  return rule_words[static_cast<std::size_t>(result)];
}

std::vector<ComparedValue> compared_values(const Test& test, const FoundMessage& message,
                                           std::time_t received, IsolatedRuns& runs) {
  if (test.field.type == Field::SIZE)
    return {{Field::SIZE, std::to_string(message.bytes.size()) + " bytes", ""}};
  std::vector<ComparedValue> values;
  for (const auto& name : headers_of(test.field.name)) {
    auto value = runs.header_value(message, received, name);
    values.push_back({name, std::move(value.text), std::move(value.reason)});
  }
  return values;
}

Explanation explain(const FilterList__& list, const std::string& script_path,
                    const FoundMessage& message, std::time_t received, IsolatedRuns& runs) {
  const Subject subject = {message, received, runs};
  Explanation explanation;
  explanation.by_rules.outcome = Evaluation::Outcome::done;
  for (const auto& filter : list.filters) {
    explanation.rules.push_back(explain_rule(filter, subject, explanation.by_rules));
    const auto result = explanation.rules.back().result;
    if (result == ExplainedRule::Result::matches || result == ExplainedRule::Result::failed) break;
  }
  explanation.by_script = runs.run_file(message, received, script_path);
  explanation.agrees = is_same(explanation.by_rules, explanation.by_script);
  return explanation;
}

}  // namespace Quarrow::Trial
