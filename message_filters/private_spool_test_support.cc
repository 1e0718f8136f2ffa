// By mount namespaces, see mount_namespaces(7) and user_namespaces(7).
#include "message_filters/private_spool_test_support.h"

#include <sched.h>
#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

#include "message_filters/user_files.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::MessageFilters {

namespace {

// A user other than root may only mount in a user namespace, as its root.
bool leave_namespaces() {
  const uid_t user = geteuid();
  const gid_t group = getegid();
  if (unshare(user == 0 ? CLONE_NEWNS : CLONE_NEWNS | CLONE_NEWUSER) != 0) return false;
  if (user == 0) return true;
  write_file("/proc/self/setgroups", "deny");
  write_file("/proc/self/uid_map", "0 " + std::to_string(user) + " 1");
  write_file("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
  return true;
}

bool mount_private_spool() {
  return leave_namespaces() && mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
         mount("tmpfs", "/var/spool", "tmpfs", 0, "size=1m") == 0;
}

std::string obstacle() {
  try {
    return mount_private_spool() ? ""
                                 : std::string("no private /var/spool: ") + std::strerror(errno);
  } catch (const std::system_error& error) {  // of write_file
    return std::string("no private /var/spool: ") + error.what();
  }
}

}  // namespace

std::string enter_private_spool() {
  static const std::string failure = obstacle();
  return failure;
}

void write_system_catalogue(const std::string& document) {
  std::filesystem::create_directories(std::filesystem::path(system_catalogue).parent_path());
  write_file(system_catalogue, document);
}

void remove_system_catalogue() { std::filesystem::remove(system_catalogue); }

}  // namespace Quarrow::MessageFilters
