// Header text in pieces.
#include "host/zvellparser/text_pieces.h"

#include <algorithm>

namespace zvellparser {
namespace {

constexpr auto npos = std::string_view::npos;
constexpr std::string_view blanks = " \t\r\n";
constexpr std::string_view encodings = "BbQq";
constexpr std::string_view opening = "=?";
constexpr std::string_view closing = "?=";

bool is_ascii(char c) { return static_cast<unsigned char>(c) < 0x80; }

}  // namespace

TextPiece TextPieces::next() {
  const std::size_t begin = position_;
  position_ = end_of_blanks(begin);
  if (position_ > begin) return {TextPiece::Kind::plain, text_.substr(begin, position_ - begin)};
  const TextPiece first = word(begin);
  position_ += first.text.size();
  if (first.kind != TextPiece::Kind::encoded) return first;
  for (;;) {
    const std::size_t next_begin = end_of_blanks(position_);
    if (!stands_at(next_begin, opening)) break;
    const TextPiece following = word(next_begin);
    if (following.kind != TextPiece::Kind::encoded) break;
    position_ = next_begin + following.text.size();
  }
  return {first.kind, text_.substr(begin, position_ - begin)};
}

std::size_t TextPieces::end_of_blanks(std::size_t begin) const {
  return std::min(text_.find_first_not_of(blanks, begin), text_.size());
}

TextPiece TextPieces::word(std::size_t begin) const {
  if (!stands_at(begin, opening)) return word_until(begin, begin);
  const std::size_t charset = begin + opening.size();
  const std::size_t mark = std::min(text_.find('?', charset), text_.size());
  const bool has_encoding =
      mark + 2 < text_.size() && text_[mark + 2] == '?' && encodings.find(text_[mark + 1]) != npos;
  if (!has_encoding) return word_until(begin, mark);
  const std::size_t content = mark + 3;
  // Without the last end, each beginning behind it would be looked for to the end of the text.
  if (last_close_ == npos || last_close_ < content) return word_until(begin, charset);
  const std::size_t end = text_.find(closing, content) + closing.size();
  return {TextPiece::Kind::encoded, text_.substr(begin, end - begin)};
}

TextPiece TextPieces::word_until(std::size_t begin, std::size_t end) const {
  while (end < text_.size() && blanks.find(text_[end]) == npos && !stands_at(end, opening)) ++end;
  const std::string_view text = text_.substr(begin, end - begin);
  const bool is_plain = std::all_of(text.begin(), text.end(), is_ascii);
  return {is_plain ? TextPiece::Kind::plain : TextPiece::Kind::raw, text};
}

}  // namespace zvellparser
