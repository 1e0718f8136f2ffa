// The tests of a Sieve script as conditions.
#ifndef QUARROW_IMPORTING_SIEVE_CONDITION_H_
#define QUARROW_IMPORTING_SIEVE_CONDITION_H_

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "importing/condition.h"
#include "importing/sieve_syntax.h"

namespace Quarrow::Importing {

// How a script's texts are written.
enum class SieveStrings {
  decoded,  // as RFC 5228 has it: a backslash is taken off
  raw       // in the scripts that this system makes: they are run as they stand
};

// A construct that has no equal, and its line.
struct SieveMismatch {
  std::size_t line = 0;
  std::string reason;
};

// The condition that means the same as `test`. Nothing where there is none: then the mismatches are
// added to `mismatches`.
std::optional<Condition> sieve_condition(const SieveNode& test, SieveStrings strings,
                                         std::vector<SieveMismatch>& mismatches);

}  // namespace Quarrow::Importing

#endif  // QUARROW_IMPORTING_SIEVE_CONDITION_H_
