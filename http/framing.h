// What makes it doubtful where a request ends, or for whom it is: a proxy in front may see that
// otherwise, and take what a client wrote for two requests, or two for one.
#ifndef QUARROW_HTTP_FRAMING_H_
#define QUARROW_HTTP_FRAMING_H_

#include <optional>
#include <string>

#include "http/head_parser.h"
#include "http/limits.h"
#include "http/refusal.h"

namespace Quarrow::Http {

// Why a request line, without its line end, is refused for its form, its target's length or its
// version. Its method and its target are not looked at.
std::optional<Refusal> refusal_of_line(const std::string& line, const Limits& limits);

// Why a header is refused.
std::optional<Refusal> refusal_of_head(const Head& head, const Limits& limits);

}  // namespace Quarrow::Http

#endif  // QUARROW_HTTP_FRAMING_H_
