// Files in cur/ and new/, and calls that never replace one.
#include "refiling/mail_folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>

#include "message_filters/mailbox_name.h"

namespace Quarrow::Refiling {
namespace {

constexpr int directory_flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

struct DirectoryClose {
  void operator()(DIR* directory) const { (void)closedir(directory); }
};

int errno_unless(bool success) { return success ? 0 : errno; }

// Where renaming can't be kept from replacing a file, on NFS for example, there are two names for a
// moment: shares() tells them from two messages.
int rename_carefully(int from, const std::string& name, int to, const std::string& new_name) {
  if (renameat2(from, name.c_str(), to, new_name.c_str(), RENAME_NOREPLACE) == 0) return 0;
  if (errno != EINVAL && errno != ENOSYS) return errno;
  if (linkat(from, name.c_str(), to, new_name.c_str(), 0) != 0) return errno;
  return errno_unless(unlinkat(from, name.c_str(), 0) == 0);
}

int synchronise(std::set<int>& folders) {
  for (const int folder : folders)
    if (fsync(folder) != 0) return errno;
  folders.clear();
  return 0;
}

}  // namespace

std::string unique_part(std::string_view name) {
  return std::string(name.substr(0, name.find(':')));
}

std::string readable_folder(const std::string& name) {
  if (name.empty()) return "INBOX";
  std::string mailbox;
  for (std::size_t i = 1; i < name.size(); ++i) {
    const std::string code = name.substr(i, 3);  // see maildir_folder()
    const char escaped = code == "\\2e" ? '.' : code == "\\5c" ? '\\' : code == "\\7e" ? '~' : '\0';
    mailbox += escaped != '\0' ? escaped : name[i] == '.' ? '/' : name[i];
    if (escaped != '\0') i += 2;
  }
  return MessageFilters::readable_mailbox_name(mailbox);
}

int MailFolder::open(const std::string& maildir, const std::string& name, int above) {
  const Descriptor parent(openat(above, maildir.c_str(), directory_flags));
  if (parent.get() < 0) return errno;
  folder_.emplace(openat(parent.get(), name.empty() ? "." : name.c_str(), directory_flags));
  if (fd() < 0) return errno;
  cur_.emplace(openat(fd(), "cur", directory_flags));
  if (cur_->get() < 0) return errno;
  new_.emplace(openat(fd(), "new", directory_flags));
  return errno_unless(new_->get() >= 0);
}

// cur/ comes last: a message that an IMAP server moves there meanwhile is found in one of both.
int MailFolder::read() {
  messages_.clear();
  const int error = read_part(true);
  return error != 0 ? error : read_part(false);
}

int MailFolder::read_part(bool is_new) {
  // a descriptor of its own: its place in the folder is the start
  const int part_fd = openat(fd(), is_new ? "new" : "cur", directory_flags);
  const std::unique_ptr<DIR, DirectoryClose> directory(part_fd < 0 ? nullptr : fdopendir(part_fd));
  if (!directory) {
    const int error = errno;
    if (part_fd >= 0) (void)close(part_fd);
    return error;
  }
  errno = 0;
  while (const dirent* const entry = readdir(directory.get())) {
    const std::string_view name = entry->d_name;
    if (name.front() == '.') continue;
    const std::string unique = unique_part(name);
    messages_[unique] = {is_new, std::string(name.substr(unique.size()))};
    errno = 0;
  }
  return errno;
}

std::optional<Place> MailFolder::find(const std::string& unique) const {
  const auto found = messages_.find(unique);
  if (found == messages_.end()) return std::nullopt;
  return found->second;
}

int MailFolder::link(const std::string& unique, MailFolder& target, const std::string& info) {
  const auto place = find(unique);
  if (!place) return ENOENT;
  const Place there = {place->is_new, info};
  const std::string name = unique + place->info;
  if (linkat(part(*place), name.c_str(), target.part(there), (unique + info).c_str(), 0) != 0)
    return errno;
  target.remember(unique, there);
  return 0;
}

int MailFolder::move(const std::string& unique, MailFolder& target, const std::string& info) {
  const auto place = find(unique);
  if (!place) return ENOENT;
  const Place there = {place->is_new, info};
  const int error =
      rename_carefully(part(*place), unique + place->info, target.part(there), unique + info);
  if (error != 0) return error;
  forget(unique, *place);
  target.remember(unique, there);
  return 0;
}

int MailFolder::remove(const std::string& unique) {
  const auto place = find(unique);
  if (!place) return ENOENT;
  if (unlinkat(part(*place), (unique + place->info).c_str(), 0) != 0) return errno;
  forget(unique, *place);
  return 0;
}

bool MailFolder::shares(const std::string& unique, const MailFolder& other) const {
  const auto here = find(unique);
  const auto there = other.find(unique);
  struct stat a {};
  struct stat b {};
  return here && there &&
         fstatat(part(*here), (unique + here->info).c_str(), &a, AT_SYMLINK_NOFOLLOW) == 0 &&
         fstatat(other.part(*there), (unique + there->info).c_str(), &b, AT_SYMLINK_NOFOLLOW) ==
             0 &&
         a.st_dev == b.st_dev && a.st_ino == b.st_ino;
}

int MailFolder::synchronise_gains() { return synchronise(gained_); }

int MailFolder::synchronise_losses() { return synchronise(lost_); }

void MailFolder::forget(const std::string& unique, const Place& place) {
  lost_.insert(part(place));
  messages_.erase(unique);
}

void MailFolder::remember(const std::string& unique, const Place& place) {
  gained_.insert(part(place));
  messages_[unique] = place;
}

}  // namespace Quarrow::Refiling
