// Rights before a folder is made, and the disk behind that.
#include "administration/folder_making.h"

#include <base.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "system/descriptor.h"
#include "system/exists.h"
#include "system/owner_rights.h"

namespace Quarrow::Administration {
namespace {

// The owner of `root`, or else of the first folder on the way from there to `path` that does not
// belong to the superuser, as far as they are there. Whoever owns one of them can have the way lead
// elsewhere.
struct stat owner_on_the_way(const std::string& root, const std::string& path) {
  struct stat owner {};
  if (stat(root.c_str(), &owner) != 0) return {};
  for (std::size_t end = path.find('/', root.size() + 1);
       owner.st_uid == 0 && end != std::string::npos; end = path.find('/', end + 1)) {
    struct stat next {};
    if (lstat(path.substr(0, end).c_str(), &next) != 0) break;
    owner = next;
  }
  return owner;
}

}  // namespace

std::string folder_above(const std::string& path) {
  return std::filesystem::path(path).parent_path().string();
}

GuardedOutcome as_owner_above(const std::string& root, const std::string& path,
                              const std::function<GuardedOutcome()>& work) {
  const struct stat owner = owner_on_the_way(root, path);
  if (geteuid() != 0 || owner.st_uid == 0) return work();
  return run_guarded(path, [&]() -> GuardedOutcome {
    if (take_on_rights(owner.st_uid, owner.st_gid)) return work();
    return {system_refusal(path, "can't become the owner of the folders above", errno), ""};
  });
}

int synchronise(const std::string& folder) {
  const char* const path = folder.empty() ? "." : folder.c_str();  // above a relative path
  const Descriptor opened(open(path, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return opened.get() >= 0 && fsync(opened.get()) == 0 ? 0 : errno;
}

Refusal make_lasting_folder(const std::string& path) {
  std::string last = folder_above(path);  // the folder with the first new name in it
  while (!last.empty() && !exists(last)) last = folder_above(last);
  if (create_path(path, 0700) != 0) return making_refusal(path, errno);
  int error = synchronise(path);
  for (std::string folder = path; error == 0 && folder != last;) {
    folder = folder_above(folder);
    error = synchronise(folder);
  }
  return error == 0 ? Refusal() : system_refusal(path, "made, but perhaps not on the disk", error);
}

int rename_to_new(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  // a file system that can't do so, NFS for example: no folder with anything in it is replaced
  return std::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

}  // namespace Quarrow::Administration
