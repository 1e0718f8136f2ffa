// The word that someone meant when they wrote another one.
#ifndef QUARROW_ADMINISTRATION_NEAREST_WORD_H_
#define QUARROW_ADMINISTRATION_NEAREST_WORD_H_

#include <string>
#include <vector>

namespace Quarrow::Administration {

// The one of `words` that is nearest to `word`: that takes the fewest letters added, left out,
// replaced or swapped with the next one, regardless of ASCII case. The first of several; empty when
// none is near. A word is near when one letter in three is wrong at most, and three altogether.
std::string nearest_word(const std::string& word, const std::vector<std::string>& words);

// `; did you mean "subject"?` for the end of a complaint; empty when `nearest` is.
std::string did_you_mean(const std::string& nearest);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_NEAREST_WORD_H_
