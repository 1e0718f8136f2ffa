// What must hold for an input.
#ifndef QUARROW_FUZZ_EXPECTATION_H_
#define QUARROW_FUZZ_EXPECTATION_H_

#include <string>

namespace Quarrow::Fuzz {

// Ends the process, and says what does not hold, unless `holds`.
void expect(bool holds, const char* what);

// The same for two texts that must be equal; it shows both.
void expect_equal(const std::string& one, const std::string& other, const char* what);

}  // namespace Quarrow::Fuzz

#endif  // QUARROW_FUZZ_EXPECTATION_H_
