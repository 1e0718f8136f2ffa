// Problems and sessions as JSON.
#include "web_server/replies.h"

#include <nlohmann/json.hpp>

namespace Quarrow::WebServer {
namespace {

using Json = nlohmann::ordered_json;

const char cookie_rules[] = "; Path=/; Secure; HttpOnly; SameSite=Strict";

// A name that is no UTF-8 is shown as well as it can be.
std::string text_of(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

// The answer is for this client alone, and now.
Http::Response json_response(int status, const char* type, const Json& json) {
  return {status, {{"content-type", type}, {"cache-control", "no-store"}}, text_of(json)};
}

const char* title_of(int status) {
  switch (status) {
    case 400:
      return "Bad request";
    case 401:
      return "Not signed in";
    case 403:
      return "Forbidden";
    case 404:
      return "Not found";
    case 405:
      return "Method not allowed";
    case 415:
      return "Not JSON";
    case 429:
      return "Too many requests";
    case 503:
      return "Not available";
    case 504:
      return "Too slow";
    default:
      return "Internal error";
  }
}

}  // namespace

const char session_cookie[] = "__Host-quarrow";

Http::Response problem(int status, const std::string& detail) {
  return json_response(status, "application/problem+json",
                       {{"title", title_of(status)}, {"status", status}, {"detail", detail}});
}

Http::Response problem(int status, const std::string& detail, std::chrono::seconds retry_after) {
  Http::Response response = problem(status, detail);
  response.headers.emplace_back("retry-after", std::to_string(retry_after.count()));
  return response;
}

Http::Response session_shown(const Visitor& visitor) {
  return json_response(200, "application/json", {{"user", visitor.user}, {"token", visitor.token}});
}

Http::Response session_begun(const Visitor& visitor, const std::string& session) {
  Http::Response response = session_shown(visitor);
  response.headers.emplace_back("set-cookie",
                                std::string(session_cookie) + '=' + session + cookie_rules);
  return response;
}

Http::Response session_ended() {
  return {204,
          {{"cache-control", "no-store"},
           {"set-cookie", std::string(session_cookie) + "=; Max-Age=0" + cookie_rules}},
          ""};
}

}  // namespace Quarrow::WebServer
