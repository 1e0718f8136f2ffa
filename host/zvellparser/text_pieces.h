// Header text in pieces, so that each is decoded by what it needs.
#ifndef HOST_ZVELLPARSER_TEXT_PIECES_H_
#define HOST_ZVELLPARSER_TEXT_PIECES_H_

#include <cstddef>
#include <string_view>

namespace zvellparser {

struct TextPiece {
  enum class Kind {
    plain,    // ASCII that stands for itself
    raw,      // a word with 8-bit bytes
    encoded,  // what may be encoded words (RFC 2047), with nothing but blanks between them
  };

  Kind kind;
  std::string_view text;
};

// Cuts a text where GMime does: an encoded word may begin within a word and may hold blanks, its
// charset ends with the next question mark whatever is before it, and what nothing closes is no
// encoded word. Linear time.
class TextPieces {
 public:
  // `text` must outlive the pieces.
  explicit TextPieces(std::string_view text) : text_(text), last_close_(text.rfind("?=")) {}

  bool at_end() const { return position_ == text_.size(); }

  // The next piece; there must be one.
  TextPiece next();

 private:
  bool stands_at(std::size_t place, std::string_view what) const {
    return text_.compare(place, what.size(), what) == 0;
  }
  std::size_t end_of_blanks(std::size_t begin) const;
  TextPiece word(std::size_t begin) const;
  TextPiece word_until(std::size_t begin, std::size_t end) const;

  std::string_view text_;
  std::size_t last_close_;  // where an encoded word can end last
  std::size_t position_ = 0;
};

}  // namespace zvellparser

#endif  // HOST_ZVELLPARSER_TEXT_PIECES_H_
