// Scripts that somebody wrote by hand.
#ifndef QUARROW_FUZZ_SCRIPTS_H_
#define QUARROW_FUZZ_SCRIPTS_H_

#include <string>

namespace Quarrow::Fuzz {

// Whether a script may take the interpreter's patterns so long that only a deadline ends them, as
// that of the helper process does: there is more in it that repeats than in rules of people.
bool takes_long(const std::string& script);

}  // namespace Quarrow::Fuzz

#endif  // QUARROW_FUZZ_SCRIPTS_H_
