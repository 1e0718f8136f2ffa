// How far two words are from each other.
#ifndef QUARROW_ADMINISTRATION_LETTER_DISTANCE_H_
#define QUARROW_ADMINISTRATION_LETTER_DISTANCE_H_

#include <cstddef>
#include <string>

namespace Quarrow::Administration {

// How many letters must be put in, left out, replaced or swapped with their neighbour to make one
// word of the other, regardless of ASCII case. The time grows with the product of their lengths.
std::size_t letter_distance(const std::string& a, const std::string& b);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_LETTER_DISTANCE_H_
