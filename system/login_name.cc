// The system's users, and the environment that sudo sets.
#include "system/login_name.h"

#include <pwd.h>

#include <cstdlib>

namespace Quarrow {

std::string login_name(uid_t user) {
  const char* const behind_sudo = std::getenv("SUDO_USER");
  if (user == 0 && behind_sudo != nullptr && *behind_sudo != '\0') return behind_sudo;
  const passwd* const entry = getpwuid(user);
  return entry != nullptr ? entry->pw_name : std::to_string(user);
}

}  // namespace Quarrow
