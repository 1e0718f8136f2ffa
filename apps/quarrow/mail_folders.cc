// Names in a Maildir.
#include "apps/quarrow/mail_folders.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <utility>

#include "administration/near_names.h"
#include "delivery/folder_name.h"
#include "doctor/folder_names.h"
#include "message_filters/mailbox_name.h"
#include "refiling/mail_folder.h"
#include "system/descriptor.h"

namespace Quarrow::Command {
namespace {

bool is_folder(int parent, const std::string& name) {
  struct stat status {};
  return fstatat(parent, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
         S_ISDIR(status.st_mode);
}

}  // namespace

std::vector<std::string> folders_in(int maildir) {
  std::vector<std::string> folders;
  for (const auto& name : Doctor::names_in(maildir))
    if (name.front() == '.' && is_folder(maildir, name)) folders.push_back(name);
  return folders;
}

MailFolders::MailFolders(const std::string& maildir) {
  const Descriptor opened(open(maildir.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  if (opened.get() < 0) return;
  is_known_ = true;
  for (auto& name : folders_in(opened.get())) names_.insert(std::move(name));
}

bool MailFolders::is_missing(const std::string& name, Delivery::FolderDots dots) const {
  const auto folder = Delivery::maildir_folder(MessageFilters::imap_mailbox_name(name), dots);
  return is_known_ && folder && !folder->empty() && names_.count(*folder) == 0;
}

std::string MailFolders::question(const std::string& name) const {
  std::vector<std::string> readable = {Refiling::readable_folder("")};
  for (const auto& folder : names_) readable.push_back(Refiling::readable_folder(folder));
  const std::string question = Administration::did_you_mean(name, readable);
  return question.empty() ? "" : "; " + question;
}

}  // namespace Quarrow::Command
