// What the server answers.
#ifndef QUARROW_LMTP_REPLY_H_
#define QUARROW_LMTP_REPLY_H_

#include <string>

namespace Quarrow::Lmtp {

// One reply: its code (RFC 5321, section 4.2), its enhanced status code (RFC 2034; empty where the
// protocol has none), and a text for people.
struct Reply {
  int code = 0;
  std::string status;
  std::string text;

  // Whether the client may go on: 2xx and 3xx.
  bool is_positive() const { return code < 400; }
};

// The reply as a line, CRLF included. Of the text, control characters become blanks, bytes outside
// ASCII question marks, and what passes longest_reply_text is cut.
std::string reply_line(const Reply& reply);

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_REPLY_H_
