// Counting results.
#include "trial/tally.h"

#include <iomanip>
#include <set>

#include "system/printable.h"

namespace Quarrow::Trial {
namespace {

// Whether an action of that type is among `result`'s.
bool has(const SieveMatchResult& result, SieveAction::Type type) {
  for (const auto& action : result.actions)
    if (action.type == type) return true;
  return false;
}

void print_row(std::ostream& out, int width, std::uint64_t count, const std::string& place) {
  if (count > 0) out << std::setw(width) << count << "  " << place << '\n';
}

}  // namespace

void Tally::add(const SieveMatchResult& result) {
  ++messages_;
  if (result.error != SieveMatchResult::NONE) {
    ++errors_;
    return;
  }
  std::set<std::string> folders;
  for (const auto& action : result.actions)
    if (action.type == SieveAction::FILEINTO) folders.insert(action.mailbox);
  for (const auto& folder : folders) ++folders_[folder];
  kept_ += result.actions.empty() || has(result, SieveAction::KEEP);
  rejected_ += has(result, SieveAction::REJECT);
  discarded_ += has(result, SieveAction::DISCARD);
}

void Tally::add_not_evaluated() {
  ++messages_;
  ++not_evaluated_;
}

void Tally::print(std::ostream& out) const {
  // no place gets more than all messages
  const int width = static_cast<int>(std::to_string(messages_).size());
  for (const auto& [folder, count] : folders_)
    print_row(out, width, count, "folder " + printable(folder));
  print_row(out, width, kept_, "kept");
  print_row(out, width, rejected_, "rejected");
  print_row(out, width, discarded_, "discarded");
  print_row(out, width, errors_, "error");
  print_row(out, width, not_evaluated_, "not evaluated");
  out << std::setw(width) << messages_ << (messages_ == 1 ? "  message\n" : "  messages\n");
}

}  // namespace Quarrow::Trial
