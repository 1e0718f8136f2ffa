// A user is locked while they are moved to another machine: no mail is stored, and nothing of
// theirs changes.
#ifndef QUARROW_MOVING_USER_LOCKING_H_
#define QUARROW_MOVING_USER_LOCKING_H_

#include <zvellparser.h>

#include <optional>
#include <string>

#include "administration/refusal.h"

namespace Quarrow::Moving {

// Locks the known user `user`, for a `reason` that is told to those who ask. A user who is locked
// stays so, with the reason that they had unless there is a new one. Puts the lock on the disk.
//
// Changes of rules and fields that were begun are finished when this returns; while rules are
// applied to the user's mail, it refuses with Kind::try_again. Mail that is answered with success
// is stored when this returns: see Delivery::deliver.
Administration::Refusal lock_user(const EmailAddress& user, const std::string& reason);

// Takes the lock away, for good. A user without one stays so.
Administration::Refusal unlock_user(const EmailAddress& user);

// The reason of the lock in the user's folder `folder`; none without a lock. May be empty.
std::optional<std::string> lock_reason(const std::string& folder);

// Refuses what empty_user refuses before it does anything.
Administration::Refusal check_emptying(const EmailAddress& user, bool with_mail);

// Removes all of a locked user but the lock: what remains has mail to them wait, and not go back to
// its senders, while there is mail on its way to this machine. Refuses as not_locked a user who is
// not locked, and as has_mail a user with mail, unless `with_mail`. What was cut off can be done
// once more.
Administration::Refusal empty_user(const EmailAddress& user, bool with_mail);

// Whether the folder, which is open, holds nothing but what empty_user leaves.
bool is_emptied(int folder);

}  // namespace Quarrow::Moving

#endif  // QUARROW_MOVING_USER_LOCKING_H_
