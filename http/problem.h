// Answers that say what went wrong (RFC 9457).
#ifndef QUARROW_HTTP_PROBLEM_H_
#define QUARROW_HTTP_PROBLEM_H_

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "http/message.h"

namespace Quarrow::Http {

// What is wrong with one place of a request.
struct Mistake {
  std::string pointer;    // into the JSON of the body (RFC 6901), such as /tests/0/value
  std::string parameter;  // of the target; empty where the mistake is in the body
  std::string detail;     // a sentence for people
};

// An answer with this status and a body as application/problem+json: type, title, status, detail
// and, where there are mistakes, the list "errors" of {"pointer" or "parameter", "detail"}. Bytes
// that are not UTF-8 become U+FFFD.
Response problem(int status, const std::string& detail, const std::vector<Mistake>& mistakes = {});

// The type of problems of a kind that their status does not tell, such as "no-room".
std::string problem_type(const std::string& kind);

// A problem without mistakes, and with the members of the object `members`, which replace ours of
// the same name.
Response problem_with(int status, const std::string& detail, const nlohmann::ordered_json& members);

}  // namespace Quarrow::Http

#endif  // QUARROW_HTTP_PROBLEM_H_
