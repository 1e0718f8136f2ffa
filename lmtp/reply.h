// The server's replies.
#ifndef QUARROW_LMTP_REPLY_H_
#define QUARROW_LMTP_REPLY_H_

#include <string>

namespace Quarrow::Lmtp {

// One reply.
struct Reply {
  int code = 0;        // RFC 5321, section 4.2
  std::string status;  // enhanced status code (RFC 2034); empty where the protocol has none
  std::string text;    // for people

  // Whether the client may go on: 2xx and 3xx.
  bool is_positive() const { return code < 400; }
};

// The reply as a line, CRLF included. The text is cut to longest_reply_text; control characters in
// it become blanks, bytes outside ASCII question marks.
std::string reply_line(const Reply& reply);

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_REPLY_H_
