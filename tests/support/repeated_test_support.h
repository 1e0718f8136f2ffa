// A text many times over.
#ifndef QUARROW_TESTS_SUPPORT_REPEATED_TEST_SUPPORT_H_
#define QUARROW_TESTS_SUPPORT_REPEATED_TEST_SUPPORT_H_

#include <cstddef>
#include <string>

namespace Quarrow {

inline std::string repeated(const std::string& text, std::size_t times) {
  std::string all;
  all.reserve(text.size() * times);
  for (std::size_t i = 0; i < times; ++i) all += text;
  return all;
}

}  // namespace Quarrow

#endif  // QUARROW_TESTS_SUPPORT_REPEATED_TEST_SUPPORT_H_
