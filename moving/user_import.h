// A user out of an archive, on the machine where they go.
#ifndef QUARROW_MOVING_USER_IMPORT_H_
#define QUARROW_MOVING_USER_IMPORT_H_

#include <zvellparser.h>

#include <string>

#include "administration/refusal.h"
#include "moving/user_archive.h"

namespace Quarrow::Moving {

struct UserImport {
  Administration::Refusal refusal;
  Counts counts;
  Administration::Refusal remark;  // what is odd about the user's rules, who is there nevertheless
};

// Makes the user `user` below `root` out of the archive that export_user wrote, which is read from
// the file or pipe `source`. The superuser does so as the owner of the folders above the user's,
// who owns the new folder. The user is not locked.
//
// All is unpacked beside the user's folder, checked, and on the disk before it becomes that folder
// in one step: at each moment there is no user, or the whole user. What an import leaves that was
// cut off, the next one of that user removes.
//
// Refuses as user_exists a user who is there, unless their folder is an emptied one (see
// user_locking.h), which is replaced; and as wrong_archive an archive of somebody else, one that is
// damaged or cut off, or that holds what a user's folder has not, such as links or names that lead
// elsewhere.
UserImport import_user(const std::string& root, const EmailAddress& user, int source);

}  // namespace Quarrow::Moving

#endif  // QUARROW_MOVING_USER_IMPORT_H_
