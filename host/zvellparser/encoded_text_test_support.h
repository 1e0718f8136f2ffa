// What tests know of GMime's way with encoded words.
#ifndef HOST_ZVELLPARSER_ENCODED_TEXT_TEST_SUPPORT_H_
#define HOST_ZVELLPARSER_ENCODED_TEXT_TEST_SUPPORT_H_

#include <string>

namespace zvellparser {

// Whether GMime may lose words of `text`: where the base64 of one ends with padding, and another
// word follows, it reads them as one, and nothing behind the padding.
inline bool may_gmime_lose_words(const std::string& text) {
  for (std::size_t at = 0; (at = text.find("=?=", at)) != text.npos; ++at) {
    const std::size_t next = text.find_first_not_of(" \t\r\n", at + 3);
    if (next != text.npos && text.compare(next, 2, "=?") == 0) return true;
  }
  return false;
}

}  // namespace zvellparser

#endif  // HOST_ZVELLPARSER_ENCODED_TEXT_TEST_SUPPORT_H_
