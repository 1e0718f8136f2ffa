// Work in a user's folder as its owner.
#ifndef QUARROW_APPS_QUARROW_FOLDER_OWNER_H_
#define QUARROW_APPS_QUARROW_FOLDER_OWNER_H_

#include <string>

#include "apps/quarrow/complaint.h"

namespace Quarrow::Command {

// The superuser becomes the owner of the user's folder, for good: the user can open what is made
// there, and nothing is done with rights that they lack. Where the folders above keep the owner
// from their own one, it becomes the working folder, and `folder` names it so. The fault is one to
// try again after.
Fault become_owner_of(std::string& folder);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_FOLDER_OWNER_H_
