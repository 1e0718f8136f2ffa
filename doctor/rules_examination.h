// A user's rules: the document, the script, and what the rules say.
#ifndef QUARROW_DOCTOR_RULES_EXAMINATION_H_
#define QUARROW_DOCTOR_RULES_EXAMINATION_H_

#include <set>
#include <string>

#include "administration/user_folder.h"
#include "doctor/finding.h"
#include "quarrow/delivery/folder_dots.h"

namespace Quarrow::Doctor {

// Adds what is wrong with the rules in `folder`, which is open. `maildir_folders` are those that
// the user has (see maildir_folder), and `dots` is what delivery does with folders with a dot in
// the name. A document with a damaged filter ends the process, as it does where rules are loaded.
void examine_rules(const Administration::UserFolder& folder,
                   const std::set<std::string>& maildir_folders, Delivery::FolderDots dots,
                   Findings& findings);

}  // namespace Quarrow::Doctor

#endif  // QUARROW_DOCTOR_RULES_EXAMINATION_H_
