// Changing to another user.
#include "server/privileges.h"

#include <grp.h>
#include <pwd.h>
#include <sys/types.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace Quarrow::Server {

std::string refusal_to_serve_as(const std::string& user) {
  if (user.empty()) {
    const bool is_superuser = getuid() == 0 || geteuid() == 0;
    return is_superuser ? "the superuser serves nobody: name another user to run as" : "";
  }
  errno = 0;
  const passwd* const entry = getpwnam(user.c_str());
  if (entry == nullptr)
    return user + ": " + (errno != 0 ? std::strerror(errno) : "there is no such user");
  return entry->pw_uid == 0 ? user + ": the superuser serves nobody" : "";
}

std::string become(const std::string& user) {
  if (const std::string reason = refusal_to_serve_as(user); !reason.empty() || user.empty())
    return reason;
  const passwd* const entry = getpwnam(user.c_str());
  if (entry == nullptr) return user + ": " + std::strerror(errno);
  const uid_t uid = entry->pw_uid;
  const gid_t gid = entry->pw_gid;
  if (getuid() == uid && geteuid() == uid) return "";
  if (initgroups(user.c_str(), gid) != 0 || setresgid(gid, gid, gid) != 0 ||
      setresuid(uid, uid, uid) != 0)
    return user + ": can't become this user: " + std::strerror(errno);
  // if the kernel lets the process come back, all of the above is worth nothing
  return setuid(0) == 0 ? user + ": the superuser's rights could not be given up" : "";
}

}  // namespace Quarrow::Server
