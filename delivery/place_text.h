// Where a message lies, or would lie, in words.
#ifndef QUARROW_DELIVERY_PLACE_TEXT_H_
#define QUARROW_DELIVERY_PLACE_TEXT_H_

#include <string>
#include <vector>

#include "delivery/journal_record.h"
#include "quarrow/delivery/delivery_plan.h"

namespace Quarrow::Delivery {

// The folders of `plan` in UTF-8, "Inbox" for the inbox; none for a message that is refused.
std::vector<std::string> place_names(const Plan& plan);

// The same for a person: "folder Work, inbox", "rejected" or "discarded".
std::string place_text(const Plan& plan);

// Why the inbox is among the places, such as "no rule matched"; empty when it is not.
std::string inbox_reason_text(const Plan& plan);

// The place of a delivery that is in a journal, with that reason: "inbox (no rule matched)", or
// "left with the mail server".
std::string past_place_text(const JournalRecord& record);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_PLACE_TEXT_H_
