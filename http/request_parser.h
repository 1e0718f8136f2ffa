// Requests out of a client's bytes (RFC 9112).
#ifndef QUARROW_HTTP_REQUEST_PARSER_H_
#define QUARROW_HTTP_REQUEST_PARSER_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "http/chunked_body.h"
#include "http/limits.h"
#include "http/message.h"
#include "http/refusal.h"

namespace Quarrow::Http {

// Reads one request after the other. What it makes of the bytes does not depend on how they are cut
// into blocks. It refuses all whose end two programs could see at different places: after a refusal
// nothing more can be read.
class RequestParser {
 public:
  explicit RequestParser(const Limits& limits) : limits_(limits) {}

  // Takes bytes from the front, up to the end of the header or of the request at most, and gives
  // how many. Takes none once the request is complete or refused.
  std::size_t take(const char* data, std::size_t size);

  // Whether bytes of a request came that is neither complete nor refused.
  bool has_begun() const;

  bool is_complete() const { return state_ == State::complete; }
  const std::optional<Refusal>& refusal() const { return refusal_; }

  // Bytes of the body that follow a refusal for its length; 0 behind any other refusal.
  std::uint64_t refused_bytes() const { return refused_bytes_; }

  // Whether the client waits for leave to send the body. True once a request.
  bool wants_continue();

  // Of the request that is complete: whether another one may follow, whether the client knows
  // HTTP/1.0 only, and the request itself. After this the parser begins with the next one.
  bool keeps_alive() const { return keeps_alive_; }
  bool is_old() const { return version_ == 10; }
  Request take_request();

 private:
  enum class State { head, sized_body, chunked_body, complete, refused };

  std::size_t take_head(const char* data, std::size_t size);
  std::optional<Refusal> take_head_byte(char c);
  std::size_t take_sized_body(const char* data, std::size_t size);
  std::size_t take_chunked_body(const char* data, std::size_t size);
  std::optional<Refusal> end_head();
  std::optional<Refusal> read_head();
  void refuse(Refusal refusal);

  const Limits limits_;
  State state_ = State::head;
  bool blank_line_ = false;  // an empty line stood before the request
  std::string head_;         // the request line and the headers, with their line ends
  Request request_;
  int version_ = 11;
  bool keeps_alive_ = true;
  bool wants_continue_ = false;
  std::uint64_t left_ = 0;  // bytes of a sized body that are to come
  std::uint64_t refused_bytes_ = 0;
  std::optional<ChunkedBody> chunks_;
  std::optional<Refusal> refusal_;
};

}  // namespace Quarrow::Http

#endif  // QUARROW_HTTP_REQUEST_PARSER_H_
