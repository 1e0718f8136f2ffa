// What each filter has decided about lately, as delivery noted it.
#include <ctime>

#include "administration/users.h"
#include "delivery/delivery_journal.h"
#include "delivery/journal_figures.h"
#include "message_filters/user_files.h"
#include "system/exists.h"
#include "web_api/mail_work.h"
#include "web_api/refusal_problem.h"
#include "web_api/resources.h"
#include "web_api/rules_work.h"

namespace Quarrow::WebApi {
namespace {

using Delivery::JournalFigures;
using Delivery::JournalRecord;
using Delivery::RuleDeliveries;
using nlohmann::ordered_json;

constexpr std::uint32_t usual_days = 30;
constexpr std::uint32_t most_days = 2 * Delivery::journal_days;  // nothing older is kept
constexpr std::time_t day = 24 * 60 * 60;                        // in seconds

RuleDeliveries deliveries_of(const std::string& rule, const JournalFigures& figures) {
  const auto found = figures.by_rule.find(rule);
  return found == figures.by_rule.end() ? RuleDeliveries() : found->second;
}

ordered_json rows(const MessageFilters::FilterList__& list, const JournalFigures& figures) {
  ordered_json rows = ordered_json::array();
  for (const auto& filter : list.filters) {
    const RuleDeliveries rule = deliveries_of(Delivery::recorded_rule(filter->name), figures);
    rows.push_back({{"id", filter->id},
                    {"name", filter->name},
                    {"caught", rule.decided},
                    {"last", rule.decided == 0 ? ordered_json() : ordered_json(rule.last)}});
  }
  return rows;
}

std::vector<JournalRecord> records_since(std::time_t since,
                                         const std::vector<JournalRecord>& records) {
  std::vector<JournalRecord> later;
  for (const auto& record : records)
    if (record.time >= since) later.push_back(record);
  return later;
}

Http::Response statistics(const std::string& folder, std::uint32_t days, const OpenRules& open) {
  const std::string path = in_folder(folder, journal_name);
  const std::time_t now = std::time(nullptr);
  const Delivery::Journal journal = Delivery::read_journal(folder, now);
  if (!journal.fault.empty())
    return refused({Administration::Refusal::Kind::unavailable, path,
                    "the journal of deliveries can't be read: " + journal.fault});
  const std::time_t since = now - day * days;
  const JournalFigures all = Delivery::figures_of(journal.records);
  const JournalFigures figures = Delivery::figures_of(records_since(since, journal.records));
  return json_answer(200, {{"days", days},
                           {"since", since},
                           {"counted", exists(path) || exists(journal_put_aside(path))},
                           {"from", all.messages == 0 ? ordered_json() : ordered_json(all.first)},
                           {"rules", rows(*open.rules.filters().filters, figures)},
                           {"undecided", deliveries_of("", figures).decided}});
}

}  // namespace

Http::Response show_statistics(const Call& call) {
  const auto days = number_of(call, "days", usual_days, most_days);
  if (!days)
    return wrong_parameter("days", "must be a number from 1 to " + std::to_string(most_days));
  const std::string folder = Administration::user_folder(call.context.user);
  return with_rules(call, [&](const OpenRules& open) { return statistics(folder, *days, open); });
}

}  // namespace Quarrow::WebApi
