// The groups first: the owner may not change them.
#include "system/owner_rights.h"

#include <grp.h>
#include <unistd.h>

namespace Quarrow {

bool take_on_rights(uid_t owner, gid_t group) {
  return setgroups(0, nullptr) == 0 && setgid(group) == 0 && setuid(owner) == 0;
}

}  // namespace Quarrow
