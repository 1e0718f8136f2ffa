// Blanks and words.
#include "administration/word_reader.h"

#include <algorithm>

#include "host/zvellparser/ascii_case.h"

namespace Quarrow::Administration {

std::string WordReader::next() {
  const std::size_t begin = std::min(text_.find_first_not_of(' ', position_), text_.size());
  const std::size_t end = std::min(text_.find(' ', begin), text_.size());
  position_ = std::min(end + 1, text_.size());
  return text_.substr(begin, end - begin);
}

bool WordReader::take(const std::string& phrase) {
  const std::size_t before = position_;
  WordReader wanted(phrase);
  for (std::string word = wanted.next(); !word.empty(); word = wanted.next()) {
    if (zvellparser::equal_ignoring_case(next(), word)) continue;
    position_ = before;
    return false;
  }
  return true;
}

}  // namespace Quarrow::Administration
