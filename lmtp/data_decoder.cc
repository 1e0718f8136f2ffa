// Decodes whole stretches of text at a time; only the first bytes of a line are taken one by one.
#include "lmtp/data_decoder.h"

#include <cstring>

namespace Quarrow::Lmtp {

std::size_t DataDecoder::decode(const char* data, std::size_t size, std::string& out) {
  std::size_t used = 0;
  while (used < size && !complete_)
    if (at_ == At::text)
      used += take_text(data + used, size - used, out);
    else if (step(data[used]))
      ++used;
  return used;
}

// Looks at a byte at the beginning of a line. True when it is dealt with, false when it is text.
bool DataDecoder::step(char c) {
  if (at_ == At::line_start && c == '.') {
    at_ = At::dot;
    return true;
  }
  if (at_ == At::dot && c == '\r') {
    at_ = At::dot_cr;
    return true;
  }
  if (at_ == At::dot_cr && c == '\n') {
    complete_ = true;
    return true;
  }
  cr_ = at_ == At::dot_cr;
  at_ = At::text;
  return false;
}

// Takes text up to the end of the line, or all of it.
std::size_t DataDecoder::take_text(const char* data, std::size_t size, std::string& out) {
  const char* const lf = static_cast<const char*>(std::memchr(data, '\n', size));
  const std::size_t length = lf != nullptr ? static_cast<std::size_t>(lf - data) : size;
  if (length > 0) {
    if (cr_) add("\r", 1, out);
    cr_ = data[length - 1] == '\r';
    add(data, cr_ ? length - 1 : length, out);
  }
  if (lf == nullptr) return size;
  end_line(out);
  return length + 1;
}

void DataDecoder::add(const char* data, std::size_t size, std::string& out) {
  out.append(data, size);
  line_ += size;
  size_ += size;
  long_line_ = long_line_ || line_ + 2 > longest_line_;
}

void DataDecoder::end_line(std::string& out) {
  if (!cr_) {
    bare_lf_ = true;
    return add("\n", 1, out);
  }
  cr_ = false;
  out += '\n';
  size_ += 2;
  line_ = 0;
  at_ = At::line_start;
}

}  // namespace Quarrow::Lmtp
