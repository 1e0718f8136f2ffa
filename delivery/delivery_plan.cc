// The meaning of each evaluation.
#include "quarrow/delivery/delivery_plan.h"

#include <algorithm>
#include <optional>

#include "delivery/folder_name.h"

namespace Quarrow::Delivery {
namespace {

Plan inbox_because(InboxReason reason, const std::string& note) {
  Plan plan;
  plan.mailboxes = {""};
  plan.inbox_reason = reason;
  plan.note = note;
  return plan;
}

Plan refused(Plan::Refusal refusal, const std::string& text) {
  Plan plan;
  plan.refusal = refusal;
  plan.reject_text = text;
  return plan;
}

std::string with_reason(const std::string& failure, const std::string& reason) {
  return reason.empty() ? failure : failure + ": " + reason;
}

bool holds_folder(const std::vector<std::string>& mailboxes, const std::string& folder,
                  FolderDots dots) {
  return std::any_of(
      mailboxes.begin(), mailboxes.end(),
      [&](const std::string& mailbox) { return maildir_folder(mailbox, dots) == folder; });
}

bool holds_inbox(const Plan& plan) {
  return std::find(plan.mailboxes.begin(), plan.mailboxes.end(), "") != plan.mailboxes.end();
}

// Adds the inbox, unless it is there already. The first failure is the one that is noted.
void add_inbox(InboxReason reason, const std::string& note, Plan& plan) {
  if (plan.inbox_reason != InboxReason::failure) {
    plan.inbox_reason = reason;
    plan.note = note;
  }
  if (!holds_inbox(plan)) plan.mailboxes.emplace_back();
}

// Whether the plan has as many folders as it may have, beside the inbox.
bool is_full(const Plan& plan) {
  const std::size_t inbox = holds_inbox(plan) ? 1 : 0;
  return plan.mailboxes.size() - inbox >= most_folders;
}

// Adds the mailbox of a KEEP or a FILEINTO, unless it is there already.
void add_mailbox(const SieveAction& action, FolderDots dots, Plan& plan) {
  std::string mailbox;
  if (action.type == SieveAction::FILEINTO) mailbox = action.mailbox;
  const std::optional<std::string> folder = maildir_folder(mailbox, dots);
  if (!folder) return add_inbox(InboxReason::failure, no_folder_note(mailbox), plan);
  if (folder->empty()) return add_inbox(InboxReason::asked, "", plan);
  if (holds_folder(plan.mailboxes, *folder, dots)) return;
  if (is_full(plan))
    return add_inbox(
        InboxReason::failure,
        "more than " + std::to_string(most_folders) + " folders, hence the inbox: " + mailbox,
        plan);
  plan.mailboxes.push_back(mailbox);
}

Plan plan_for_actions(const std::vector<SieveAction>& actions, FolderDots dots) {
  if (actions.empty()) return inbox_because(InboxReason::no_rule, "no rule matched");
  Plan plan;
  const SieveAction* reject = nullptr;
  bool discard = false;
  for (const auto& action : actions) {
    if (action.type == SieveAction::FILEINTO || action.type == SieveAction::KEEP)
      add_mailbox(action, dots, plan);
    if (action.type == SieveAction::REJECT && reject == nullptr) reject = &action;
    if (action.type == SieveAction::DISCARD) discard = true;
  }
  if (!plan.mailboxes.empty()) return plan;
  if (reject != nullptr) return refused(Plan::Refusal::reject, reject->message);
  if (discard) return refused(Plan::Refusal::discard, "");
  return inbox_because(InboxReason::failure, "no action that delivery knows");
}

// By SieveMatchResult::Error.
const char* const error_texts[] = {"",
                                   "the script is not valid",
                                   "a header could not be read",
                                   "an address could not be read",
                                   "no message",
                                   "unknown error"};

std::string error_text(int error) {
  const bool known = error > SieveMatchResult::NONE && error < SieveMatchResult::UNKNOWN;
  return error_texts[known ? error : SieveMatchResult::UNKNOWN];
}

// Keeps what `action` would file into a folder that can't be one.
SieveAction as_delivered(const SieveAction& action, FolderDots dots) {
  if (action.type != SieveAction::FILEINTO || maildir_folder(action.mailbox, dots)) return action;
  SieveAction keep;
  keep.type = SieveAction::KEEP;
  return keep;
}

}  // namespace

Plan plan_for(const Evaluation& evaluation, FolderDots dots) {
  switch (evaluation.outcome) {
    case Evaluation::Outcome::no_script:
      return inbox_because(InboxReason::no_script, with_reason("no script", evaluation.reason));
    case Evaluation::Outcome::bad_script:
      return inbox_because(InboxReason::failure, with_reason("damaged script", evaluation.reason));
    case Evaluation::Outcome::done:
      if (evaluation.result.error == SieveMatchResult::NONE)
        return plan_for_actions(evaluation.result.actions, dots);
      return inbox_because(
          InboxReason::failure,
          with_reason("evaluation: " + error_text(evaluation.result.error), evaluation.reason));
    case Evaluation::Outcome::failed:
      break;
  }
  return inbox_because(InboxReason::failure, with_reason("evaluation failed", evaluation.reason));
}

SieveMatchResult as_delivered(SieveMatchResult result, FolderDots dots) {
  for (auto& action : result.actions) action = as_delivered(action, dots);
  return result;
}

}  // namespace Quarrow::Delivery
