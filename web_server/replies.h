// Answers that need no child.
#ifndef QUARROW_WEB_SERVER_REPLIES_H_
#define QUARROW_WEB_SERVER_REPLIES_H_

#include <chrono>
#include <string>

#include "http/message.h"
#include "web_server/admission.h"

namespace Quarrow::WebServer {

// The name of the cookie that holds the session. Browsers take one of this kind of name only by
// TLS, and only for the host itself (RFC 6265bis, section 4.1.3.2).
extern const char session_cookie[];

// A problem (RFC 9457): what is wrong, and what to do.
Http::Response problem(int status, const std::string& detail);

// The same, with the time after which to try again.
Http::Response problem(int status, const std::string& detail, std::chrono::seconds retry_after);

// Says who is signed in, and tells the token.
Http::Response session_shown(const Visitor& visitor);

// The same, and gives the browser the session's cookie.
Http::Response session_begun(const Visitor& visitor, const std::string& session);

// Takes the cookie from the browser.
Http::Response session_ended();

}  // namespace Quarrow::WebServer

#endif  // QUARROW_WEB_SERVER_REPLIES_H_
