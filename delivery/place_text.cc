// Plans in words.
#include "delivery/place_text.h"

#include "message_filters/mailbox_name.h"

namespace Quarrow::Delivery {
namespace {

// The plan that would come to the same places.
Plan plan_of(const JournalRecord& record) {
  Plan plan;
  for (const std::string& folder : record.folders)
    plan.mailboxes.push_back(folder == "Inbox" ? "" : MessageFilters::imap_mailbox_name(folder));
  if (record.status == Report::Status::rejected) plan.refusal = Plan::Refusal::reject;
  if (record.status == Report::Status::discarded) plan.refusal = Plan::Refusal::discard;
  plan.inbox_reason = record.inbox_reason;
  plan.note = record.note;
  return plan;
}

}  // namespace

std::vector<std::string> place_names(const Plan& plan) {
  std::vector<std::string> names;
  for (const auto& mailbox : plan.mailboxes)
    names.push_back(mailbox.empty() ? "Inbox" : MessageFilters::readable_mailbox_name(mailbox));
  return names;
}

std::string place_text(const Plan& plan) {
  if (plan.refusal == Plan::Refusal::reject) return "rejected";
  if (plan.refusal == Plan::Refusal::discard) return "discarded";
  std::string text;
  for (const auto& mailbox : plan.mailboxes)
    text +=
        (text.empty() ? "" : ", ") +
        (mailbox.empty() ? "inbox" : "folder " + MessageFilters::readable_mailbox_name(mailbox));
  return text;
}

std::string inbox_reason_text(const Plan& plan) {
  return plan.inbox_reason == InboxReason::asked ? "the rule says so" : plan.note;
}

std::string past_place_text(const JournalRecord& record) {
  const Plan plan = plan_of(record);
  const std::string reason = inbox_reason_text(plan);
  const bool is_left = record.status == Report::Status::temporary_failure;
  return (is_left ? "left with the mail server" : place_text(plan)) +
         (reason.empty() ? "" : " (" + reason + ')');
}

}  // namespace Quarrow::Delivery
