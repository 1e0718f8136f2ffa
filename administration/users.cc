// Users' folders, made, found and removed.
#include "administration/users.h"

#include <base.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zvelluser.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "administration/folder_making.h"
#include "administration/hash_folders.h"
#include "message_filters/user_files.h"
#include "system/exists.h"

namespace Quarrow::Administration {
namespace {

using Kind = Refusal::Kind;
namespace fs = std::filesystem;

// A user's folder on its way out. No address has a folder whose name begins with a dot.
const char removal_name[] = "/.removed-XXXXXX";

// Takes the folder aside first: from then on the user is unknown, however long the removal takes.
Refusal remove_folder(const std::string& folder) {
  std::string aside = folder_above(folder) + removal_name;
  if (mkdtemp(aside.data()) == nullptr) return making_refusal(aside, errno);
  const std::string moved = aside + "/folder";
  if (std::rename(folder.c_str(), moved.c_str()) != 0) {
    const int error = errno;
    (void)rmdir(aside.c_str());
    return system_refusal(folder, "can't be removed", error);
  }
  std::error_code error;
  fs::remove_all(aside, error);
  return error ? system_refusal(aside, "can't be removed as a whole", error.value()) : Refusal();
}

// The folder of a new user, in the form that the configuration has for it.
std::string new_folder(const EmailAddress& address) {
  const ZvMailUserId user(MAILBOX_USER, address.address());
  const bool is_hashed = cmdb.system != nullptr && cmdb.system->hashed_folders != 0;
  return is_hashed ? user.hashed_prefpath() : user.plain_prefpath();
}

// A flat folder is made at once with those above it.
Refusal make_folder(const std::string& root, const std::string& path) {
  if (is_hashed(root, path))
    if (const Refusal refusal = make_folders_above(root, path)) return refusal;
  return make_lasting_folder(path);
}

// A part of users' addresses, as folders spell it.
struct Part {
  std::string name;
  std::string path;
};

// The folder of a domain with the users who have hashed folders.
const char hashed_name[] = "%";

// Adds the parts whose folders lie in `folder`. A name that ends in "%" is the start of a longer
// one (see ZvMailUserId::prefpath).
Refusal find_parts(const std::string& folder, const std::string& start, std::vector<Part>& parts) {
  std::error_code error;
  fs::directory_iterator entry(folder, error);
  for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
    const std::string name = entry->path().filename().string();
    const std::string path = folder + '/' + name;
    std::error_code ignored;  // a file that can't be looked at is no user's folder
    if (name.front() == '.' || name == hashed_name || !entry->is_directory(ignored)) continue;
    if (name.back() != '%')
      parts.push_back({start + name, path});
    else if (!entry->is_symlink(ignored))
      if (const Refusal refusal = find_parts(path, start + name.substr(0, name.size() - 1), parts))
        return refusal;
  }
  return error ? system_refusal(folder, "", error.value()) : Refusal();
}

// `name` with each %XX as the byte that it stands for.
std::string unescaped(const std::string& name) {
  std::string text;
  for (std::size_t i = 0; i < name.size(); ++i) {
    unsigned code = 0;
    const char* const digits = name.data() + i + 1;
    const bool is_escape = name[i] == '%' && i + 2 < name.size() &&
                           std::from_chars(digits, digits + 2, code, 16).ptr == digits + 2;
    text += is_escape ? static_cast<char>(code) : name[i];
    if (is_escape) i += 2;
  }
  return text;
}

// Adds the users of `domain` who begin with `start` and whose folders lie in `folder`; folders that
// no address leads to are nobody's.
Refusal find_users_in(const std::string& folder, const Part& domain, const std::string& start,
                      std::vector<std::string>& users) {
  std::vector<Part> local_parts;
  if (const Refusal refusal = find_parts(folder, "", local_parts)) return refusal;
  for (const Part& local : local_parts) {
    const std::string text = unescaped(local.name) + '@' + unescaped(domain.name);
    if (text.rfind(start, 0) != 0) continue;
    const EmailAddress address(text);
    if (!address.isNull() && user_folder(address) == local.path) users.push_back(address.address());
  }
  return {};
}

// Adds the users of a domain who begin with `start`.
Refusal find_users(const Part& domain, const std::string& start, std::vector<std::string>& users) {
  if (const Refusal refusal = find_users_in(domain.path, domain, start, users)) return refusal;
  const std::string hashed = in_folder(domain.path, hashed_name);
  if (!exists(hashed)) return {};
  std::vector<Part> firsts;
  if (const Refusal refusal = find_parts(hashed, "", firsts)) return refusal;
  for (const Part& first : firsts) {
    std::vector<Part> seconds;
    if (const Refusal refusal = find_parts(first.path, "", seconds)) return refusal;
    for (const Part& second : seconds)
      if (const Refusal refusal = find_users_in(second.path, domain, start, users)) return refusal;
  }
  return {};
}

}  // namespace

std::string user_folder(const EmailAddress& address) {
  return ZvMailUserId(MAILBOX_USER, address.address()).prefpath();
}

Refusal check_known(const EmailAddress& address) {
  std::string folder;
  struct stat status {};
  const int error = ZvMailUserId(MAILBOX_USER, address.address()).find_prefpath(folder, status);
  if (error == 0) return S_ISDIR(status.st_mode) ? Refusal() : system_refusal(folder, "", ENOTDIR);
  if (error == ENOENT) return {Kind::no_such_user, address.address(), "no such user"};
  return system_refusal(folder, "", error);
}

Refusal plan_user(const EmailAddress& address, UserSetup& setup) {
  const Refusal unknown = check_known(address);
  if (unknown && unknown.kind != Kind::no_such_user) return unknown;
  setup = {unknown ? new_folder(address) : user_folder(address), static_cast<bool>(unknown)};
  return {};
}

Refusal add_user(const std::string& root, const EmailAddress& address, UserSetup& setup) {
  const Refusal refusal = plan_user(address, setup);
  if (refusal || !setup.made) return refusal;
  return as_owner_above(root, setup.folder,
                        [&]() -> GuardedOutcome {
                          return {make_folder(root, setup.folder), ""};
                        })
      .refusal;
}

Refusal check_removal(const EmailAddress& address, bool with_mail) {
  if (const Refusal refusal = check_known(address)) return refusal;
  const std::string mail = in_folder(user_folder(address), maildir_name);
  if (with_mail || !exists(mail)) return {};
  return {Kind::has_mail, address.address(), "has mail in " + mail};
}

Refusal remove_user(const std::string& root, const EmailAddress& address, bool with_mail) {
  if (const Refusal refusal = check_removal(address, with_mail)) return refusal;
  const std::string folder = user_folder(address);
  return as_owner_above(root, folder,
                        [&folder]() -> GuardedOutcome {
                          return {remove_folder(folder), ""};
                        })
      .refusal;
}

Refusal list_users(const std::string& root, std::vector<std::string>& users,
                   const std::string& start) {
  std::vector<Part> domains;
  if (const Refusal refusal = find_parts(root, "", domains)) return refusal;
  std::vector<std::string> found;
  for (const Part& domain : domains)
    if (const Refusal refusal = find_users(domain, start, found)) return refusal;
  std::sort(found.begin(), found.end());
  // one who changed the form of their folder meanwhile may have been seen in both
  found.erase(std::unique(found.begin(), found.end()), found.end());
  users = std::move(found);
  return {};
}

}  // namespace Quarrow::Administration
