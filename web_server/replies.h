// Answers that need no child.
#ifndef QUARROW_WEB_SERVER_REPLIES_H_
#define QUARROW_WEB_SERVER_REPLIES_H_

#include <chrono>
#include <string>

#include "http/message.h"
#include "web_server/admission.h"

namespace Quarrow::WebServer {

// The name of the cookie that holds the session.
extern const char session_cookie[];

// A problem that is over after that time. Where the status alone does not tell its kind, `kind`
// does: a word for its type.
Http::Response passing_problem(int status, const std::string& detail,
                               std::chrono::seconds retry_after = std::chrono::seconds(1),
                               const std::string& kind = "");

// Says who is signed in, and tells the token.
Http::Response session_shown(const Visitor& visitor);

// The same, and gives the browser the session's cookie.
Http::Response session_begun(const Visitor& visitor, const std::string& session);

// Takes the cookie from the browser.
Http::Response session_ended();

}  // namespace Quarrow::WebServer

#endif  // QUARROW_WEB_SERVER_REPLIES_H_
