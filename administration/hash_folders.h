// The folders between a domain and a user whose folder is a hashed one.
#ifndef QUARROW_ADMINISTRATION_HASH_FOLDERS_H_
#define QUARROW_ADMINISTRATION_HASH_FOLDERS_H_

#include <string>

#include "administration/refusal.h"

namespace Quarrow::Administration {

// Whether the user's folder `path` below `root` is as ZvMailUserId::hashed_prefpath() names it.
bool is_hashed(const std::string& root, const std::string& path);

// Makes all folders above the user's folder `path` below `root`, and puts them on the disk. Hashed
// ones have the rights of the domain's folder: whoever may look into that finds the user.
Refusal make_folders_above(const std::string& root, const std::string& path);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_HASH_FOLDERS_H_
