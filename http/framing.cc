// RFC 9112, sections 3, 6 and 11, and RFC 9110, sections 7.2, 9.1 and 10.1.1.
#include "http/framing.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "host/zvellparser/ascii_case.h"
#include "http/target.h"

namespace Quarrow::Http {
namespace {

using zvellparser::equal_ignoring_case;

constexpr std::string_view digits = "0123456789";
constexpr std::string_view host_characters =
    "-._:[]0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

bool has_only(std::string_view text, std::string_view characters) {
  return !text.empty() && text.find_first_not_of(characters) == std::string_view::npos;
}

std::vector<std::string> values_of(const Headers& headers, std::string_view name) {
  std::vector<std::string> values;
  for (const auto& header : headers)
    if (header.first == name) values.push_back(header.second);
  return values;
}

std::optional<Refusal> refusal_of_host(const Head& head) {
  const auto hosts = values_of(head.request.headers, "host");
  if (hosts.size() > 1) return Refusal{400, "There is more than one Host."};
  if (hosts.empty())
    return head.version == 10 ? std::nullopt
                              : std::optional<Refusal>({400, "The header Host is missing."});
  if (!has_only(hosts[0], host_characters)) return Refusal{400, "The Host is no name of a host."};
  return std::nullopt;
}

std::optional<Refusal> refusal_of_length(const Head& head, const Limits& limits) {
  const auto lengths = values_of(head.request.headers, "content-length");
  if (lengths.empty()) return std::nullopt;
  if (lengths.size() > 1) return Refusal{400, "There is more than one Content-Length."};
  if (!has_only(lengths[0], digits)) return Refusal{400, "The Content-Length is no number."};
  if (head.length > limits.body) return Refusal{413, "The body is too long."};
  return std::nullopt;
}

std::optional<Refusal> refusal_of_coding(const Head& head) {
  const auto codings = values_of(head.request.headers, "transfer-encoding");
  if (codings.empty()) return std::nullopt;
  if (head.version == 10) return Refusal{400, "HTTP/1.0 has no Transfer-Encoding."};
  if (header_of(head.request.headers, "content-length") != nullptr)
    return Refusal{400, "Content-Length and Transfer-Encoding exclude each other."};
  if (codings.size() > 1) return Refusal{400, "There is more than one Transfer-Encoding."};
  if (!equal_ignoring_case(codings[0], "chunked"))
    return Refusal{501, "The only Transfer-Encoding that is understood is chunked."};
  return std::nullopt;
}

std::optional<Refusal> refusal_of_expectation(const Head& head) {
  for (const auto& expectation : values_of(head.request.headers, "expect"))
    if (head.version > 10 && !equal_ignoring_case(expectation, "100-continue"))
      return Refusal{417, "The only expectation that is understood is 100-continue."};
  return std::nullopt;
}

std::optional<Refusal> refusal_of_request(const Request& request) {
  static const std::vector<std::string> methods = {"GET",   "HEAD",   "POST",   "PUT",
                                                   "PATCH", "DELETE", "OPTIONS"};
  if (std::find(methods.begin(), methods.end(), request.method) == methods.end())
    return Refusal{501, "The method is not understood."};
  if (!parse_target(request.target)) return Refusal{400, "The target is no path of this server."};
  return std::nullopt;
}

// Whether `text` is HTTP, a slash, and a digit on each side of a dot.
bool is_version(std::string_view text) {
  return text.size() == 8 && text.substr(0, 5) == "HTTP/" && has_only(text.substr(5, 1), digits) &&
         text[6] == '.' && has_only(text.substr(7), digits);
}

}  // namespace

std::optional<Refusal> refusal_of_line(const std::string& line, const Limits& limits) {
  const std::size_t target = line.find(' ') + 1;
  const std::size_t version = line.rfind(' ') + 1;
  if (target == version) return Refusal{400, "A request line has a method, a target, a version."};
  if (!is_version(std::string_view(line).substr(version)))
    return Refusal{400, "The version of HTTP has no form of a version."};
  if (line.compare(version, 7, "HTTP/1.") != 0 || line[version + 7] > '1')
    return Refusal{505, "This server speaks HTTP/1.1."};
  if (version - 1 - target > limits.target) return Refusal{414, "The target is too long."};
  return std::nullopt;
}

std::optional<Refusal> refusal_of_head(const Head& head, const Limits& limits) {
  if (head.request.headers.size() > limits.headers)
    return Refusal{431, "There are too many headers."};
  if (auto refusal = refusal_of_host(head)) return refusal;
  if (auto refusal = refusal_of_length(head, limits)) return refusal;
  if (auto refusal = refusal_of_coding(head)) return refusal;
  if (auto refusal = refusal_of_expectation(head)) return refusal;
  return refusal_of_request(head.request);
}

}  // namespace Quarrow::Http
