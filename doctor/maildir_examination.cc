// The folders of a Maildir, and what lies in their tmp/.
#include "doctor/maildir_examination.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>

#include "message_filters/user_files.h"
#include "system/descriptor.h"
#include "system/folder_names.h"

namespace Quarrow::Doctor {
namespace {

using Administration::UserFolder;

// As the Maildir format has it.
constexpr std::time_t longest_delivery = std::time_t{36} * 3600;

// Mail servers keep files of their own beside the folders.
bool is_file(int folder, const std::string& name) {
  struct stat status {};
  return fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
         S_ISREG(status.st_mode);
}

class MaildirExamination {
 public:
  MaildirExamination(const UserFolder& folder, std::time_t now, Findings& findings)
      : owner_(folder.owner()), now_(now), findings_(findings) {}

  // Looks at what has that name in `parent`, a folder of mail; gives the names in it.
  std::vector<std::string> examine(int parent, const std::string& name, const std::string& path) {
    const Descriptor folder(open_folder(parent, name));
    if (folder.get() < 0) {
      if (errno == ENOTDIR || errno == ELOOP) tell_of_stranger(path);
      return {};
    }
    examine_rights(folder.get(), path);
    examine_aside(folder.get(), path);
    for (const char* part : {"cur", "new"}) examine_part(folder.get(), part, path);
    return names_in(folder.get());
  }

  int open_folder(int parent, const std::string& name) const {
    return openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
  }

 private:
  void tell_of_stranger(const std::string& path) {
    findings_.push_back({Severity::error, Code::not_folder, path,
                         "a link or a file in the place of a folder, so that no mail gets there",
                         "remove it, or put a folder in its place"});
  }

  void examine_rights(int folder, const std::string& path) {
    struct stat status {};
    if (fstat(folder, &status) != 0) return;
    if (status.st_uid != owner_)
      findings_.push_back({Severity::error, Code::foreign_owner, path,
                           "belongs to another user than the folder that it is in",
                           "give it to the owner of the folder, with chown -R"});
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0)
      findings_.push_back(
          {Severity::error, Code::open_mode, path, "others may write to it", "use chmod go-w"});
  }

  void examine_part(int folder, const char* part, const std::string& path) {
    const Descriptor opened(open_folder(folder, part));
    if (opened.get() < 0 && (errno == ENOTDIR || errno == ELOOP))
      tell_of_stranger(path + '/' + part);
  }

  void examine_aside(int folder, const std::string& path) {
    examine_part(folder, "tmp", path);
    const Descriptor aside(open_folder(folder, "tmp"));
    if (aside.get() < 0) return;
    const auto names = names_in(aside.get());
    const auto old = std::count_if(names.begin(), names.end(), [&](const std::string& name) {
      struct stat status {};
      return fstatat(aside.get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
             status.st_mtime < now_ - longest_delivery;
    });
    if (old > 0)
      findings_.push_back(
          {Severity::warning, Code::mail_leftover, path + "/tmp",
           "files of deliveries that were stopped more than 36 hours ago: " + std::to_string(old),
           "remove the files there that are older than 36 hours"});
  }

  const uid_t owner_;
  const std::time_t now_;
  Findings& findings_;
};

}  // namespace

std::set<std::string> examine_maildir(const UserFolder& folder, std::time_t now,
                                      Findings& findings) {
  MaildirExamination examination(folder, now, findings);
  const std::string path = folder.file(maildir_name);
  std::set<std::string> folders;
  for (const std::string& name : examination.examine(folder.fd(), maildir_name, path)) {
    const std::string in_folder = std::string(maildir_name) + '/' + name;
    if (name.front() != '.' || is_file(folder.fd(), in_folder)) continue;
    folders.insert(name);
    (void)examination.examine(folder.fd(), in_folder, path + '/' + name);
  }
  return folders;
}

}  // namespace Quarrow::Doctor
