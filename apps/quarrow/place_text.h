// Where a message would lie, in words.
#ifndef QUARROW_APPS_QUARROW_PLACE_TEXT_H_
#define QUARROW_APPS_QUARROW_PLACE_TEXT_H_

#include <string>
#include <vector>

#include "quarrow/delivery/delivery_plan.h"

namespace Quarrow::Command {

// The folders of `plan` in UTF-8, "Inbox" for the inbox; none for a message that is refused.
std::vector<std::string> place_names(const Delivery::Plan& plan);

// The same for a person: "folder Work, inbox", "rejected" or "discarded".
std::string place_text(const Delivery::Plan& plan);

// Why the inbox is among the places, such as "no rule matched"; empty when it is not.
std::string inbox_reason_text(const Delivery::Plan& plan);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_PLACE_TEXT_H_
