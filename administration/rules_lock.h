// Whose turn it is to change the rules of a user.
#ifndef QUARROW_ADMINISTRATION_RULES_LOCK_H_
#define QUARROW_ADMINISTRATION_RULES_LOCK_H_

#include <chrono>
#include <optional>

#include "administration/user_folder.h"

namespace Quarrow::Administration {

// A lock that one process at a time has for the rules in a folder, until this object is gone or the
// process ends.
//
// It is on a file that is never removed, since network file systems do not lock folders. The folder
// is locked as well, until the UserFolder is gone: earlier versions lock only that.
class RulesLock {
 public:
  // Takes the lock, and waits for it up to `patience`. Where the caller may not write to the lock's
  // file, the folder alone is locked, which is enough to read: see may_change().
  Refusal take(const UserFolder& folder, std::chrono::milliseconds patience);

  // Locks the folder alone, which is enough to read, and leaves no file.
  static Refusal take_to_read(const UserFolder& folder, std::chrono::milliseconds patience);

  // Whether the lock is one under which the rules may be changed.
  bool may_change() const { return file_ && file_->get() >= 0; }

 private:
  Refusal open_file(const UserFolder& folder);

  std::optional<Descriptor> file_;
};

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_RULES_LOCK_H_
