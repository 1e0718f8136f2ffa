// A look at the user's lock.
#include "administration/locked_user.h"

#include "message_filters/user_files.h"

namespace Quarrow::Administration {

Refusal locked_refusal(const std::string& path) {
  return {Refusal::Kind::locked, path,
          "nothing was changed, since the user is being moved to another machine; try again later"};
}

Refusal check_unlocked(const UserFolder& folder) {
  return folder.holds(user_lock_name) ? locked_refusal(folder.path()) : Refusal();
}

}  // namespace Quarrow::Administration
