// A user's Maildir, without the messages.
#ifndef QUARROW_DOCTOR_MAILDIR_EXAMINATION_H_
#define QUARROW_DOCTOR_MAILDIR_EXAMINATION_H_

#include <ctime>
#include <set>
#include <string>

#include "administration/user_folder.h"
#include "doctor/finding.h"

namespace Quarrow::Doctor {

// Adds what is wrong with the Maildir in `folder`, which is open, at the time `now`: what is no
// folder, owners and modes, and files in tmp/ that are older than 36 hours: no delivery takes that
// long. Gives the names of its folders (see maildir_folder); none without a Maildir.
std::set<std::string> examine_maildir(const Administration::UserFolder& folder, std::time_t now,
                                      Findings& findings);

}  // namespace Quarrow::Doctor

#endif  // QUARROW_DOCTOR_MAILDIR_EXAMINATION_H_
