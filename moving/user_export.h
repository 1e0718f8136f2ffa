// A user as an archive, to be taken to another machine.
#ifndef QUARROW_MOVING_USER_EXPORT_H_
#define QUARROW_MOVING_USER_EXPORT_H_

#include <zvellparser.h>

#include <string>
#include <vector>

#include "administration/refusal.h"
#include "moving/user_archive.h"

namespace Quarrow::Moving {

struct UserExport {
  Administration::Refusal refusal;
  Counts counts;
  std::vector<std::string> left_out;  // paths of what is neither a plain file nor a folder
};

// Writes all of the known user `user` to the file or pipe `target`, as user_archive.h has it:
// rules, fields, journals, mail, and what a mail server keeps there, each file with the time of its
// last change. Locks and the messages that are being written are left out.
//
// Refuses as not_locked a user who is not locked, as damaged_document a user whose rules can't be
// loaded, and as try_again where an IMAP server renames messages meanwhile. After a refusal what
// was written is of no use.
UserExport export_user(const EmailAddress& user, int target);

}  // namespace Quarrow::Moving

#endif  // QUARROW_MOVING_USER_EXPORT_H_
