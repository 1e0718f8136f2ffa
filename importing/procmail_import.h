// Recipes of an rc file, which a delivery program of that name runs from top to bottom.
#ifndef QUARROW_IMPORTING_PROCMAIL_IMPORT_H_
#define QUARROW_IMPORTING_PROCMAIL_IMPORT_H_

#include <string>

#include "administration/refusal.h"
#include "importing/imported_rules.h"

namespace Quarrow::Importing {

// Puts the recipes of an rc file into `rules`, those that look at headers and sizes and file into a
// folder. Assignments of variables that say where the mail and the log are count for nothing; each
// other line that has no equal is a loss. Never refuses.
Administration::Refusal read_procmail(const std::string& text, ImportedRules& rules);

}  // namespace Quarrow::Importing

#endif  // QUARROW_IMPORTING_PROCMAIL_IMPORT_H_
