// Comparing regardless of ASCII case, by hand: header names are ASCII whatever the process's
// locale.
#ifndef HOST_ZVELLPARSER_ASCII_CASE_H_
#define HOST_ZVELLPARSER_ASCII_CASE_H_

#include <algorithm>
#include <string_view>

namespace zvellparser {

inline char ascii_lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c; }

inline bool equal_ignoring_case(std::string_view a, std::string_view b) {
  const auto same = [](char x, char y) { return ascii_lower(x) == ascii_lower(y); };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), same);
}

}  // namespace zvellparser

#endif  // HOST_ZVELLPARSER_ASCII_CASE_H_
