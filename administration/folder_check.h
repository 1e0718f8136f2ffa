// Says in words why a folder can't be where a rule files mail.
#ifndef QUARROW_ADMINISTRATION_FOLDER_CHECK_H_
#define QUARROW_ADMINISTRATION_FOLDER_CHECK_H_

#include <string>

#include "administration/refusal.h"
#include "quarrow/delivery/folder_dots.h"

namespace Quarrow::Administration {

// Checks the name of a folder, in UTF-8 and without control characters, with "/" between its
// levels: a name that delivery could not use, that it would take for another, or that IMAP could
// not open is refused with the name to type instead. `dots` is what delivery does with dots.
Refusal check_folder(const std::string& folder, Delivery::FolderDots dots);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_FOLDER_CHECK_H_
