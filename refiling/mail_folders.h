// The folders that a user's Maildir has.
#ifndef QUARROW_REFILING_MAIL_FOLDERS_H_
#define QUARROW_REFILING_MAIL_FOLDERS_H_

#include <fcntl.h>

#include <optional>
#include <set>
#include <string>
#include <vector>

#include "quarrow/delivery/folder_dots.h"

namespace Quarrow::Refiling {

// The folders of a Maildir as they were when this object was made.
class MailFolders {
 public:
  // Of a Maildir that is not there, or can't be read, nothing is known. A relative path begins at
  // the open folder `above`.
  explicit MailFolders(const std::string& maildir, int above = AT_FDCWD);

  // The names that people read, the inbox first; none of a Maildir of which nothing is known.
  std::vector<std::string> names() const;

  // The folder that people read as `name`, as it is named on the disk: "" is the inbox, which any
  // Maildir has. Nothing when there is no such folder.
  std::optional<std::string> find(const std::string& name) const;

  // Whether the folder that a person names `name` is known not to be there. A name that can't be a
  // folder's is not.
  bool is_missing(const std::string& name, Delivery::FolderDots dots) const;

  // "; did you mean A or B?" for the folders that are near to `name`; empty when none is.
  std::string question(const std::string& name) const;

 private:
  bool is_known_ = false;
  std::set<std::string> names_;  // on the disk
};

}  // namespace Quarrow::Refiling

#endif  // QUARROW_REFILING_MAIL_FOLDERS_H_
