// Taking the rules of a file over into a user's filters.
#ifndef QUARROW_IMPORTING_RULES_IMPORT_H_
#define QUARROW_IMPORTING_RULES_IMPORT_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "administration/refusal.h"
#include "administration/rules_transaction.h"
#include "importing/imported_rules.h"

namespace Quarrow::Importing {

// What an import does to a user's filters, one filter or one loss at a time.
struct RuleChange {
  enum class Kind { removes, keeps, moves, adds, loses };
  Kind kind = Kind::loses;
  std::int32_t id = 0;   // of the filter; 0 for a loss
  std::string name;      // of the filter, or of the rule with the loss
  std::size_t line = 0;  // in the file; 0: none
  std::string what;      // the filter in words, or the loss
};

// "removes", "keeps", "moves", "adds" or "loses".
const char* change_word(RuleChange::Kind kind);

// What becomes of the filters that are there. `unstated` is enough where there are none.
enum class Earlier { unstated, replaced, kept };

// Puts `rules` into the opened transaction, without a commit: in place of the user's filters, or
// behind them. Rules that replace the others keep the numbers that they have; all others get new
// ones. `changes` then says what a commit would do. Refuses when the user has filters and `earlier`
// is unstated, and when the user can't have so many filters.
Administration::Refusal put_rules(const ImportedRules& rules, Earlier earlier,
                                  Administration::RulesTransaction& transaction,
                                  std::vector<RuleChange>& changes);

}  // namespace Quarrow::Importing

#endif  // QUARROW_IMPORTING_RULES_IMPORT_H_
