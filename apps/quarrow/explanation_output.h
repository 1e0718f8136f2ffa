// The forms in which an explanation is printed.
#ifndef QUARROW_APPS_QUARROW_EXPLANATION_OUTPUT_H_
#define QUARROW_APPS_QUARROW_EXPLANATION_OUTPUT_H_

#include <string>
#include <vector>

#include "apps/quarrow/past_deliveries.h"
#include "quarrow/delivery/folder_dots.h"
#include "trial/explanation.h"

namespace Quarrow::Command {

// For a person: what was decided when the message was delivered, then each rule with its tests and
// what they compared, control characters escaped and long values shortened; then which rule
// decides, and where the message called `name` lies.
std::string explanation_text(const std::string& name, const std::vector<PastDelivery>& past,
                             const Trial::Explanation& explanation, Delivery::FolderDots dots);

// The same as a JSON object, with whole values. Bytes that are no UTF-8 become U+FFFD.
std::string explanation_json(const std::string& name, const std::vector<PastDelivery>& past,
                             const Trial::Explanation& explanation, Delivery::FolderDots dots);

// The part of it that there is for a message that is gone.
std::string deliveries_json(const std::vector<PastDelivery>& past);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_EXPLANATION_OUTPUT_H_
