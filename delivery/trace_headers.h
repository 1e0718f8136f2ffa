// The header lines that final delivery adds, and the mail loops that they show.
#ifndef QUARROW_DELIVERY_TRACE_HEADERS_H_
#define QUARROW_DELIVERY_TRACE_HEADERS_H_

#include <optional>
#include <string>
#include <string_view>

namespace Quarrow::Delivery {

// Between whom a message goes.
struct Envelope {
  std::optional<std::string> sender;  // without angle brackets; "" for bounces; none: not known
  std::string recipient;
};

// What a message's header says about the way it came.
struct Trace {
  bool loop = false;          // it was delivered to this recipient before
  std::string added_headers;  // Return-Path (RFC 5321, section 4.4) and Delivered-To, with LF
};

// Looks at the header of `message`. What stands above the topmost Received line was put there by
// the mail server that hands the message over now. A Delivered-To line for the recipient is
// therefore a loop only below it, and is not added where the server has done so; the same goes for
// Return-Path. In a header without Received lines each Delivered-To line counts.
//
// Control characters in addresses become "?", so that none begins a header line of its own, and
// what is behind 900 bytes is cut off (RFC 5322, section 2.1.1, allows lines of 998).
Trace trace_of(std::string_view message, const Envelope& envelope);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_TRACE_HEADERS_H_
