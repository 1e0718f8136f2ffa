// Results as text and as JSON.
#include "apps/quarrow/match_output.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>
#include <vector>

#include "message_filters/mailbox_name.h"
#include "quarrow/delivery/delivery_plan.h"
#include "system/printable.h"

namespace Quarrow::Command {
namespace {

using Delivery::FolderDots;
using nlohmann::ordered_json;

// By SieveAction::Type.
const char* const action_words[] = {"keep",     "fileinto", "vacation", "notify",
                                    "redirect", "reject",   "discard"};

// By SieveMatchResult::Error.
const char* const error_words[] = {"none",          "parse_script",    "parse_header",
                                   "parse_address", "invalid_message", "unknown"};

// The same for a person; a folder's name stands behind its word.
const char* const places[] = {"kept",       "folder ",  "vacation", "notified",
                              "redirected", "rejected", "discarded"};

std::string folder_of(const SieveAction& action) {
  return MessageFilters::readable_mailbox_name(std::string(action.mailbox));
}

// Where the actions lead, each place once.
std::string places_of(const std::vector<SieveAction>& actions) {
  std::vector<std::string> named;
  for (const auto& action : actions) {
    std::string place = places[action.type];
    if (action.type == SieveAction::FILEINTO) place += folder_of(action);
    if (std::find(named.begin(), named.end(), place) == named.end()) named.push_back(place);
  }
  std::string text;
  for (const auto& place : named) text += (text.empty() ? "" : ", ") + place;
  return text.empty() ? places[SieveAction::KEEP] : text;
}

// Why the inbox has the message although the rules don't say so; empty where they do.
std::string failure_note(const Delivery::Evaluation& evaluation, FolderDots dots) {
  const Delivery::Plan plan = Delivery::plan_for(evaluation, dots);
  return plan.inbox_reason == Delivery::InboxReason::failure ? plan.note : "";
}

ordered_json to_json(const SieveAction& action) {
  ordered_json out = {{"action", action_words[action.type]}};
  if (action.type == SieveAction::FILEINTO) out["mailbox"] = folder_of(action);
  if (action.type == SieveAction::REJECT) out["reason"] = action.message;
  return out;
}

}  // namespace

std::string result_line(const std::string& name, const Delivery::Evaluation& evaluation,
                        FolderDots dots) {
  const std::string note = failure_note(evaluation, dots);
  if (evaluation.result.error != SieveMatchResult::NONE)
    return printable(name) + "\terror in the " + printable(note);
  const SieveMatchResult result = Delivery::as_delivered(evaluation.result, dots);
  return printable(name) + '\t' + printable(places_of(result.actions)) +
         (note.empty() ? "" : "; " + printable(note));
}

std::string raw_result_line(const std::string& name, const SieveMatchResult& result) {
  std::ostringstream text;
  text << result;
  return printable(name) + '\t' + printable(text.str());
}

std::string result_json(const std::string& name, const Delivery::Evaluation& evaluation,
                        FolderDots dots) {
  const SieveMatchResult result = Delivery::as_delivered(evaluation.result, dots);
  ordered_json out = {{"message", name}};
  if (result.error != SieveMatchResult::NONE) {
    out["error"] = error_words[result.error];
  } else {
    out["actions"] = ordered_json::array();
    for (const auto& action : result.actions) out["actions"].push_back(to_json(action));
    if (!evaluation.rule.empty()) out["rule"] = evaluation.rule;
    const std::string note = failure_note(evaluation, dots);
    if (!note.empty()) out["note"] = note;
  }
  return out.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

}  // namespace Quarrow::Command
