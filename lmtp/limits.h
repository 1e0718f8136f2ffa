// How much a client may ask for: everything that bounds a session stands here.
#ifndef QUARROW_LMTP_LIMITS_H_
#define QUARROW_LMTP_LIMITS_H_

#include <cstddef>
#include <cstdint>

namespace Quarrow::Lmtp {

// Octets of a command line, CRLF included. RFC 5321 asks for 512, and its extensions for some more.
constexpr std::size_t longest_command = 4096;

// Octets of the text in a reply, so that a line with it stays within 512 (RFC 5321, section
// 4.5.3.1.5).
constexpr std::size_t longest_reply_text = 400;

// Commands that were not understood or came at the wrong time, since the last message.
constexpr unsigned most_errors = 20;

// Commands that bring no message nearer (NOOP, RSET, VRFY, LHLO, and each MAIL), since the last
// message.
constexpr unsigned most_idle_commands = 100;

// Recipients that were refused, since the last message: a whole transaction of unknown ones is
// honest, a search for known ones goes on for longer.
constexpr unsigned most_refused_recipients = 1000;

// Bytes at the beginning of a message in which its header is looked through for trace lines and its
// identifier. What was added on one round of a mail loop is less by far.
constexpr std::size_t most_header = 262144;

// What an administrator may set.
struct Limits {
  std::uint64_t message = 64U << 20U;  // octets on the wire, with CRLF line ends (RFC 1870)
  std::size_t line = 1000;        // octets of a message's line with its CRLF (RFC 5321, 4.5.3.1.6)
  std::size_t recipients = 1000;  // of one message; RFC 5321 asks for 100
};

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_LIMITS_H_
