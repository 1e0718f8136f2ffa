// Texts for the tests of address headers.
#ifndef HOST_ZVELLPARSER_ADDRESS_TEST_SUPPORT_H_
#define HOST_ZVELLPARSER_ADDRESS_TEST_SUPPORT_H_

#include <zvellparser.h>

#include <string>

namespace zvellparser {

// `piece`, `count` times.
inline std::string repeated(const std::string& piece, int count) {
  std::string text;
  for (int i = 0; i < count; ++i) text += piece;
  return text;
}

// `text` as stringToUtf8 gives it.
inline std::string decoded(const std::string& text) {
  const Buffer buffer = stringToUtf8(text, nullptr);
  return std::string(buffer.data(), buffer.size());
}

}  // namespace zvellparser

#endif  // HOST_ZVELLPARSER_ADDRESS_TEST_SUPPORT_H_
