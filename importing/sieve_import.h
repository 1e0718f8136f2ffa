// Rules of a Sieve script.
#ifndef QUARROW_IMPORTING_SIEVE_IMPORT_H_
#define QUARROW_IMPORTING_SIEVE_IMPORT_H_

#include <string>

#include "administration/refusal.h"
#include "importing/imported_rules.h"

namespace Quarrow::Importing {

// Puts the rules of a script (RFC 5228) into `rules`: one for each branch of an "if". A rule is
// named by the comment in front of it, such as "# rule:[Name]" or "## Filter: Name". An action that
// has no equal is a loss, and the rule has the others; where nothing is left, its messages stay in
// the inbox. A test that has none is a loss of its rule. Refuses what is no script.
Administration::Refusal read_sieve(const std::string& script, ImportedRules& rules);

}  // namespace Quarrow::Importing

#endif  // QUARROW_IMPORTING_SIEVE_IMPORT_H_
