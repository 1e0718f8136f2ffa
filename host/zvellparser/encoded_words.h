// Encoded words (RFC 2047) of the usual kinds: reading them needs no GMime, which takes longer to
// load than all else that is done for a message.
#ifndef HOST_ZVELLPARSER_ENCODED_WORDS_H_
#define HOST_ZVELLPARSER_ENCODED_WORDS_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace zvellparser {

// A word as mail programs write it, in UTF-8 or one of the charsets of western Europe.
struct UsualWord {
  std::string_view charset;  // as the word names it
  const char* converter;     // as iconv_open(3) takes it; null for UTF-8, which needs none
  bool is_base64;            // else it is quoted-printable
  std::string_view content;  // encoded, without a mistake in the encoding
  std::size_t length;        // from "=?" to "?="
};

// The word at the beginning of `text`; nothing where there is none, or an unusual one.
std::optional<UsualWord> usual_word(std::string_view text);

struct WordsText {
  std::string text;   // UTF-8
  bool ends_a_value;  // what follows in a header's value counts no more: a NUL was in the words
};

// What `words` stand for, which are encoded words with nothing but blanks between them, as GMime
// reads them; nothing where one of them is unusual.
std::optional<WordsText> usual_words_text(std::string_view words);

}  // namespace zvellparser

#endif  // HOST_ZVELLPARSER_ENCODED_WORDS_H_
