// From requests to calls.
#include "web_server/front.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "http/cookies.h"
#include "http/problem.h"
#include "http/target.h"
#include "web_server/replies.h"

namespace Quarrow::WebServer {
namespace {

using Http::header_of;
using Http::problem;
using nlohmann::json;
using Segments = std::vector<std::string>;

// The value of a header that is there once; empty otherwise, since which one is meant can't be
// told.
std::string only(const Http::Headers& headers, const std::string& name) {
  const auto has_name = [&](const auto& header) { return header.first == name; };
  if (std::count_if(headers.begin(), headers.end(), has_name) != 1) return "";
  return *header_of(headers, name);
}

// Whether `origin`, such as https://mail.example.org, is that of the host that was asked.
bool is_own_origin(const std::string& origin, const std::string& host) {
  return !host.empty() && (origin == "https://" + host || origin == "http://" + host);
}

// Browsers say with these headers whose page a request comes from; other clients have no page.
bool is_of_another_site(const Http::Headers& headers) {
  const std::string* const site = header_of(headers, "sec-fetch-site");
  if (site != nullptr && *site != "same-origin" && *site != "none") return true;
  const std::string* const origin = header_of(headers, "origin");
  return origin != nullptr && !is_own_origin(*origin, only(headers, "host"));
}

Http::Response not_allowed(const std::string& allowed) {
  Http::Response response = problem(405, "This can be asked with " + allowed + " only.");
  response.headers.emplace_back("allow", allowed);
  return response;
}

bool is_json(const Http::Headers& headers) {
  const std::string type = only(headers, "content-type");
  return type == "application/json" || type.rfind("application/json;", 0) == 0;
}

// A text of the body; a mistake is noted where there is none.
std::string text_in(const json& body, const char* name, std::vector<Http::Mistake>& mistakes) {
  if (body.is_object() && body.contains(name) && body[name].is_string())
    return body[name].get<std::string>();
  mistakes.push_back({std::string("/") + name, "", "This must be a text."});
  return "";
}

}  // namespace

Front::Front(Ask ask, bool trusts_proxy_user, const PageFiles& page)
    : ask_(std::move(ask)), trusts_proxy_user_(trusts_proxy_user), page_(page) {}

Http::Response Front::answer(const Http::Request& request) const {
  const auto target = Http::parse_target(request.target);
  if (!target) return problem(400, "The target of the request is malformed.");
  const Segments& segments = target->segments;
  if (segments.empty() || segments[0] != "api") return page_.answer(segments, request);
  if (segments.size() < 3 || segments[1] != "v1")
    return problem(404, "Nothing is here. The API begins at /api/v1/.");
  if (is_of_another_site(request.headers))
    return problem(403, "The request comes from a page of another site.");
  if (segments == Segments{"api", "v1", "session"}) return answer_session(request);
  if (segments != Segments{"api", "v1", "sessions"}) return pass_on(Call::Kind::work, request);
  if (request.method != "DELETE") return not_allowed("DELETE");
  return pass_on(Call::Kind::sign_out_everywhere, request);
}

Http::Response Front::answer_session(const Http::Request& request) const {
  if (request.method == "GET") return pass_on(Call::Kind::show_session, request);
  if (request.method != "POST" && request.method != "DELETE")
    return not_allowed("GET, POST, DELETE");
  if (trusts_proxy_user_) return problem(403, "The proxy signs users in and out here.");
  return request.method == "POST" ? sign_in(request) : pass_on(Call::Kind::sign_out, request);
}

Http::Response Front::sign_in(const Http::Request& request) const {
  if (!is_json(request.headers)) return problem(415, "Send the user and the password as JSON.");
  const json body = json::parse(request.body, nullptr, false);
  if (body.is_discarded()) return problem(400, "The body is not JSON.");
  std::vector<Http::Mistake> mistakes;
  Call call;
  call.kind = Call::Kind::sign_in;
  call.client = only(request.headers, "x-real-ip");
  call.user = text_in(body, "user", mistakes);
  call.password = text_in(body, "password", mistakes);
  if (!mistakes.empty()) return problem(400, "The user or the password is missing.", mistakes);
  return ask_(call);
}

Http::Response Front::pass_on(Call::Kind kind, const Http::Request& request) const {
  Call call;
  call.kind = kind;
  call.client = only(request.headers, "x-real-ip");
  if (trusts_proxy_user_) call.proxy_user = only(request.headers, "x-quarrow-user");
  call.session = Http::cookie_of(request.headers, session_cookie).value_or("");
  call.token = only(request.headers, "x-quarrow-token");
  call.request = request;
  return ask_(call);
}

}  // namespace Quarrow::WebServer
