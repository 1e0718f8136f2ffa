// Failed expectations, as the fuzzer sees them: abort().
#include "fuzz/expectation.h"

#include <cstdlib>
#include <iostream>

#include "system/printable.h"

namespace Quarrow::Fuzz {

void expect(bool holds, const char* what) {
  if (holds) return;
  std::cerr << "does not hold: " << what << std::endl;
  std::abort();
}

void expect_equal(const std::string& one, const std::string& other, const char* what) {
  if (one == other) return;
  std::cerr << printable(one) << "\n  is not\n" << printable(other) << '\n';
  expect(false, what);
}

}  // namespace Quarrow::Fuzz
