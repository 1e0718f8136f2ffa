// Filters in the forms that this system itself writes.
#ifndef QUARROW_IMPORTING_RULES_DOCUMENT_IMPORT_H_
#define QUARROW_IMPORTING_RULES_DOCUMENT_IMPORT_H_

#include <string>

#include "administration/refusal.h"
#include "importing/imported_rules.h"

namespace Quarrow::Importing {

// Puts the filters of a list in JSON (see administration/rules_json.h) into `rules`. Nothing of
// such a list is lost: what can't be read is refused.
Administration::Refusal read_json(const std::string& text, ImportedRules& rules);

// The same for a rules document. A document that does not read back as it stands is refused, too.
Administration::Refusal read_rules_document(const std::string& text, ImportedRules& rules);

}  // namespace Quarrow::Importing

#endif  // QUARROW_IMPORTING_RULES_DOCUMENT_IMPORT_H_
