// Counting results.
#include "trial/tally.h"

#include <set>

namespace Quarrow::Trial {
namespace {

// Whether an action of that type is among `result`'s.
bool has(const SieveMatchResult& result, SieveAction::Type type) {
  for (const auto& action : result.actions)
    if (action.type == type) return true;
  return false;
}

}  // namespace

void Tally::add(const SieveMatchResult& result) {
  ++messages;
  if (result.error != SieveMatchResult::NONE) {
    ++errors;
    return;
  }
  std::set<std::string> names;
  for (const auto& action : result.actions)
    if (action.type == SieveAction::FILEINTO) names.insert(action.mailbox);
  for (const auto& name : names) ++folders[name];
  kept += result.actions.empty() || has(result, SieveAction::KEEP);
  rejected += has(result, SieveAction::REJECT);
  discarded += has(result, SieveAction::DISCARD);
}

void Tally::add_not_evaluated() {
  ++messages;
  ++not_evaluated;
}

}  // namespace Quarrow::Trial
