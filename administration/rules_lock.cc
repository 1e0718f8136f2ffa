// flock(2), with a deadline.
#include "administration/rules_lock.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "message_filters/user_files.h"
#include "system/regular_file.h"

namespace Quarrow::Administration {
namespace {

using Clock = std::chrono::steady_clock;
using Kind = Refusal::Kind;

constexpr mode_t for_owner = 0600;
constexpr int pause_ms = 5;  // between two attempts

Refusal lock_until(int fd, Clock::time_point end, const std::string& path) {
  while (flock(fd, LOCK_EX | LOCK_NB) != 0) {
    if (errno == EINTR) continue;
    if (errno != EWOULDBLOCK)
      return {Kind::try_again, path, std::string("can't be locked: ") + std::strerror(errno)};
    if (Clock::now() >= end)
      return {Kind::try_again, path, "is being changed by another process; try again later"};
    (void)poll(nullptr, 0, pause_ms);  // a signal only makes the next attempt earlier
  }
  return {};
}

bool lacks_rights(int error) { return error == EACCES || error == EPERM || error == EROFS; }

// Only the folder's owner makes the file: another user's would keep the owner out.
int flags_for(const UserFolder& folder) {
  return geteuid() == folder.owner() ? O_RDWR | O_CREAT : O_RDWR;
}

bool belongs_to(uid_t owner, int fd) {
  struct stat status {};
  return fstat(fd, &status) == 0 && status.st_uid == owner;
}

}  // namespace

Refusal RulesLock::open_file(const UserFolder& folder) {
  file_.emplace(open_regular_at(folder.fd(), rules_lock_name, flags_for(folder), for_owner));
  const int error = errno;
  const std::string path = folder.file(rules_lock_name);
  if (may_change() && !belongs_to(folder.owner(), file_->get()))
    return {Kind::not_permitted, path, "belongs to another user than the folder; remove it"};
  if (may_change() || lacks_rights(error) || error == ENOENT) return {};
  if (error == ELOOP || error == EINVAL || error == EISDIR || error == ENXIO)
    return {Kind::not_written, path, "is not a regular file; remove it"};
  return system_refusal(path, "can't be locked", error);
}

Refusal RulesLock::take(const UserFolder& folder, std::chrono::milliseconds patience) {
  const Clock::time_point end = Clock::now() + patience;
  if (const Refusal refusal = open_file(folder)) return refusal;
  if (may_change())
    if (const Refusal refusal = lock_until(file_->get(), end, folder.path())) return refusal;
  return lock_until(folder.fd(), end, folder.path());
}

Refusal RulesLock::take_to_read(const UserFolder& folder, std::chrono::milliseconds patience) {
  return lock_until(folder.fd(), Clock::now() + patience, folder.path());
}

}  // namespace Quarrow::Administration
