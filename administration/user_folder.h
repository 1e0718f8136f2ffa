// The folder of a user, in which the user may put what they like.
#ifndef QUARROW_ADMINISTRATION_USER_FOLDER_H_
#define QUARROW_ADMINISTRATION_USER_FOLDER_H_

#include <sys/types.h>

#include <cstddef>
#include <ctime>
#include <functional>
#include <optional>
#include <string>

#include "administration/refusal.h"
#include "system/descriptor.h"

namespace Quarrow::Administration {

// A user's folder, opened once: what is done with a file of a name goes to this folder, whatever is
// put in the folder's place later. No link is followed, and only regular files are read and
// written.
class UserFolder {
 public:
  explicit UserFolder(std::string path);

  // Opens the folder. A process of root becomes the owner of the folder for good, so that nothing
  // in it is done with rights that the owner lacks.
  Refusal open();

  // The same. Where nothing is at the path, `find` is asked for another one: the folder may have
  // been moved since the path was found.
  Refusal open(const std::function<std::string()>& find);

  // Whether the folder is there: open() does not refuse a missing folder.
  bool is_open() const { return folder_ && folder_->get() >= 0; }

  const std::string& path() const { return path_; }
  int fd() const { return folder_->get(); }
  uid_t owner() const { return owner_; }

  // The path of a file in the folder, for what is told of it.
  std::string file(const std::string& name) const { return path_ + '/' + name; }

  // Whether anything has that name, be it a link that leads nowhere.
  bool holds(const std::string& name) const;

  // Whether it is a folder.
  bool holds_folder(const std::string& name) const;

  // When that file was last changed, in seconds since the epoch; 0 when it is not there.
  std::time_t changed(const std::string& name) const;

  // Reads at most `limit` bytes of a file. 0, or the errno: that of open_regular_at() or read(2).
  int read(const std::string& name, std::size_t limit, std::string& text) const;

  // Writes a file that only its owner reads, in place of whatever has its name; on the disk, as a
  // whole and read back when it returns 0. Otherwise it returns the errno, and there may be a part
  // of the file.
  int write_new(const std::string& name, const std::string& text) const;

  // Gives the file `from` the name `to`, in place of the file of that name. 0, or the errno.
  int rename(const std::string& from, const std::string& to) const;

  // Removes what has that name, if anything has. Says nothing of a failure.
  void remove(const std::string& name) const;

  // Waits until what was named and removed is so on the disk. 0, or the errno.
  int synchronise() const;

 private:
  Refusal become_owner() const;

  std::string path_;
  std::optional<Descriptor> folder_;
  uid_t owner_ = 0;
  gid_t group_ = 0;
};

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_USER_FOLDER_H_
