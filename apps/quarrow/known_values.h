// The values that options and arguments of the command can have, for the completion of what is
// being typed.
#ifndef QUARROW_APPS_QUARROW_KNOWN_VALUES_H_
#define QUARROW_APPS_QUARROW_KNOWN_VALUES_H_

#include "completion/offer.h"

namespace Quarrow::Command {

// The values at the cursor, for users and files below the root that its line names. Nothing where
// there are none, or where they can't be found out.
Completion::Offer known_values(const Completion::Cursor& cursor);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_KNOWN_VALUES_H_
