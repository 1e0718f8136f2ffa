// A user who is being moved to another machine: their mail waits where it comes from.
#ifndef QUARROW_DELIVERY_USER_LOCK_H_
#define QUARROW_DELIVERY_USER_LOCK_H_

#include <string>

namespace Quarrow::Delivery {

// What a log says of mail for such a user.
constexpr char locked_note[] = "the user is being moved to another machine";

// Looks for the lock in the user's folder `folder`, with one call of the system. 0 when the user is
// locked, ENOENT when they are not, and another errno when that can't be told.
int look_for_user_lock(const std::string& folder);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_USER_LOCK_H_
