// Giving up the superuser's rights for those of one user.
#ifndef QUARROW_SYSTEM_OWNER_RIGHTS_H_
#define QUARROW_SYSTEM_OWNER_RIGHTS_H_

#include <sys/types.h>

namespace Quarrow {

// From here on this process, which is the superuser's, has the rights of `owner` and `group`, and
// of no further group. False, with errno set, when it can't be done.
bool take_on_rights(uid_t owner, gid_t group);

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_OWNER_RIGHTS_H_
