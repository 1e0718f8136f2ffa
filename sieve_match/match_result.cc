// The result of an evaluation, and its text form.

#include <strings.h>

#include <algorithm>

#include "quarrow/evaluation.h"

namespace Quarrow {
namespace {

const char* const action_names[] = {"KEEP",     "FILEINTO", "VACATION", "NOTIFY",
                                    "REDIRECT", "REJECT",   "DISCARD"};

const char* const error_names[] = {
    "", "PARSE_SCRIPT", "PARSE_HEADER", "PARSE_ADDRESS", "INVALID_MESSAGE", "UNKNOWN"};

// Null when the table has no such row; writing that sets the stream's bad state.
template <std::size_t size>
const char* name_in(const char* const (&table)[size], std::size_t row) {
  return row < size ? table[row] : nullptr;
}

void write_action(std::ostream& os, const SieveAction& action) {
  os << "action=" << name_in(action_names, action.type);
  if (action.type == SieveAction::FILEINTO) os << ':' << action.mailbox.c_str();
}

}  // namespace

void MailboxName::operator()(const std::string& name) {
  const std::string prefix = "Inbox/";
  if (strncasecmp(name.c_str(), prefix.c_str(), prefix.size()) == 0)
    *this = prefix + name.substr(prefix.size());
  else
    *this = name;
}

void SieveMatchResult::add_action(const SieveAction& action) {
  actions.push_back(action);
  std::sort(actions.begin(), actions.end(), comp);
}

bool SieveMatchResult::comp(const SieveAction& a, const SieveAction& b) { return a.type > b.type; }

std::ostream& operator<<(std::ostream& os, const SieveMatchResult& result) {
  os << "MatchResult [";
  if (result.error != SieveMatchResult::NONE) {
    os << "error=" << name_in(error_names, static_cast<std::size_t>(result.error));
    return os << ']';
  }
  const char* separator = "";
  for (const SieveAction& action : result.actions) {
    os << separator;
    write_action(os, action);
    separator = ",";
  }
  return os << ']';
}

}  // namespace Quarrow
