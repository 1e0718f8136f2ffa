// A user's folder renamed, between places on one disk.
#include "administration/folder_form.h"

#include <sys/stat.h>
#include <zvelluser.h>

#include <filesystem>
#include <system_error>

#include "administration/folder_making.h"
#include "administration/hash_folders.h"
#include "administration/locked_user.h"
#include "administration/users.h"
#include "message_filters/user_files.h"
#include "system/exists.h"

namespace Quarrow::Administration {
namespace {

using Kind = Refusal::Kind;

bool is_anything(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0;
}

// The other one might be the one that is in use behind the change.
Refusal check_single(const EmailAddress& address, const std::string& folder) {
  const std::string other = second_folder(address);
  if (other.empty()) return {};
  return {Kind::not_made, address.address(),
          "has two folders, " + folder + " and " + other +
              ", of which the first is in use; look into both, and move one aside"};
}

Refusal check_link(const std::string& folder) {
  std::error_code no_link;
  const std::filesystem::path target = std::filesystem::read_symlink(folder, no_link);
  if (no_link || target.is_absolute()) return {};
  return {Kind::not_made, folder,
          "is a link to " + target.string() +
              ", which would lead elsewhere; have it name the whole path first"};
}

Refusal move_folder(const std::string& root, const FormChange& change) {
  if (const Refusal refusal = make_folders_above(root, change.to)) return refusal;
  if (const int error = rename_to_new(change.from, change.to))
    return system_refusal(change.from, "can't be moved to " + change.to, error);
  // the new name first: one of the two names is on the disk whenever the power fails
  int error = synchronise(folder_above(change.to));
  if (error == 0) error = synchronise(folder_above(change.from));
  return error == 0 ? Refusal()
                    : system_refusal(change.to, "moved, but perhaps not on the disk", error);
}

}  // namespace

std::string second_folder(const EmailAddress& address) {
  const ZvMailUserId user(MAILBOX_USER, address.address());
  const std::string folder = user.prefpath();
  for (const std::string& other : {user.plain_prefpath(), user.hashed_prefpath()})
    if (other != folder && is_anything(other)) return other;
  return "";
}

Refusal plan_form_change(const std::string& root, const EmailAddress& address, FolderForm form,
                         FormChange& change) {
  if (const Refusal refusal = check_known(address)) return refusal;
  const ZvMailUserId user(MAILBOX_USER, address.address());
  change.from = user.prefpath();
  if (form == FolderForm::hashed)
    change.to = user.hashed_prefpath();
  else
    change.to = is_hashed(root, change.from) ? user.plain_prefpath() : change.from;
  if (const Refusal refusal = check_single(address, change.from)) return refusal;
  if (exists(in_folder(change.from, user_lock_name))) return locked_refusal(change.from);
  return change.is_needed() ? check_link(change.from) : Refusal();
}

Refusal change_form(const std::string& root, const EmailAddress& address, FolderForm form,
                    FormChange& change) {
  const Refusal refusal = plan_form_change(root, address, form, change);
  if (refusal || !change.is_needed()) return refusal;
  const std::string& longer = form == FolderForm::hashed ? change.to : change.from;
  return as_owner_above(root, longer,
                        [&]() -> GuardedOutcome {
                          return {move_folder(root, change), ""};
                        })
      .refusal;
}

}  // namespace Quarrow::Administration
