// Headers from the helper, plans in words.
#include "web_api/message_view.h"

#include "delivery/folder_name.h"
#include "delivery/place_text.h"
#include "refiling/mail_folder.h"
#include "system/printable.h"
#include "web_api/opaque_text.h"

namespace Quarrow::WebApi {
namespace {

using Delivery::Plan;
using nlohmann::ordered_json;

// A header may have 64 KiB; of a line in a list, more is of no use.
constexpr std::size_t most_bytes = 1000;

ordered_json header(const char* name, const ListedMessage& listed, const OpenedMessage& opened,
                    Trial::IsolatedRuns& runs) {
  if (opened.message.bytes.empty()) return nullptr;
  const auto value = runs.header_value(opened.message, listed.received, name);
  return value.text ? ordered_json(shortened(*value.text, most_bytes)) : ordered_json();
}

const char* kind_of(const Plan& plan) {
  if (plan.refusal == Plan::Refusal::reject) return "rejected";
  if (plan.refusal == Plan::Refusal::discard) return "discarded";
  return plan.inbox_reason == Delivery::InboxReason::failure ? "failed" : "folders";
}

// A user who never had a rule has no script, and knows nothing of scripts.
std::string reason_of(const Plan& plan) {
  return plan.inbox_reason == Delivery::InboxReason::no_script ? "there are no rules"
                                                               : Delivery::inbox_reason_text(plan);
}

}  // namespace

ordered_json view_of(const ListedMessage& listed, const OpenedMessage& opened,
                     const MailListing& listing, Trial::IsolatedRuns& runs) {
  return {{"id", opaque_text(listed.unique)},
          {"from", header("from", listed, opened, runs)},
          {"subject", header("subject", listed, opened, runs)},
          {"list", header("list-id", listed, opened, runs)},
          {"received", listed.received},
          {"seen", listing.is_seen(listed)},
          {"bytes", opened.message.bytes.size()}};
}

ordered_json place_of(const Plan& plan, Delivery::FolderDots dots) {
  ordered_json folders = ordered_json::array();
  for (const auto& mailbox : plan.mailboxes)
    folders.push_back(
        Refiling::readable_folder(Delivery::maildir_folder(mailbox, dots).value_or("")));
  const std::string reason = reason_of(plan);
  return {{"kind", kind_of(plan)},
          {"folders", folders},
          {"text", place_text(plan) + (reason.empty() ? "" : " (" + reason + ')')}};
}

}  // namespace Quarrow::WebApi
