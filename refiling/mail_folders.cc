// Names in a Maildir.
#include "refiling/mail_folders.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <utility>

#include "administration/near_names.h"
#include "delivery/folder_name.h"
#include "message_filters/mailbox_name.h"
#include "refiling/mail_folder.h"
#include "system/descriptor.h"
#include "system/folder_names.h"

namespace Quarrow::Refiling {
namespace {

bool is_folder(int parent, const std::string& name) {
  struct stat status {};
  return fstatat(parent, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
         S_ISDIR(status.st_mode);
}

}  // namespace

MailFolders::MailFolders(const std::string& maildir, int above) {
  constexpr int flags = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
  const Descriptor opened(openat(above, maildir.c_str(), flags));
  if (opened.get() < 0) return;
  is_known_ = true;
  for (const auto& name : names_in(opened.get()))
    if (name.front() == '.' && is_folder(opened.get(), name)) names_.insert(name);
}

std::vector<std::string> MailFolders::names() const {
  std::vector<std::string> readable;
  if (is_known_) readable.push_back(readable_folder(""));
  for (const auto& name : names_) readable.push_back(readable_folder(name));
  return readable;
}

std::optional<std::string> MailFolders::find(const std::string& name) const {
  if (name == readable_folder("")) return "";
  const auto found = std::find_if(names_.begin(), names_.end(), [&name](const std::string& each) {
    return readable_folder(each) == name;
  });
  if (found == names_.end()) return std::nullopt;
  return *found;
}

bool MailFolders::is_missing(const std::string& name, Delivery::FolderDots dots) const {
  const auto folder = Delivery::maildir_folder(MessageFilters::imap_mailbox_name(name), dots);
  return is_known_ && folder && !folder->empty() && names_.count(*folder) == 0;
}

std::string MailFolders::question(const std::string& name) const {
  const std::string question = Administration::did_you_mean(name, names());
  return question.empty() ? "" : "; " + question;
}

}  // namespace Quarrow::Refiling
