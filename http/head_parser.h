// The header of a request as Boost.Beast reads it.
#ifndef QUARROW_HTTP_HEAD_PARSER_H_
#define QUARROW_HTTP_HEAD_PARSER_H_

#include <cstdint>
#include <optional>
#include <string>

#include "http/message.h"

namespace Quarrow::Http {

struct Head {
  Request request;  // without its body
  int version = 0;  // 10 or 11
  bool keeps_alive = false;
  bool is_chunked = false;
  std::uint64_t length = 0;  // of a body that is not chunked
};

// Reads a request line and headers, with the empty line behind them. Nothing when that is no
// request, or one whose length is told twice. Beast takes more than is safe: framing.h has the
// rest.
std::optional<Head> parse_head(const std::string& text);

}  // namespace Quarrow::Http

#endif  // QUARROW_HTTP_HEAD_PARSER_H_
