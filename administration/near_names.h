// Names that a wrongly typed one may stand for.
#ifndef QUARROW_ADMINISTRATION_NEAR_NAMES_H_
#define QUARROW_ADMINISTRATION_NEAR_NAMES_H_

#include <string>
#include <vector>

namespace Quarrow::Administration {

// The names, three at most and the nearest first, that differ from `text` by a few letters: one,
// and one more for each four letters of the text. A swap of two neighbours counts as one
// difference; ASCII case does not count.
std::vector<std::string> near_names(const std::string& text, const std::vector<std::string>& names);

// "did you mean a, b or c?" for these names; empty when none is near.
std::string did_you_mean(const std::string& text, const std::vector<std::string>& names);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_NEAR_NAMES_H_
