// The file that locks a user.
#include "delivery/user_lock.h"

#include <sys/stat.h>

#include <cerrno>

#include "message_filters/user_files.h"

namespace Quarrow::Delivery {

int look_for_user_lock(const std::string& folder) {
  struct stat status {};
  return lstat(in_folder(folder, user_lock_name).c_str(), &status) == 0 ? 0 : errno;
}

}  // namespace Quarrow::Delivery
