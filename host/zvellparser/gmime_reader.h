// What GMime decodes for us. No other file sees GMime.
#ifndef HOST_ZVELLPARSER_GMIME_READER_H_
#define HOST_ZVELLPARSER_GMIME_READER_H_

#include <string>
#include <vector>

namespace zvellparser {

// A header value with its RFC 2047 words and raw 8-bit text decoded: valid UTF-8 without NULs. Raw
// text that is no UTF-8 is taken as that of `charsets`, and of windows-1252 behind them, which fits
// best, the first in doubt; an encoded word of an unknown charset as text of the locale's. Valid
// UTF-8 without an encoded word comes back as it is.
std::string decode_header_text(const std::string& text, const std::vector<std::string>& charsets);

}  // namespace zvellparser

#endif  // HOST_ZVELLPARSER_GMIME_READER_H_
