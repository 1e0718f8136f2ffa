// The files in a user's folder, by what they are and whose, not by what is in them.
#ifndef QUARROW_DOCTOR_FILE_EXAMINATION_H_
#define QUARROW_DOCTOR_FILE_EXAMINATION_H_

#include "administration/user_folder.h"
#include "doctor/finding.h"

namespace Quarrow::Doctor {

// Behind the name of a file, with a number where it is taken: a copy that a repair kept.
constexpr char copy_ending[] = ".before-repair";

// Adds what is wrong with the folder, which is open, and with the files of rules in it: their
// kinds, owners and modes, and what writers left that were killed.
void examine_files(const Administration::UserFolder& folder, Findings& findings);

}  // namespace Quarrow::Doctor

#endif  // QUARROW_DOCTOR_FILE_EXAMINATION_H_
