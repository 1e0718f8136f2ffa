// All that there is to know of one user.
#ifndef QUARROW_DOCTOR_USER_EXAMINATION_H_
#define QUARROW_DOCTOR_USER_EXAMINATION_H_

#include <zvellparser.h>

#include <ctime>

#include "doctor/finding.h"
#include "quarrow/delivery/folder_dots.h"

namespace Quarrow::Doctor {

struct Examination {
  std::time_t now = 0;
  Delivery::FolderDots dots = Delivery::FolderDots::inbox;  // as delivery has it
  bool repair = false;   // mend what can be mended without losing anything
  bool dry_run = false;  // say what would be mended instead
};

// What is wrong with the user `address`, who has a folder. Nothing is changed unless a repair is
// asked for: see repair.h. A process of root becomes the owner of the folder for good. A document
// with a damaged filter ends the process.
Findings examine_user(const EmailAddress& address, const Examination& examination);

// The same without the rules, for a user whose rules ended the process. Nothing is changed.
Findings examine_user_without_rules(const EmailAddress& address, const Examination& examination);

}  // namespace Quarrow::Doctor

#endif  // QUARROW_DOCTOR_USER_EXAMINATION_H_
