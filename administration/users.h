// The users of a system: those who have a folder below its root, which mailuser_set_root was given.
#ifndef QUARROW_ADMINISTRATION_USERS_H_
#define QUARROW_ADMINISTRATION_USERS_H_

#include <zvellparser.h>

#include <string>
#include <vector>

#include "administration/refusal.h"

namespace Quarrow::Administration {

// The folder of the user `address`, which is not null.
std::string user_folder(const EmailAddress& address);

// Refuses a user without a folder, as no_such_user, and a folder that can't be looked at.
Refusal check_known(const EmailAddress& address);

// A user that is there.
struct UserSetup {
  std::string folder;
  bool made = false;  // false: it was there before, and is kept
};

// Says in `setup` what add_user would do, and does nothing. A new user's folder has the form that
// the configuration asks for, where one was opened.
Refusal plan_user(const EmailAddress& address, UserSetup& setup);

// Makes the user's folder, with those above it, and puts them on the disk. The superuser does so as
// the owner of the folders below `root` that are there, so that the new ones have the same owner.
// `setup` then says what was done.
Refusal add_user(const std::string& root, const EmailAddress& address, UserSetup& setup);

// Refuses what remove_user refuses before it does anything.
Refusal check_removal(const EmailAddress& address, bool with_mail);

// Removes the user's folder with all that is in it. Refuses a user without one; as has_mail a user
// with mail, unless `with_mail`. The superuser does so as the owner of the folders above it. A
// removal that is cut off leaves a folder ".removed-..." beside it, which nothing reads.
Refusal remove_user(const std::string& root, const EmailAddress& address, bool with_mail);

// Puts the addresses of all users below `root` into `users`, sorted; of those alone that begin with
// `start`, which takes less time.
Refusal list_users(const std::string& root, std::vector<std::string>& users,
                   const std::string& start = "");

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_USERS_H_
