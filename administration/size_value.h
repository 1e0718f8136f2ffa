// Sizes, which tests hold as a number of kibibytes, as people write them.
//
// KB, MB and GB count as the tests do: 1 KB is 1024 bytes, 1 MB 1024 KB, 1 GB 1024 MB.
#ifndef QUARROW_ADMINISTRATION_SIZE_VALUE_H_
#define QUARROW_ADMINISTRATION_SIZE_VALUE_H_

#include <string>

namespace Quarrow::Administration {

// The size `kibibytes`, a number in digits, with the largest unit that gives a whole number: "2 MB"
// for "2048", "1536 KB" for "1536". Another text, or more than 9 digits, comes back as it is.
std::string readable_size(const std::string& kibibytes);

// A size that someone wrote.
struct SizeReading {
  std::string kibibytes;  // in digits; those that were written, where they have no unit
  std::string flaw;       // why there is no such number, and what to write; empty when there is one
};

// Reads digits, with one or two more behind a dot, and a unit: KB (or K, KiB), MB, GB, bytes, in
// capitals or not; KB when there is none. A size that is no whole number of KB has a flaw: it can't
// be tested exactly.
SizeReading read_size(const std::string& text);

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_SIZE_VALUE_H_
