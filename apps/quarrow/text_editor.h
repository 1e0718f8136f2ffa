// The editor of the person who runs the command.
#ifndef QUARROW_APPS_QUARROW_TEXT_EDITOR_H_
#define QUARROW_APPS_QUARROW_TEXT_EDITOR_H_

#include <cstddef>
#include <string>

#include "apps/quarrow/complaint.h"

namespace Quarrow::Command {

// A text in a file of its own, which an editor opens. The file is removed with this object unless
// it is kept.
class EditedFile {
 public:
  EditedFile() = default;
  ~EditedFile();
  EditedFile(const EditedFile&) = delete;
  EditedFile& operator=(const EditedFile&) = delete;

  // Makes the file with this text in $TMPDIR, in /tmp where that is not set, for its owner alone.
  // Called once, before all that follows.
  Fault make(const std::string& text);

  // Has the person edit the file, with the rights of this process, and waits for the end of that.
  // The editor is $VISUAL, $EDITOR, or the first of the programs editor and vi that is there; the
  // shell takes these texts, so that they may have options.
  Fault edit() const;

  // Puts what the file holds now into `text`. Refuses more than `limit` bytes, and a link or what
  // else is no regular file.
  Fault read(std::size_t limit, std::string& text) const;

  void keep() { is_kept_ = true; }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
  bool is_kept_ = true;  // until it is made
};

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_TEXT_EDITOR_H_
