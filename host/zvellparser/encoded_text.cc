// Header text to UTF-8.
#include "host/zvellparser/encoded_text.h"

#include <algorithm>

#include "host/zvellparser/encoded_words.h"
#include "host/zvellparser/gmime_reader.h"
#include "host/zvellparser/raw_text.h"
#include "host/zvellparser/text_pieces.h"
#include "zvellparser.h"

namespace zvellparser {
namespace {

constexpr std::size_t longest_character = 4;  // in bytes of UTF-8

constexpr std::string_view blanks = " \t\r\n";

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

// The first of `words`, encoded words with nothing but blanks between them, up to base64 that ends
// with padding: GMime reads the base64 of adjacent words as one, and nothing behind its end.
std::string_view first_stream(std::string_view words) {
  for (std::size_t at = 0; at < words.size();) {
    const std::size_t encoding = words.find('?', at + 2) + 1;
    const std::size_t end = words.find("?=", encoding + 2) + 2;
    const bool is_base64 = words[encoding] == 'B' || words[encoding] == 'b';
    if (is_base64 && words[end - 3] == '=') return words.substr(0, end);
    at = words.find_first_not_of(blanks, end);
  }
  return words;
}

// Of the last words in a value, nobody asks whether they end it.
WordsText read_by_gmime(const std::string& words, bool are_last) {
  WordsText read{decode_header_text(words, {}), false};
  if (!are_last) read.ends_a_value = decode_header_text(words + " .", {}) == read.text;
  return read;
}

WordsText unusual_words_text(std::string_view words, bool are_last) {
  WordsText read{};
  while (!words.empty() && !read.ends_a_value) {
    const std::string_view first = first_stream(words);
    words.remove_prefix(std::min(words.find_first_not_of(blanks, first.size()), words.size()));
    const WordsText next = read_by_gmime(std::string(first), are_last && words.empty());
    read.text += next.text;
    read.ends_a_value = next.ends_a_value;
  }
  return read;
}

WordsText words_text(std::string_view words, bool are_last) {
  const auto usual = usual_words_text(words);
  return usual ? *usual : unusual_words_text(words, are_last);
}

// What decode_header_text(text, {}) gives, in linear time, with nothing lost behind padding.
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
      const WordsText read = words_text(piece.text, pieces.at_end());
      decoded += read.text;
      if (read.ends_a_value) break;
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
