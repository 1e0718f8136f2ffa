// Folders of users, made below the root so that they last.
#ifndef QUARROW_ADMINISTRATION_FOLDER_MAKING_H_
#define QUARROW_ADMINISTRATION_FOLDER_MAKING_H_

#include <functional>
#include <string>

#include "administration/guarded_process.h"
#include "administration/refusal.h"

namespace Quarrow::Administration {

// The path of the folder that `path` is in; empty for a relative path of one name.
std::string folder_above(const std::string& path);

// Does `work` on the folder `path` below `root`. The superuser does so as the owner of the folders
// above it, in a process of its own.
GuardedOutcome as_owner_above(const std::string& root, const std::string& path,
                              const std::function<GuardedOutcome()>& work);

// Waits until the names in `folder` are on the disk; an empty path is the working folder. 0, or the
// errno.
int synchronise(const std::string& folder);

// Makes the folder with those above it. Each that is made gets onto the disk, and so does its name
// in the folder above: mail that was delivered there must not be lost with a folder.
Refusal make_lasting_folder(const std::string& path);

// Gives the folder `from` the name `to`, which nothing has. 0, or the errno; EEXIST or ENOTEMPTY
// where there is something.
int rename_to_new(const std::string& from, const std::string& to);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_FOLDER_MAKING_H_
