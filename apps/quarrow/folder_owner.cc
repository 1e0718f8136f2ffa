// From root to the owner of a folder.
#include "apps/quarrow/folder_owner.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sysexits.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "system/descriptor.h"
#include "system/owner_rights.h"

namespace Quarrow::Command {
namespace {

Fault try_again(const std::string& failure) {
  return {failure + ": " + std::strerror(errno), EX_TEMPFAIL};
}

}  // namespace

Fault become_owner_of(std::string& folder) {
  if (geteuid() != 0) return {};
  const Descriptor opened(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  struct stat owner {};
  if (opened.get() < 0 || fstat(opened.get(), &owner) != 0) return try_again("can't be opened");
  if (owner.st_uid == 0) return {};
  if (!take_on_rights(owner.st_uid, owner.st_gid))
    return try_again("its owner's rights can't be taken on");
  if (access(folder.c_str(), X_OK) == 0) return {};
  if (fchdir(opened.get()) != 0) return try_again("can't be entered by its owner");
  folder = ".";
  return {};
}

}  // namespace Quarrow::Command
