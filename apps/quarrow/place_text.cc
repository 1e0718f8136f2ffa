// Plans in words.
#include "apps/quarrow/place_text.h"

#include "message_filters/mailbox_name.h"

namespace Quarrow::Command {

using Delivery::InboxReason;
using Delivery::Plan;

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

}  // namespace Quarrow::Command
