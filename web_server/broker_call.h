// What a worker asks of the broker, what the broker asks of a child, and the answers, as packets.
#ifndef QUARROW_WEB_SERVER_BROKER_CALL_H_
#define QUARROW_WEB_SERVER_BROKER_CALL_H_

#include <optional>
#include <string>
#include <string_view>

#include "http/message.h"

namespace Quarrow::WebServer {

struct Call {
  enum class Kind {
    work,                 // something with the rights of the user who is signed in
    show_session,         // says who is signed in, and tells the token for changes
    sign_in,              // begins a session
    sign_out,             // ends the session
    sign_out_everywhere,  // ends all sessions of the user
  };

  Kind kind = Kind::work;
  std::string client;      // the client's address, as the proxy tells it; may be empty
  std::string proxy_user;  // the name that the proxy has checked; empty: none
  std::string session;     // the value of the session's cookie; empty: none
  std::string token;       // that a change carries
  std::string user;        // for sign_in, as typed; for a child, the user to work for
  std::string password;    // for sign_in
  Http::Request request;
};

std::string encode(const Call& call);
std::string encode(const Http::Response& response);

// What a packet of encode() holds. The sender is not trusted: nothing, unless all is there and in
// its range. A response can be sent as it is (Http::is_sendable).
std::optional<Call> decode_call(std::string_view packet);
std::optional<Http::Response> decode_response(std::string_view packet);

}  // namespace Quarrow::WebServer

#endif  // QUARROW_WEB_SERVER_BROKER_CALL_H_
