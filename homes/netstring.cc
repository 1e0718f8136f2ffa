// Lengths, texts and commas.
#include "homes/netstring.h"

#include <algorithm>
#include <utility>

namespace Quarrow::Homes {

std::string netstring(const std::string& text) {
  return std::to_string(text.size()) + ':' + text + ',';
}

std::size_t NetstringReader::read(const char* data, std::size_t size) {
  std::size_t used = 0;
  while (used < size && (state_ == State::begin || state_ == State::incomplete)) {
    if (in_length_) {
      read_length(data[used++]);
    } else if (text_.size() == length_) {
      end(data[used++]);
    } else {
      const std::size_t part = std::min(length_ - text_.size(), size - used);
      text_.append(data + used, part);
      used += part;
    }
  }
  return used;
}

// Digits without a zero in front of others, then a colon.
void NetstringReader::read_length(char c) {
  const bool is_first = state_ == State::begin;
  state_ = State::incomplete;
  if (c == ':' && !is_first) {
    in_length_ = false;
  } else if (c < '0' || c > '9' || (!is_first && length_ == 0)) {
    state_ = State::wrong;
  } else {
    length_ = length_ * 10 + static_cast<std::size_t>(c - '0');
    if (length_ > longest_) state_ = State::wrong;
  }
}

void NetstringReader::end(char c) { state_ = c == ',' ? State::complete : State::wrong; }

std::string NetstringReader::take_text() {
  state_ = State::begin;
  in_length_ = true;
  length_ = 0;
  return std::exchange(text_, "");
}

}  // namespace Quarrow::Homes
