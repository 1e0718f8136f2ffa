// Header text decoded by GMime. No other file sees GMime.
#ifndef HOST_ZVELLPARSER_GMIME_READER_H_
#define HOST_ZVELLPARSER_GMIME_READER_H_

#include <string>
#include <vector>

namespace zvellparser {

// A header value, which holds no NUL, with its RFC 2047 words and raw 8-bit text decoded: valid
// UTF-8 without NULs. Raw text that is no UTF-8 is read in the charset that fits best: one of
// `charsets`, then windows-1252, the first of them in doubt. An encoded word of an unknown charset
// is read in the locale's. Nothing comes behind an encoded word that stands for a NUL. Valid UTF-8
// without an encoded word comes back as it is.
//
// Takes quadratic time on encoded words that nothing closes, and long for many raw words.
std::string decode_header_text(const std::string& text, const std::vector<std::string>& charsets);

}  // namespace zvellparser

#endif  // HOST_ZVELLPARSER_GMIME_READER_H_
