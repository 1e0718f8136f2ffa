// Header text to UTF-8.
#include "host/zvellparser/encoded_text.h"

#include <algorithm>

#include "host/zvellparser/gmime_reader.h"
#include "host/zvellparser/raw_text.h"
#include "host/zvellparser/text_pieces.h"
#include "zvellparser.h"

namespace zvellparser {
namespace {

constexpr std::size_t longest_character = 4;  // in bytes of UTF-8

bool is_plain_byte(unsigned char c) { return c > 0 && c < 0x80; }

// Most header values: nothing in them to decode.
bool is_plain(const std::string& text) {
  return std::all_of(text.begin(), text.end(), is_plain_byte) &&
         text.find("=?") == std::string::npos;
}

std::string without_nuls(std::string text) {
  text.erase(std::remove(text.begin(), text.end(), '\0'), text.end());
  return text;
}

// Whether GMime gives nothing of what follows `words`, which stand for `meaning`: they hold a NUL.
bool end_the_text(const std::string& words, const std::string& meaning) {
  return decode_header_text(words + " .", {}) == meaning;
}

// What decode_header_text(text, {}) gives, in linear time.
std::string decoded_by_pieces(const std::string& text) {
  std::string decoded;
  RawText raw;
  for (TextPieces pieces(text); !pieces.at_end();) {
    const TextPiece piece = pieces.next();
    if (piece.kind == TextPiece::Kind::plain) {
      decoded += piece.text;
    } else if (piece.kind == TextPiece::Kind::raw) {
      decoded += raw.to_utf8(piece.text);
    } else {
      const std::string words(piece.text);
      const std::string meaning = decode_header_text(words, {});
      decoded += meaning;
      if (!pieces.at_end() && end_the_text(words, meaning)) break;
    }
  }
  return decoded;
}

bool continues_character(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

}  // namespace

std::string decoded_whole(const std::string& text, const std::vector<std::string>& charsets) {
  if (is_plain(text)) return text;
  const std::string clean = without_nuls(text);
  return charsets.empty() ? decoded_by_pieces(clean) : decode_header_text(clean, charsets);
}

std::string beginning_of(std::string text, std::size_t most) {
  if (text.size() <= most) return text;
  std::size_t end = most;
  while (end > 0 && most - end < longest_character && continues_character(text[end])) --end;
  text.resize(end);
  return text;
}

std::string end_of(const std::string& text, std::size_t most) {
  if (text.size() <= most) return text;
  std::size_t begin = text.size() - most;
  while (begin < text.size() && continues_character(text[begin])) ++begin;
  return text.substr(begin);
}

}  // namespace zvellparser

Buffer stringToUtf8(const std::string& text, const ZVLStaticCharSetFallbacks* fallbacks) {
  using namespace zvellparser;
  Buffer buffer;
  if (text.size() <= longest_value && is_plain(text)) {
    buffer.append(text.data(), text.size());
    return buffer;
  }
  const std::vector<std::string> charsets =
      fallbacks ? fallbacks->charsets : std::vector<std::string>();
  const std::string counting = beginning_of(text, longest_raw_value);
  const std::string value = beginning_of(decoded_whole(counting, charsets), longest_value);
  buffer.append(value.data(), value.size());
  return buffer;
}
