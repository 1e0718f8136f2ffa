// A worker's part in answering a request: what is read from it for the broker.
#ifndef QUARROW_WEB_SERVER_FRONT_H_
#define QUARROW_WEB_SERVER_FRONT_H_

#include <functional>

#include "http/message.h"
#include "web_server/broker_call.h"
#include "web_server/page_files.h"

namespace Quarrow::WebServer {

// Asks the broker (see Caller).
using Ask = std::function<Http::Response(const Call& call)>;

// Answers requests in a worker. It reads what strangers wrote, so that the broker need not: the
// target, the JSON of a sign-in, cookies, and the headers that the proxy adds. Nothing that is
// decided here keeps a worker that was taken over from anything; all such is the broker's.
class Front {
 public:
  // `trusts_proxy_user`: the header X-Quarrow-User is the proxy's, and names the user. `page`
  // outlives this object.
  Front(Ask ask, bool trusts_proxy_user, const PageFiles& page);

  // What is not below /api is a file of the page. A request to the API that a page of another site
  // made gets 403.
  Http::Response answer(const Http::Request& request) const;

 private:
  Http::Response answer_session(const Http::Request& request) const;
  Http::Response sign_in(const Http::Request& request) const;
  Http::Response pass_on(Call::Kind kind, const Http::Request& request) const;

  const Ask ask_;
  const bool trusts_proxy_user_;
  const PageFiles& page_;
};

}  // namespace Quarrow::WebServer

#endif  // QUARROW_WEB_SERVER_FRONT_H_
