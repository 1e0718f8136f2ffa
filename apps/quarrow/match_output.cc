// Results as text and as JSON.
#include "apps/quarrow/match_output.h"

#include <nlohmann/json.hpp>
#include <sstream>

#include "system/printable.h"

namespace Quarrow::Command {
namespace {

using nlohmann::ordered_json;

// By SieveAction::Type.
const char* const action_words[] = {"keep",     "fileinto", "vacation", "notify",
                                    "redirect", "reject",   "discard"};

// By SieveMatchResult::Error.
const char* const error_words[] = {"none",          "parse_script",    "parse_header",
                                   "parse_address", "invalid_message", "unknown"};

ordered_json to_json(const SieveAction& action) {
  ordered_json out = {{"action", action_words[action.type]}};
  if (action.type == SieveAction::FILEINTO) out["mailbox"] = std::string(action.mailbox);
  if (action.type == SieveAction::REJECT) out["reason"] = action.message;
  return out;
}

}  // namespace

std::string result_line(const std::string& name, const SieveMatchResult& result) {
  std::ostringstream text;
  text << result;
  return printable(name) + '\t' + printable(text.str());
}

std::string result_json(const std::string& name, const SieveMatchResult& result,
                        const std::string& rule) {
  ordered_json out = {{"message", name}};
  if (result.error != SieveMatchResult::NONE) {
    out["error"] = error_words[result.error];
  } else {
    out["actions"] = ordered_json::array();
    for (const auto& action : result.actions) out["actions"].push_back(to_json(action));
    if (!rule.empty()) out["rule"] = rule;
  }
  return out.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

}  // namespace Quarrow::Command
