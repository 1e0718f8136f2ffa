// Explanations as text and as JSON.
#include "apps/quarrow/explanation_output.h"

#include <nlohmann/json.hpp>
#include <sstream>

#include "administration/rule_text.h"
#include "delivery/journal_record.h"
#include "delivery/place_text.h"
#include "quarrow/delivery/delivery_plan.h"
#include "system/printable.h"

namespace Quarrow::Command {
namespace {

using Delivery::FolderDots;
using Delivery::Plan;
using MessageFilters::Filter__;
using nlohmann::ordered_json;
using Trial::ComparedValue;
using Trial::ExplainedRule;
using Trial::ExplainedTest;
using Trial::Explanation;

// By ExplainedRule::Result and ExplainedTest::Result, for a person.
const char* const rule_texts[] = {"matches", "does not match", "fails", "disabled", "has no tests"};
const char* const test_texts[] = {"yes", "no", "failed"};

template <typename Result>
const char* text_for(const char* const* texts, Result result) {
  return texts[static_cast<std::size_t>(result)];
}

// Of several tests, how many must hold.
const char* relation_text(const Filter__& filter) {
  if (filter.tests.size() < 2) return "";
  return filter.relation == Filter__::ANYOF ? " (one of the tests must hold)"
                                            : " (all tests must hold)";
}

std::string shown(const std::string& text) { return printable(shortened(text)); }

// In quotes, so that blanks at the end are seen; quotes within have a backslash in front.
std::string quoted(const std::string& text) {
  return '"' + escaped(shortened(text), {"\"\\", "", true}) + '"';
}

std::string value_text(const ComparedValue& value) {
  if (!value.reason.empty()) return "not known: " + shown(value.reason);
  if (value.field == MessageFilters::Field::SIZE) return value.text.value_or("");
  return value.text ? quoted(*value.text) : "there is none";
}

void write_test(const ExplainedTest& test, std::ostream& out) {
  out << "  " << text_for(test_texts, test.result) << ": "
      << printable(Administration::test_text(test.test)) << '\n';
  for (const auto& value : test.values)
    out << "      " << shown(value.field) << ": " << value_text(value) << '\n';
  if (!test.reason.empty()) out << "      " << shown(test.reason) << '\n';
}

std::string rule_name(const Filter__& filter) {
  return std::to_string(filter.id) + ' ' + shown(filter.name);
}

void write_rule(const ExplainedRule& rule, std::ostream& out) {
  const bool is_run = !rule.tests.empty();
  out << "rule " << rule_name(*rule.filter) << ": " << text_for(rule_texts, rule.result)
      << (is_run ? relation_text(*rule.filter) : "") << '\n';
  for (const auto& test : rule.tests) write_test(test, out);
  if (rule.result != ExplainedRule::Result::matches) return;
  for (const auto& action : rule.filter->actions)
    out << "  then: " << printable(Administration::action_text(action)) << '\n';
}

std::string decision_text(const Explanation& explanation) {
  if (!explanation.rules.empty()) {
    const ExplainedRule& last = explanation.rules.back();
    if (last.result == ExplainedRule::Result::matches)
      return "rule " + rule_name(*last.filter) + " decides";
    if (last.result == ExplainedRule::Result::failed)
      return "rule " + rule_name(*last.filter) + " fails: " + printable(last.reason);
  }
  return "no rule matches";
}

ordered_json to_json(const ComparedValue& value) {
  ordered_json out = {{"field", value.field}, {"value", nullptr}};
  if (value.text) out["value"] = *value.text;
  if (!value.reason.empty()) out["reason"] = value.reason;
  return out;
}

ordered_json to_json(const ExplainedTest& test) {
  ordered_json out = {{"test", Administration::test_text(test.test)},
                      {"result", result_word(test.result)},
                      {"values", ordered_json::array()}};
  for (const auto& value : test.values) out["values"].push_back(to_json(value));
  if (!test.reason.empty()) out["reason"] = test.reason;
  return out;
}

ordered_json to_json(const ExplainedRule& rule) {
  ordered_json out = {{"id", rule.filter->id},
                      {"name", rule.filter->name},
                      {"result", result_word(rule.result)},
                      {"relation", rule.filter->relation},
                      {"tests", ordered_json::array()},
                      {"actions", ordered_json::array()}};
  for (const auto& test : rule.tests) out["tests"].push_back(to_json(test));
  for (const auto& action : rule.filter->actions)
    out["actions"].push_back(Administration::action_text(action));
  if (!rule.reason.empty()) out["reason"] = rule.reason;
  return out;
}

std::string text_of(const ordered_json& json) {
  return json.dump(2, ' ', false, ordered_json::error_handler_t::replace) + '\n';
}

}  // namespace

std::string explanation_text(const std::string& name, const std::vector<PastDelivery>& past,
                             const Explanation& explanation, FolderDots dots) {
  std::ostringstream out;
  out << past_deliveries_text(past) << "message " << printable(name) << '\n';
  for (const auto& rule : explanation.rules) write_rule(rule, out);
  const Plan plan = plan_for(explanation.by_script, dots);
  const std::string reason = inbox_reason_text(plan);
  out << "result: " << decision_text(explanation) << '\n'
      << "place: " << printable(place_text(plan))
      << (reason.empty() ? "" : " (" + shown(reason) + ')') << '\n';
  return out.str();
}

std::string explanation_json(const std::string& name, const std::vector<PastDelivery>& past,
                             const Explanation& explanation, FolderDots dots) {
  const Plan plan = plan_for(explanation.by_script, dots);
  ordered_json out = {{"deliveries", past_deliveries_json(past)},
                      {"message", name},
                      {"rules", ordered_json::array()}};
  for (const auto& rule : explanation.rules) out["rules"].push_back(to_json(rule));
  out["decided_by"] = nullptr;
  if (!explanation.rules.empty() &&
      explanation.rules.back().result == ExplainedRule::Result::matches)
    out["decided_by"] = explanation.rules.back().filter->id;
  out["places"] = place_names(plan);
  out["inbox_reason"] = Delivery::inbox_reason_word(plan.inbox_reason);
  out["note"] = plan.note;
  out["script_agrees"] = explanation.agrees;
  return text_of(out);
}

std::string deliveries_json(const std::vector<PastDelivery>& past) {
  return text_of({{"deliveries", past_deliveries_json(past)}});
}

}  // namespace Quarrow::Command
