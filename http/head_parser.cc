// Alone includes Beast, which takes seconds to compile. Bodies are not given to it: where the first
// chunk of a body is the last one and comes in single bytes, an assertion of its release 1.74 ends
// the process.
#include "http/head_parser.h"

#include <algorithm>
#include <boost/beast/http/basic_parser.hpp>
#include <limits>

#include "host/zvellparser/ascii_case.h"

namespace Quarrow::Http {
namespace {

namespace beast = boost::beast;
using beast::error_code;
using beast::string_view;

class Parser : public beast::http::basic_parser<true> {
 public:
  Head head;

 private:
  void on_request_impl(beast::http::verb, string_view method, string_view target, int version,
                       error_code&) override {
    head.request.method = std::string(method);
    head.request.target = std::string(target);
    head.version = version;
  }
  void on_field_impl(beast::http::field, string_view name, string_view value,
                     error_code&) override {
    std::string small(name);
    std::transform(small.begin(), small.end(), small.begin(), zvellparser::ascii_lower);
    head.request.headers.emplace_back(std::move(small), std::string(value));
  }
  void on_header_impl(error_code&) override {}
  void on_finish_impl(error_code&) override {}

  // A request's header leads to none of these.
  void on_response_impl(int, string_view, int, error_code&) override {}
  void on_body_init_impl(const boost::optional<std::uint64_t>&, error_code&) override {}
  std::size_t on_body_impl(string_view, error_code&) override { return 0; }
  void on_chunk_header_impl(std::uint64_t, string_view, error_code&) override {}
  std::size_t on_chunk_body_impl(std::uint64_t, string_view, error_code&) override { return 0; }
};

}  // namespace

std::optional<Head> parse_head(const std::string& text) {
  Parser parser;
  parser.header_limit(std::numeric_limits<std::uint32_t>::max());  // both are bounded by the caller
  parser.body_limit(std::numeric_limits<std::uint64_t>::max());
  error_code error;
  const std::size_t used = parser.put({text.data(), text.size()}, error);
  if (error || used != text.size() || !parser.is_header_done()) return std::nullopt;
  parser.head.keeps_alive = parser.keep_alive();
  parser.head.is_chunked = parser.chunked();
  parser.head.length = parser.content_length().value_or(0);
  return std::move(parser.head);
}

}  // namespace Quarrow::Http
