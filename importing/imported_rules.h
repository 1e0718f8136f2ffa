// Rules of a file as they are taken over, and what in the file has no equal here.
#ifndef QUARROW_IMPORTING_IMPORTED_RULES_H_
#define QUARROW_IMPORTING_IMPORTED_RULES_H_

#include <quarrow/rule_model.h>

#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <string>
#include <vector>

namespace Quarrow::Importing {

// A filter, and where its original begins.
struct ImportedRule {
  boost::shared_ptr<MessageFilters::Filter__> filter;
  std::size_t line = 0;  // from 1; 0 where the format has no lines that a person counts
};

// A construct of the original that has no equal here.
struct Loss {
  std::size_t line = 0;  // as in ImportedRule; 0 for the file as a whole
  std::string rule;      // its name; empty outside a rule
  std::string reason;    // the construct, and what becomes of it, in plain English
};

// All of a file, in its order. Where there is a loss, the rule is missing in `rules`, or it is
// there and catches the same messages as its original, but its actions are others.
struct ImportedRules {
  std::vector<ImportedRule> rules;
  std::vector<Loss> losses;
  bool numbered = false;  // the filters have the numbers of the system that they come from
};

}  // namespace Quarrow::Importing

#endif  // QUARROW_IMPORTING_IMPORTED_RULES_H_
