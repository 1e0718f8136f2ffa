// The lock's file, made and removed under the locks of all who change the user's files.
#include "moving/user_locking.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <functional>
#include <system_error>

#include "administration/guarded_process.h"
#include "administration/rules_lock.h"
#include "administration/rules_transaction.h"
#include "administration/user_folder.h"
#include "administration/users.h"
#include "delivery/user_lock.h"
#include "message_filters/user_files.h"
#include "refiling/journal.h"
#include "system/descriptor.h"
#include "system/file_io.h"
#include "system/folder_names.h"
#include "system/regular_file.h"

namespace Quarrow::Moving {
namespace {

using Administration::Refusal;
using Administration::RulesLock;
using Administration::system_refusal;
using Administration::UserFolder;
using Kind = Refusal::Kind;

const std::string draft_name = std::string(user_lock_name) + ".new";

// Does `work` in the user's folder, in a process of its own that has the owner's rights.
Refusal in_folder_of(const EmailAddress& user,
                     const std::function<Refusal(const UserFolder&)>& work) {
  const std::string path = Administration::user_folder(user);
  const auto in_process = [&]() -> Refusal {
    UserFolder folder(path);
    if (const Refusal refusal = folder.open()) return refusal;
    if (!folder.is_open()) return {Kind::no_such_user, user.address(), "no such user"};
    return work(folder);
  };
  return Administration::run_guarded(path,
                                     [&]() -> Administration::GuardedOutcome {
                                       return {in_process(), ""};
                                     })
      .refusal;
}

// The rules' lock, by which other changes are finished before.
Refusal take(const UserFolder& folder, RulesLock& lock) {
  if (const Refusal refusal = lock.take(folder, Administration::lock_patience)) return refusal;
  if (lock.may_change()) return {};
  return {Kind::not_permitted, folder.path(),
          "a user is locked by the owner of the folder, or by root"};
}

// In one step, since mail would be stored while there is no lock.
Refusal write_lock(const UserFolder& folder, const std::string& reason) {
  int error = folder.write_new(draft_name, reason.empty() ? "" : reason + '\n');
  if (error == 0) error = folder.rename(draft_name, user_lock_name);
  if (error == 0) return {};
  folder.remove(draft_name);
  return system_refusal(folder.file(user_lock_name), "can't be written", error);
}

Refusal synchronise(const UserFolder& folder) {
  const int error = folder.synchronise();
  return error == 0 ? Refusal() : system_refusal(folder.path(), "perhaps not on the disk", error);
}

Refusal remove_lock(const UserFolder& folder) {
  if (unlinkat(folder.fd(), user_lock_name, 0) != 0 && errno != ENOENT)
    return system_refusal(folder.file(user_lock_name), "can't be removed", errno);
  return synchronise(folder);
}

// Whoever moves the user's mail looks for the lock once they have the journal. So those who did not
// see it are found here.
Refusal lock_folder(const UserFolder& folder, const std::string& reason) {
  RulesLock rules;
  if (const Refusal refusal = take(folder, rules)) return refusal;
  const bool is_new = !folder.holds(user_lock_name);
  if (is_new || !reason.empty())
    if (const Refusal refusal = write_lock(folder, reason)) return refusal;
  const Refusal refusal = Refiling::check_idle(folder);
  if (!refusal) return synchronise(folder);
  if (is_new) (void)remove_lock(folder);
  return refusal;
}

// What empty_user does not remove.
bool is_left(const std::string& name) { return name == user_lock_name || name == rules_lock_name; }

Refusal empty_folder(const UserFolder& folder) {
  RulesLock rules;
  if (const Refusal refusal = take(folder, rules)) return refusal;
  if (const Refusal refusal = Refiling::check_idle(folder)) return refusal;
  if (fchdir(folder.fd()) != 0)  // nothing is removed by a path that leads elsewhere meanwhile
    return system_refusal(folder.path(), "can't be entered", errno);
  for (const std::string& name : names_in(folder.fd())) {
    if (is_left(name)) continue;
    std::error_code error;
    std::filesystem::remove_all(name, error);
    if (error) return system_refusal(folder.file(name), "can't be removed", error.value());
  }
  return synchronise(folder);
}

}  // namespace

Refusal lock_user(const EmailAddress& user, const std::string& reason) {
  return in_folder_of(
      user, [&reason](const UserFolder& folder) { return lock_folder(folder, reason); });
}

Refusal unlock_user(const EmailAddress& user) { return in_folder_of(user, remove_lock); }

std::optional<std::string> lock_reason(const std::string& folder) {
  if (Delivery::look_for_user_lock(folder) != 0) return std::nullopt;
  const Descriptor file(open_regular(in_folder(folder, user_lock_name), O_RDONLY));
  std::string text;
  if (file.get() >= 0) (void)append_next(file.get(), text);  // longer than any reason
  return text.substr(0, text.find('\n'));
}

Refusal check_emptying(const EmailAddress& user, bool with_mail) {
  if (const Refusal refusal = Administration::check_known(user)) return refusal;
  if (Delivery::look_for_user_lock(Administration::user_folder(user)) != 0)
    return {Kind::not_locked, user.address(), "is not locked, and gets mail meanwhile"};
  return Administration::check_removal(user, with_mail);
}

Refusal empty_user(const EmailAddress& user, bool with_mail) {
  if (const Refusal refusal = check_emptying(user, with_mail)) return refusal;
  return in_folder_of(user, empty_folder);
}

bool is_emptied(int folder) {
  const auto names = names_in(folder);
  return std::all_of(names.begin(), names.end(), is_left) &&
         std::find(names.begin(), names.end(), user_lock_name) != names.end();
}

}  // namespace Quarrow::Moving
