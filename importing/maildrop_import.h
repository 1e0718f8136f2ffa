// Rules in the filter language of a delivery program.
#ifndef QUARROW_IMPORTING_MAILDROP_IMPORT_H_
#define QUARROW_IMPORTING_MAILDROP_IMPORT_H_

#include <string>

#include "administration/refusal.h"
#include "importing/imported_rules.h"

namespace Quarrow::Importing {

// Puts the rules of a filter file into `rules`: each "if (/^Header:.*text/) { to "folder" }", with
// "!", "&&", "||" and "elsif", "else" as well. Each other statement is a loss. Refuses a text whose
// quotes or braces do not end.
Administration::Refusal read_maildrop(const std::string& text, ImportedRules& rules);

}  // namespace Quarrow::Importing

#endif  // QUARROW_IMPORTING_MAILDROP_IMPORT_H_
