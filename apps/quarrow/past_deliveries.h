// What was decided about messages when they were delivered: in a user's journal, and in the log of
// quarrow-lmtpd.
#ifndef QUARROW_APPS_QUARROW_PAST_DELIVERIES_H_
#define QUARROW_APPS_QUARROW_PAST_DELIVERIES_H_

#include <zvellparser.h>

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "administration/refusal.h"
#include "apps/quarrow/complaint.h"
#include "delivery/journal_record.h"

namespace Quarrow::Command {

// A user's journal, and the revision of the rules that are in place now.
struct UserJournal {
  std::vector<Delivery::JournalRecord> records;  // the oldest first
  std::string fault;                             // why it can't be read; else empty
  std::string revision;                          // as document_revision() gives it
};

// Reads the journal of the known user `user`, with the rights of the owner of the user's folder.
Administration::Refusal read_user_journal(const EmailAddress& user, UserJournal& journal);

struct PastDelivery {
  Delivery::JournalRecord record;
  std::optional<bool> has_other_rules;  // whether the rules have changed since; none: not known
  std::string logged;  // of a delivery in a log: what its line begins with; else empty
};

// The deliveries of the message `message_id`, as recorded_message_id() gives it, in `journal`. A
// message without an identifier has none.
std::vector<PastDelivery> deliveries_in(const UserJournal& journal, const std::string& message_id);

// Adds those in the log of quarrow-lmtpd at `path`, to the user with the address `user`.
Fault add_logged_deliveries(const std::string& path, const std::string& user,
                            const std::string& message_id, std::vector<PastDelivery>& deliveries);

// Four lines for each delivery: when it was, the rule that decided, the place, the rules' revision.
std::string past_deliveries_text(const std::vector<PastDelivery>& deliveries);

// A JSON list with an object for each delivery.
nlohmann::ordered_json past_deliveries_json(const std::vector<PastDelivery>& deliveries);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_PAST_DELIVERIES_H_
