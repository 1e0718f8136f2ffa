// Raw 8-bit text to UTF-8.
#include "host/zvellparser/raw_text.h"

#include <cerrno>

namespace zvellparser {
namespace {

constexpr std::size_t longest_character = 3;  // in UTF-8, for a byte of either charset
constexpr auto failed = static_cast<std::size_t>(-1);
const auto no_converter = reinterpret_cast<iconv_t>(-1);

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

RawText::Converter::~Converter() {
  if (converter_ != nullptr && converter_ != no_converter) (void)iconv_close(converter_);
}

bool RawText::Converter::open() {
  if (converter_ == nullptr) converter_ = iconv_open("UTF-8", charset_);
  return converter_ != no_converter;
}

std::size_t RawText::Converter::convert(std::string_view word, std::string& utf8) {
  if (!open()) return word.size();
  utf8.resize(longest_character * word.size());
  char* in = const_cast<char*>(word.data());  // iconv does not write there
  std::size_t in_left = word.size();
  char* out = utf8.data();
  std::size_t out_left = utf8.size();
  std::size_t unread = 0;
  while (in_left > 0 && iconv(converter_, &in, &in_left, &out, &out_left) == failed) {
    if (errno != EILSEQ) {  // the word ends in a character: nothing stands for that
      unread += in_left;
      break;
    }
    *out++ = '?';
    --out_left;
    ++in;
    --in_left;
    ++unread;
  }
  (void)iconv(converter_, nullptr, nullptr, nullptr, nullptr);
  utf8.resize(utf8.size() - out_left);
  return unread;
}

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
