// A request and its answer, as HTTP has them (RFC 9110), without a connection.
#ifndef QUARROW_HTTP_MESSAGE_H_
#define QUARROW_HTTP_MESSAGE_H_

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace Quarrow::Http {

// Names, in small letters, and values, in their order.
using Headers = std::vector<std::pair<std::string, std::string>>;

struct Request {
  std::string method;  // GET
  std::string target;  // as the client wrote it: /api/v1/rules/3?form=json
  Headers headers;
  std::string body;
};

struct Response {
  int status = 200;
  Headers headers;  // without those that frame the message, such as Content-Length
  std::string body;
};

// The value of the first header with this name, in small letters; null without one.
inline const std::string* header_of(const Headers& headers, const std::string& name) {
  for (const auto& header : headers)
    if (header.first == name) return &header.second;
  return nullptr;
}

// Answers a request. It throws nothing.
using Handler = std::function<Response(const Request& request)>;

}  // namespace Quarrow::Http

#endif  // QUARROW_HTTP_MESSAGE_H_
