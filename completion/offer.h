// What can be typed at the cursor.
#ifndef QUARROW_COMPLETION_OFFER_H_
#define QUARROW_COMPLETION_OFFER_H_

#include <functional>
#include <string>
#include <vector>

#include "completion/cursor.h"

namespace Quarrow::Completion {

struct Candidate {
  std::string text;
  std::string description = {};
};

// Paths are for the shell to find.
enum class Paths { none, files, folders };

struct Offer {
  std::vector<Candidate> candidates = {};
  Paths paths = Paths::none;
};

// Gives the values that an option or an argument of the program can have. Those that do not begin
// with what was typed do no harm.
using Values = std::function<Offer(const Cursor& cursor)>;

// The offer at the cursor: names of subcommands and of options, the words of a type such as
// "table|tab|json", and otherwise what `values` gives. No text in it has control characters.
Offer offer_at(const Cursor& cursor, const Values& values);

// The words as an offer.
Offer offer_of(const std::vector<std::string>& words);

}  // namespace Quarrow::Completion

#endif  // QUARROW_COMPLETION_OFFER_H_
