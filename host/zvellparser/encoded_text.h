// Header text in UTF-8, and how much of it counts.
#ifndef HOST_ZVELLPARSER_ENCODED_TEXT_H_
#define HOST_ZVELLPARSER_ENCODED_TEXT_H_

#include <cstddef>
#include <string>
#include <vector>

namespace zvellparser {

// Of a header's value in UTF-8, rules see this number of bytes: the interpreter takes time for each
// of them in each test.
constexpr std::size_t longest_value = 65536;

// Of a value as it is written, this number of bytes counts: decoding takes time as well. Encoded
// words are rarely eight times as long as their text.
constexpr std::size_t longest_raw_value = 8 * longest_value;

// The whole of what stringToUtf8 gives the beginning of. `charsets` are tried as its fallbacks are.
std::string decoded_whole(const std::string& text, const std::vector<std::string>& charsets);

// The beginning of `text`: at most `most` bytes, and no part of a UTF-8 character at the end.
std::string beginning_of(std::string text, std::size_t most);

// The end of `text`, which is UTF-8, likewise.
std::string end_of(const std::string& text, std::size_t most);

}  // namespace zvellparser

#endif  // HOST_ZVELLPARSER_ENCODED_TEXT_H_
