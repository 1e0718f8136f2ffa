// How much a client may ask for: all bounds of a session stand here.
#ifndef QUARROW_LMTP_LIMITS_H_
#define QUARROW_LMTP_LIMITS_H_

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "server/deadline.h"

namespace Quarrow::Lmtp {

// RFC 5321, section 4.5.3.2, asks a server for this patience at least.
static_assert(Server::Patience{}.silence >= std::chrono::minutes(5));

// Octets of a command line, CRLF included. RFC 5321 asks for 512, and its extensions for some more.
constexpr std::size_t longest_command = 4096;

// Octets of the text in a reply, so that a line with it stays within 512 (RFC 5321, section
// 4.5.3.1.5).
constexpr std::size_t longest_reply_text = 400;

// Commands since the last message that were not understood or came at the wrong time.
constexpr unsigned most_errors = 20;

// Commands since the last message that bring no message nearer: NOOP, RSET, VRFY, LHLO and MAIL.
constexpr unsigned most_idle_commands = 100;

// Recipients since the last message that were refused. A transaction of an honest client may have
// unknown recipients alone; a search for known ones goes on for longer.
constexpr unsigned most_refused_recipients = 1000;

// Largest messages' worth of bytes that are dropped between two messages, since they belong to a
// message that is refused or a line that is too long. An honest client sends no such giants.
constexpr std::uint64_t most_dropped_messages = 16;

// Bytes at the beginning of a message in which the server looks for trace lines and the message's
// identifier. One round of a mail loop adds far fewer.
constexpr std::size_t most_header = 262144;

// Users' folders that the server looks at when it starts, and folders that can't be written that
// its log names then.
constexpr std::size_t most_inspected_users = 10000;
constexpr std::size_t most_told_folders = 10;

// The bounds that an administrator may set.
struct Limits {
  std::uint64_t message = 64U << 20U;   // octets on the wire, with CRLF line ends (RFC 1870)
  std::size_t line = 1000;              // octets of a line with its CRLF (RFC 5321, 4.5.3.1.6)
  std::size_t recipients = 1000;        // of one message; RFC 5321 asks for 100
  std::uint64_t in_memory = 1U << 20U;  // bytes of a message that is kept off the disk
};

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_LIMITS_H_
