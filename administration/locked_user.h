// Refusals for a user who is being moved: what is changed on this machine would be lost.
#ifndef QUARROW_ADMINISTRATION_LOCKED_USER_H_
#define QUARROW_ADMINISTRATION_LOCKED_USER_H_

#include <string>

#include "administration/refusal.h"
#include "administration/user_folder.h"

namespace Quarrow::Administration {

// The refusal, of the kind locked, of a change in the folder at `path`.
Refusal locked_refusal(const std::string& path);

// Refuses so when the user with the open folder `folder` is locked. Whoever has the rules' lock
// finishes before the user is locked: see Moving::lock_user.
Refusal check_unlocked(const UserFolder& folder);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_LOCKED_USER_H_
