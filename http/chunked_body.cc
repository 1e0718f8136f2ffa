// Lines with the chunks' sizes, the chunks, and the trailers.
#include "http/chunked_body.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "http/characters.h"

namespace Quarrow::Http {
namespace {

// Digits of a chunk's size, so that no longer number has to be understood.
constexpr std::size_t most_digits = 15;

}  // namespace

std::size_t ChunkedBody::take(const char* data, std::size_t size, std::string& body) {
  std::size_t used = 0;
  while (used < size && !is_complete() && !refusal_) {
    if (state_ == State::data) {
      const std::size_t count = std::min(size - used, left_);
      body.append(data + used, count);
      used += count;
      left_ -= count;
      if (left_ == 0) state_ = State::data_end;
    } else {
      take_line_byte(data[used++], body.size());
    }
  }
  return used;
}

void ChunkedBody::take_line_byte(char c, std::size_t body_size) {
  if (!may_follow(line_.empty() ? ' ' : line_.back(), c))
    return refuse(400, "A line between chunks ends with CR and LF alone.");
  line_ += c;
  if (line_.size() > most_digits + spare_ + 2) return spend(line_.size());
  if (c != '\n') return;
  line_.resize(line_.size() - 2);
  end_line(std::exchange(line_, {}), body_size);
}

void ChunkedBody::end_line(const std::string& line, std::size_t body_size) {
  if (state_ == State::size) return begin_chunk(line, body_size);
  if (state_ == State::trailer) return end_trailer(line);
  if (!line.empty()) return refuse(400, "A chunk is longer than its size says.");
  state_ = State::size;
}

// An extension begins with a semicolon; blanks before it are read in more than one way.
void ChunkedBody::begin_chunk(const std::string& line, std::size_t body_size) {
  const std::size_t digits = std::min(line.find(';'), line.size());
  const auto [end, error] = std::from_chars(line.data(), line.data() + digits, left_, 16);
  if (digits > most_digits || error != std::errc() || end != line.data() + digits)
    return refuse(400, "The size of a chunk is no hexadecimal number.");
  if (left_ > limit_ - body_size) return refuse(413, "The body is too long.");
  spend(line.size() - digits);
  state_ = left_ > 0 ? State::data : State::trailer;
}

void ChunkedBody::end_trailer(const std::string& line) {
  if (line.empty()) {
    state_ = State::complete;
    return;
  }
  if (!is_token(std::string_view(line).substr(0, line.find(':'))) ||
      line.find(':') == std::string::npos)
    return refuse(400, "A trailer is malformed.");
  spend(line.size());
}

void ChunkedBody::spend(std::size_t bytes) {
  if (bytes > spare_) return refuse(431, "The extensions and trailers of the chunks are too long.");
  spare_ -= bytes;
}

}  // namespace Quarrow::Http
