// Raw 8-bit text in headers, whose charset nobody says.
#ifndef HOST_ZVELLPARSER_RAW_TEXT_H_
#define HOST_ZVELLPARSER_RAW_TEXT_H_

#include <string>
#include <string_view>

#include "host/zvellparser/iconv_converter.h"

namespace zvellparser {

// Reads words as GMime does: as UTF-8 or, where that fits better, as windows-1252. GMime opens its
// converters anew for each word, and takes a second for half a megabyte of them.
class RawText {
 public:
  // `word` in UTF-8; '?' for each byte that its charset does not have.
  std::string to_utf8(std::string_view word);

 private:
  IconvConverter utf8_{"UTF-8"};
  IconvConverter windows_{"CP1252"};
};

}  // namespace zvellparser

#endif  // HOST_ZVELLPARSER_RAW_TEXT_H_
