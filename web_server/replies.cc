// Sessions as JSON and as cookies.
#include "web_server/replies.h"

#include <nlohmann/json.hpp>

#include "http/cookies.h"
#include "http/problem.h"

namespace Quarrow::WebServer {
namespace {

using Json = nlohmann::ordered_json;

// The browser forgets the cookie then; the admission may end the session sooner.
constexpr std::chrono::hours life_of_cookie{24};

}  // namespace

// With this start of its name, a browser takes it by TLS alone, and from no other host.
const char session_cookie[] = "__Host-quarrow";

Http::Response passing_problem(int status, const std::string& detail,
                               std::chrono::seconds retry_after, const std::string& kind) {
  Json members = Json::object();
  if (!kind.empty()) members["type"] = Http::problem_type(kind);
  Http::Response response = Http::problem_with(status, detail, members);
  response.headers.emplace_back("retry-after", std::to_string(retry_after.count()));
  return response;
}

Http::Response session_shown(const Visitor& visitor) {
  const Json json = {{"user", visitor.user}, {"token", visitor.token}};
  // A name that is no UTF-8 is shown as well as it can be.
  return {200,
          {{"content-type", "application/json"}},
          json.dump(-1, ' ', false, Json::error_handler_t::replace) + '\n'};
}

Http::Response session_begun(const Visitor& visitor, const std::string& session) {
  Http::Response response = session_shown(visitor);
  response.headers.push_back(Http::set_cookie(session_cookie, session, life_of_cookie));
  return response;
}

Http::Response session_ended() {
  return {204, {Http::set_cookie(session_cookie, "", std::chrono::seconds(0))}, ""};
}

}  // namespace Quarrow::WebServer
