// Why a message goes where it goes.
#include <algorithm>
#include <ctime>
#include <string_view>

#include "administration/loaded_rules.h"
#include "administration/rule_sentence.h"
#include "administration/rules_json.h"
#include "administration/users.h"
#include "delivery/delivery_journal.h"
#include "delivery/journal_record.h"
#include "delivery/place_text.h"
#include "trial/explanation.h"
#include "web_api/filter_view.h"
#include "web_api/mail_work.h"
#include "web_api/message_view.h"
#include "web_api/opaque_text.h"
#include "web_api/refusal_problem.h"
#include "web_api/resources.h"

namespace Quarrow::WebApi {
namespace {

using Delivery::Evaluation;
using Delivery::JournalRecord;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using nlohmann::ordered_json;
using Trial::ComparedValue;
using Trial::ExplainedRule;
using Trial::ExplainedTest;
using Trial::Explanation;

ordered_json view_of(const ComparedValue& value) {
  ordered_json view = {{"field", value.field}, {"value", nullptr}};
  if (value.text) view["value"] = *value.text;
  if (!value.reason.empty()) view["reason"] = value.reason;
  return view;
}

ordered_json view_of(const ExplainedTest& test, const ordered_json& as_in_filter) {
  ordered_json values = ordered_json::array();
  for (const auto& value : test.values) values.push_back(view_of(value));
  return {{"test", as_in_filter},
          {"sentence", Administration::test_sentence(test.test)},
          {"result", result_word(test.result)},
          {"reason", test.reason},
          {"values", values}};
}

// A filter as it is in a list of filters.
ordered_json json_of(const boost::shared_ptr<Filter__>& filter) {
  const auto list = FilterList__::Create();
  list->filters.push_back(filter);
  return ordered_json::parse(Administration::rules_json(*list))[0];
}

ordered_json view_of(const ExplainedRule& rule) {
  ordered_json tests = ordered_json::array();
  const ordered_json filter = json_of(rule.filter);
  for (const auto& test : rule.tests) tests.push_back(view_of(test, filter["tests"][tests.size()]));
  return {{"id", rule.filter->id},
          {"name", rule.filter->name},
          {"relation", rule.filter->relation},
          {"result", result_word(rule.result)},
          {"reason", rule.reason},
          {"tests", tests}};
}

ordered_json decider_of(const Explanation& explanation) {
  if (explanation.rules.empty()) return nullptr;
  const ExplainedRule& last = explanation.rules.back();
  return last.result == ExplainedRule::Result::matches ? ordered_json(last.filter->id)
                                                       : ordered_json();
}

// A user who never had a rule has no script, which is as good as one that does nothing.
bool agrees(const Explanation& explanation) {
  if (explanation.by_script.outcome != Evaluation::Outcome::no_script) return explanation.agrees;
  return std::all_of(explanation.rules.begin(), explanation.rules.end(), [](const auto& rule) {
    return rule.result == ExplainedRule::Result::disabled ||
           rule.result == ExplainedRule::Result::no_tests;
  });
}

ordered_json view_of(const JournalRecord& record, const std::string& revision) {
  return {{"time", record.time},
          {"rule", record.rule.empty() ? ordered_json() : ordered_json(record.rule)},
          {"place", past_place_text(record)},
          {"other_rules", record.revision != revision}};
}

// What the journal in the user's folder knows of the message; what keeps it from being read is a
// remark.
void add_deliveries(const std::string& folder, std::string_view message, ordered_json& body) {
  const Delivery::Journal journal = Delivery::read_journal(folder, std::time(nullptr));
  const std::string id = Delivery::recorded_message_id(message);
  const std::string revision = Delivery::document_revision(folder);
  body["deliveries"] = ordered_json::array();
  for (const auto& record : journal.records)
    if (!id.empty() && record.message_id == id)
      body["deliveries"].push_back(view_of(record, revision));
  body["remarks"] = ordered_json::array();
  if (!journal.fault.empty())
    body["remarks"].push_back("the journal of deliveries can't be read: " + journal.fault);
}

Http::Response explain(const Call& call, const FilterList__& list, const ListedMessage& message,
                       MailListing& listing) {
  OpenedMessage opened;
  switch (listing.open(message, opened)) {
    case Opening::gone:
      return no_message();
    case Opening::unreadable:
      return refused({Administration::Refusal::Kind::unavailable, "",
                      "the message can't be read, or is empty"});
    case Opening::done:
      break;
  }
  const EmailAddress& user = call.context.user;
  Trial::IsolatedRuns runs;
  const Explanation explanation = Trial::explain(list, Administration::rules_script(user.address()),
                                                 opened.message, message.received, runs);
  ordered_json rules = ordered_json::array();
  for (const auto& rule : explanation.rules) rules.push_back(view_of(rule));
  const auto plan = plan_for(explanation.by_script, call.context.dots);
  ordered_json body = {{"message", view_of(message, opened, listing, runs)},
                       {"decided_by", decider_of(explanation)},
                       {"place", place_of(plan, call.context.dots)},
                       {"agrees", agrees(explanation)},
                       {"rules", rules}};
  add_deliveries(Administration::user_folder(user), opened.message.bytes, body);
  return json_answer(200, body);
}

}  // namespace

Http::Response explain_message(const Call& call) {
  const auto unique = bytes_of_opaque(call.item);
  if (!unique) return no_message();
  FilterListPointer list;
  const EmailAddress& user = call.context.user;
  if (const auto refusal = Administration::load_rules(user, list, call.context.patience))
    return refused(refusal);
  return with_mail(call, parameter_of(call, "folder", inbox), [&](MailListing& listing) {
    const auto message = listing.find(*unique);
    return message ? explain(call, *list, *message, listing) : no_message();
  });
}

}  // namespace Quarrow::WebApi
