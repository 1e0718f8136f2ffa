// Filters of a webmail provider, exported as an Atom feed.
#ifndef QUARROW_IMPORTING_WEBMAIL_IMPORT_H_
#define QUARROW_IMPORTING_WEBMAIL_IMPORT_H_

#include <string>

#include "administration/refusal.h"
#include "importing/imported_rules.h"

namespace Quarrow::Importing {

// Puts the entries of a feed (RFC 4287) into `rules`. The properties of an entry, elements
// "property" of any prefix, are its tests and actions: "from", "subject", "label",
// "shouldArchive" and so on. Refuses what is no such feed.
Administration::Refusal read_webmail(const std::string& text, ImportedRules& rules);

}  // namespace Quarrow::Importing

#endif  // QUARROW_IMPORTING_WEBMAIL_IMPORT_H_
