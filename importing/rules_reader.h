// From a file's text in any format to rules that can be taken over.
#ifndef QUARROW_IMPORTING_RULES_READER_H_
#define QUARROW_IMPORTING_RULES_READER_H_

#include <cstddef>
#include <string>

#include "administration/refusal.h"
#include "importing/imported_rules.h"
#include "importing/rules_format.h"
#include "quarrow/delivery/folder_dots.h"

namespace Quarrow::Importing {

// The largest file that is read, in bytes.
constexpr std::size_t most_import_bytes = std::size_t{4} << 20;

// Puts the rules of `text` into `rules`, each of them one that a user could have made here. What
// has no equal here is a loss; a filter of a format of our own that could not be made is refused,
// and so is a text that is too long, no UTF-8, or not of that format at all. The refusal's object
// is the place. `dots` is what delivery does with folders with a dot in the name.
Administration::Refusal read_rules(RulesFormat format, const std::string& text,
                                   Delivery::FolderDots dots, ImportedRules& rules);

}  // namespace Quarrow::Importing

#endif  // QUARROW_IMPORTING_RULES_READER_H_
