// Work with files by their names in one open folder.
#include "administration/user_folder.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "system/file_io.h"
#include "system/owner_rights.h"
#include "system/regular_file.h"

namespace Quarrow::Administration {
namespace {

using Kind = Refusal::Kind;

constexpr mode_t for_owner = 0600;

// Reads on until `text` has `limit` bytes, or the file ends. 0, or the errno.
int read_up_to(int fd, std::size_t limit, std::string& text) {
  ssize_t count = 1;
  while (count > 0 && text.size() < limit) count = append_next(fd, text);
  if (count < 0) return errno;
  if (text.size() > limit) text.resize(limit);
  return 0;
}

// What was written may differ from what is there when a disk or a network drops bytes.
int check_written(int fd, const std::string& text) {
  std::string found;
  if (const int error = read_up_to(fd, text.size() + 1, found)) return error;
  return found == text ? 0 : EIO;
}

}  // namespace

UserFolder::UserFolder(std::string path) : path_(std::move(path)) {}

Refusal UserFolder::open() {
  folder_.emplace(::open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (fd() < 0) return errno == ENOENT ? Refusal() : system_refusal(path_, "", errno);
  struct stat status {};
  if (fstat(fd(), &status) != 0) return system_refusal(path_, "", errno);
  owner_ = status.st_uid;
  group_ = status.st_gid;
  return become_owner();
}

Refusal UserFolder::open(const std::function<std::string()>& find) {
  const Refusal refusal = open();
  if (refusal || is_open()) return refusal;
  std::string found = find();
  if (found == path_) return {};
  path_ = std::move(found);
  return open();
}

Refusal UserFolder::become_owner() const {
  if (geteuid() != 0 || owner_ == 0) return {};
  if (take_on_rights(owner_, group_)) return {};
  return {Kind::not_permitted, path_,
          std::string("its owner's rights can't be taken on: ") + std::strerror(errno)};
}

bool UserFolder::holds(const std::string& name) const {
  struct stat status {};
  return fstatat(fd(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

bool UserFolder::holds_folder(const std::string& name) const {
  struct stat status {};
  return fstatat(fd(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
}

std::time_t UserFolder::changed(const std::string& name) const {
  struct stat status {};
  return fstatat(fd(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 ? status.st_mtime : 0;
}

int UserFolder::read(const std::string& name, std::size_t limit, std::string& text) const {
  const Descriptor file(open_regular_at(fd(), name, O_RDONLY));
  return file.get() < 0 ? errno : read_up_to(file.get(), limit, text);
}

int UserFolder::write_new(const std::string& name, const std::string& text) const {
  remove(name);
  const Descriptor file(open_regular_at(fd(), name, O_RDWR | O_CREAT | O_EXCL, for_owner));
  if (file.get() < 0) return errno;
  if (!write_all(file.get(), text) || fsync(file.get()) != 0) return errno;
  return check_written(file.get(), text);
}

int UserFolder::rename(const std::string& from, const std::string& to) const {
  return renameat(fd(), from.c_str(), fd(), to.c_str()) == 0 ? 0 : errno;
}

void UserFolder::remove(const std::string& name) const { (void)unlinkat(fd(), name.c_str(), 0); }

int UserFolder::synchronise() const { return fsync(fd()) == 0 ? 0 : errno; }

}  // namespace Quarrow::Administration
