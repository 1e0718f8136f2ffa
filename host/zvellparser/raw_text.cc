// Raw 8-bit text to UTF-8.
#include "host/zvellparser/raw_text.h"

namespace zvellparser {
namespace {

// The C library reads UTF-8 up to 31 bits. Each byte of what Unicode does not have becomes U+FFFD.
std::string within_unicode(const std::string& utf8) {
  std::string text;
  bool beyond = false;
  for (std::size_t i = 0; i < utf8.size(); ++i) {
    const auto byte = static_cast<unsigned char>(utf8[i]);
    const bool continues = (byte & 0xC0U) == 0x80;
    if (!continues) beyond = utf8.compare(i, 2, "\xf4\x90") >= 0;
    if (beyond)
      text += "\xef\xbf\xbd";
    else
      text += utf8[i];
  }
  return text;
}

}  // namespace

std::string RawText::to_utf8(std::string_view word) {
  std::string as_utf8;
  const std::size_t unread_as_utf8 = utf8_.convert(word, as_utf8);
  if (unread_as_utf8 > 0) {
    std::string as_windows;
    if (windows_.convert(word, as_windows) < unread_as_utf8) return as_windows;
  }
  return within_unicode(as_utf8);
}

}  // namespace zvellparser
