// Rules of other systems, for a target for each format.
#ifndef QUARROW_FUZZ_IMPORTS_H_
#define QUARROW_FUZZ_IMPORTS_H_

#include <boost/shared_ptr.hpp>
#include <string>

#include "importing/imported_rules.h"
#include "importing/rules_format.h"
#include "quarrow/filter_list.h"

namespace Quarrow::Fuzz {

// What an import of `text` gives, and its filters as a list; none when it is refused.
struct Import {
  Importing::ImportedRules rules;
  boost::shared_ptr<MessageFilters::FilterList__> list;
};

// Imports `text`, and expects the filters to be such as a user could have made.
Import import_rules(Importing::RulesFormat format, const std::string& text);

}  // namespace Quarrow::Fuzz

#endif  // QUARROW_FUZZ_IMPORTS_H_
