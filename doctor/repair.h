// Mending what can be mended without losing anything.
#ifndef QUARROW_DOCTOR_REPAIR_H_
#define QUARROW_DOCTOR_REPAIR_H_

#include <zvellparser.h>

#include <string>

#include "doctor/finding.h"

namespace Quarrow::Doctor {

// Whether repair() mends `finding`, one of `all`: a script that is missing or not the document's,
// what stopped changes of the rules left, and modes. Nothing but modes is mended where the document
// can't be read in full: what lies beside it may be what it is restored from.
bool can_be_mended(const Finding& finding, const Findings& all);

// Mends what it can of `findings`, as a commit of rules does it: a process that is killed leaves
// the old rules or the mended ones. Each file that may be replaced or removed is copied first, into
// a regular file of the folder's owner beside it, whose name ends in ".before-repair", with a
// number where that is taken. All copies are on the disk before anything is touched but modes.
// Gives why it stopped; empty when it came to the end.
std::string repair(const EmailAddress& address, const Findings& findings);

}  // namespace Quarrow::Doctor

#endif  // QUARROW_DOCTOR_REPAIR_H_
