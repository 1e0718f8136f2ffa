// Where a request goes.
#ifndef QUARROW_HTTP_TARGET_H_
#define QUARROW_HTTP_TARGET_H_

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace Quarrow::Http {

// A path and parameters, both decoded and in UTF-8 without control characters.
struct Target {
  std::vector<std::string> segments;  // of "/a/b": a, b; of "/a/": a and an empty one; of "/": none
  std::vector<std::pair<std::string, std::string>> parameters;  // in their order
};

// Reads a target in origin form (RFC 9112, section 3.2.1), such as /rules/3?form=json. In the
// query, a plus sign is a blank. Nothing for another form, a character that may not stand in a
// target, a broken or doubtful code (a slash, a backslash or a control character in a segment,
// bytes that are not UTF-8), a dot segment, and an empty segment before the last one.
std::optional<Target> parse_target(const std::string& text);

}  // namespace Quarrow::Http

#endif  // QUARROW_HTTP_TARGET_H_
