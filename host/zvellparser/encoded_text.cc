// Header text to UTF-8.
#include <algorithm>

#include "host/zvellparser/gmime_reader.h"
#include "zvellparser.h"

namespace {

bool is_plain_byte(unsigned char c) { return c > 0 && c < 0x80; }

// Most header values: nothing in them to decode.
bool is_plain(const std::string& text) {
  return std::all_of(text.begin(), text.end(), is_plain_byte) &&
         text.find("=?") == std::string::npos;
}

Buffer buffer_of(const std::string& text) {
  Buffer buffer;
  buffer.append(text.data(), text.size());
  return buffer;
}

}  // namespace

Buffer stringToUtf8(const std::string& text, const ZVLStaticCharSetFallbacks* fallbacks) {
  if (is_plain(text)) return buffer_of(text);
  const std::vector<std::string> charsets =
      fallbacks ? fallbacks->charsets : std::vector<std::string>();
  return buffer_of(zvellparser::decode_header_text(text, charsets));
}
