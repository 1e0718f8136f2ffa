// Answers as bytes.
#ifndef QUARROW_HTTP_RESPONSE_TEXT_H_
#define QUARROW_HTTP_RESPONSE_TEXT_H_

#include <ctime>
#include <string>

#include "http/message.h"

namespace Quarrow::Http {

// How a response goes out.
struct Sending {
  bool is_last = false;       // the connection is closed behind it
  bool without_body = false;  // the request was a HEAD
  bool to_old = false;        // the client knows HTTP/1.0 only
};

// Whether a response may go out: a status from 200 to 599, headers whose names are tokens and whose
// values hold no line end or other control character, and none that frames the message.
bool is_sendable(const Response& response);

// The bytes of a response that is sendable, made at `now`.
std::string response_text(const Response& response, const Sending& sending, std::time_t now);

}  // namespace Quarrow::Http

#endif  // QUARROW_HTTP_RESPONSE_TEXT_H_
