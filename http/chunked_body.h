// The chunked transfer coding (RFC 9112, section 7.1).
#ifndef QUARROW_HTTP_CHUNKED_BODY_H_
#define QUARROW_HTTP_CHUNKED_BODY_H_

#include <cstddef>
#include <optional>
#include <string>

#include "http/limits.h"
#include "http/refusal.h"

namespace Quarrow::Http {

// Takes a body out of its chunks. Extensions and trailers are dropped; together they may have as
// many bytes as a header.
class ChunkedBody {
 public:
  explicit ChunkedBody(const Limits& limits) : limit_(limits.body), spare_(limits.header) {}

  // Takes bytes from the front, up to the end of the body at most, and gives how many; adds what is
  // content to `body`. Takes none once the body is complete or refused.
  std::size_t take(const char* data, std::size_t size, std::string& body);

  bool is_complete() const { return state_ == State::complete; }
  const std::optional<Refusal>& refusal() const { return refusal_; }

 private:
  enum class State { size, data, data_end, trailer, complete };

  void take_line_byte(char c, std::size_t body_size);
  void end_line(const std::string& line, std::size_t body_size);
  void begin_chunk(const std::string& line, std::size_t body_size);
  void end_trailer(const std::string& line);
  void spend(std::size_t bytes);
  void refuse(int status, const char* detail) { refusal_ = Refusal{status, detail}; }

  const std::size_t limit_;
  std::size_t spare_;  // bytes that extensions and trailers may have yet
  State state_ = State::size;
  std::string line_;      // the line under way
  std::size_t left_ = 0;  // bytes of the chunk that are to come
  std::optional<Refusal> refusal_;
};

}  // namespace Quarrow::Http

#endif  // QUARROW_HTTP_CHUNKED_BODY_H_
