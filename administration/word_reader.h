// Words taken off the front of a text.
#ifndef QUARROW_ADMINISTRATION_WORD_READER_H_
#define QUARROW_ADMINISTRATION_WORD_READER_H_

#include <cstddef>
#include <string>

namespace Quarrow::Administration {

// Words are separated by blanks. The text must outlive the reader.
class WordReader {
 public:
  explicit WordReader(const std::string& text) : text_(text) {}

  // The next word; empty at the end. The one blank behind it is gone, too.
  std::string next();

  // Whether the next words are those of `phrase`, regardless of ASCII case; they are then taken, as
  // next() takes them.
  bool take(const std::string& phrase);

  // All that is left, with its blanks.
  std::string rest() const { return text_.substr(position_); }

 private:
  const std::string& text_;
  std::size_t position_ = 0;
};

}  // namespace Quarrow::Administration

#endif  // QUARROW_ADMINISTRATION_WORD_READER_H_
