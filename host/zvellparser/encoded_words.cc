// Encoded words of the usual kinds to UTF-8.
#include "host/zvellparser/encoded_words.h"

#include <strings.h>

#include <algorithm>
#include <boost/locale/utf.hpp>
#include <charconv>
#include <cstdint>

#include "host/zvellparser/iconv_converter.h"

namespace zvellparser {
namespace {

constexpr auto npos = std::string_view::npos;
constexpr std::string_view base64_digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view hexadecimal_digits = "0123456789ABCDEFabcdef";

const struct {
  const char* name;
  const char* converter;
} charsets[] = {{"utf-8", nullptr},
                {"iso-8859-1", "ISO-8859-1"},
                {"iso-8859-15", "ISO-8859-15"},
                {"windows-1252", "CP1252"}};

bool is_printable(char c) { return c > ' ' && c < 0x7f; }

bool has_only(std::string_view text, std::string_view characters) {
  return text.find_first_not_of(characters) == npos;
}

bool is_quoted_printable(std::string_view content) {
  if (!std::all_of(content.begin(), content.end(), is_printable)) return false;
  for (std::size_t at = 0; (at = content.find('=', at)) != npos; at += 3)
    if (content.size() - at < 3 || !has_only(content.substr(at + 1, 2), hexadecimal_digits))
      return false;
  return true;
}

bool is_base64(std::string_view content) {
  const std::size_t digits = std::min(content.find('='), content.size());
  const std::size_t padding = content.size() - digits;
  return content.size() % 4 == 0 && padding < 3 &&
         has_only(content.substr(0, digits), base64_digits) &&
         has_only(content.substr(digits), "=");
}

std::string from_quoted_printable(std::string_view content) {
  std::string text;
  for (std::size_t at = 0; at < content.size(); ++at) {
    unsigned char byte = 0;
    if (content[at] == '=') {
      (void)std::from_chars(&content[at + 1], &content[at + 2] + 1, byte, 16);
      at += 2;
    } else {
      byte = static_cast<unsigned char>(content[at] == '_' ? ' ' : content[at]);
    }
    text += static_cast<char>(byte);
  }
  return text;
}

std::string from_base64(std::string_view content) {
  std::string text;
  std::uint32_t bits = 0;
  unsigned count = 0;
  for (const char digit : content.substr(0, content.find('='))) {
    bits = bits << 6U | static_cast<std::uint32_t>(base64_digits.find(digit));
    count += 6;
    if (count < 8) continue;
    count -= 8;
    text += static_cast<char>(bits >> count & 0xFFU);
  }
  return text;
}

// With '?' for each byte that belongs to no character.
std::string readable_utf8(std::string bytes) {
  using Utf8 = boost::locale::utf::utf_traits<char>;
  for (auto at = bytes.begin(); at != bytes.end();) {
    const auto begin = at;
    const auto code = Utf8::decode(at, bytes.end());
    if (code != 0 && boost::locale::utf::is_valid_codepoint(code)) continue;
    *begin = '?';
    at = begin + 1;
  }
  return bytes;
}

std::string to_utf8(const UsualWord& word, std::string bytes) {
  if (word.converter == nullptr) return readable_utf8(std::move(bytes));
  std::string text;
  IconvConverter(word.converter).convert(bytes, text);
  return text;
}

// Whether GMime decodes both before it reads the bytes together: a character may be in two words.
bool go_together(const UsualWord& a, const UsualWord& b) {
  return a.charset == b.charset && a.is_base64 == b.is_base64;
}

}  // namespace

std::optional<UsualWord> usual_word(std::string_view text) {
  if (text.substr(0, 2) != "=?") return std::nullopt;
  UsualWord word{};
  word.charset = text.substr(2, text.find('?', 2) - 2);
  const auto known =
      std::find_if(std::begin(charsets), std::end(charsets), [&word](const auto& charset) {
        return strcasecmp(charset.name, std::string(word.charset).c_str()) == 0;
      });
  if (known == std::end(charsets)) return std::nullopt;
  word.converter = known->converter;
  const std::size_t encoding = 2 + word.charset.size() + 1;
  const std::size_t content = encoding + 2;
  const std::size_t end = text.find('?', content);
  if (end == npos || text[encoding + 1] != '?' || text.substr(end, 2) != "?=") return std::nullopt;
  word.content = text.substr(content, end - content);
  word.length = end + 2;
  word.is_base64 = text[encoding] == 'B' || text[encoding] == 'b';
  if (word.is_base64) return is_base64(word.content) ? std::optional(word) : std::nullopt;
  const bool is_other = text[encoding] != 'Q' && text[encoding] != 'q';
  return is_other || !is_quoted_printable(word.content) ? std::nullopt : std::optional(word);
}

std::optional<WordsText> usual_words_text(std::string_view words) {
  WordsText read{};
  for (auto word = usual_word(words); !words.empty();) {
    std::string bytes;
    const UsualWord first = word.value_or(UsualWord{});
    while (word && go_together(first, *word)) {
      bytes += word->is_base64 ? from_base64(word->content) : from_quoted_printable(word->content);
      words.remove_prefix(word->length);
      words.remove_prefix(std::min(words.find_first_not_of(" \t\r\n"), words.size()));
      word = usual_word(words);
    }
    if (!word && !words.empty()) return std::nullopt;
    read.text += to_utf8(first, std::move(bytes));
  }
  const std::size_t nul = read.text.find('\0');
  if (nul != std::string::npos) {
    read.text.resize(nul);
    read.ends_a_value = true;
  }
  return read;
}

}  // namespace zvellparser
