// The header lines that tell which way a message came: finding them in a header, and writing those
// that final delivery puts in front.
#ifndef QUARROW_DELIVERY_TRACE_HEADERS_H_
#define QUARROW_DELIVERY_TRACE_HEADERS_H_

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace Quarrow::Delivery {

// The trace lines of a header. The lines above the topmost Received line were put there by the mail
// server that hands the message over now, the lines below it by earlier servers.
struct FoundTrace {
  bool received = false;           // there is a Received line
  bool return_path_above = false;  // Return-Path
  bool delivered_above = false;    // Delivered-To the recipient that was asked for
  bool delivered_below = false;

  // Whether the message was delivered to the recipient before. In a header without Received lines
  // each Delivered-To line counts.
  bool is_loop() const { return delivered_below || (delivered_above && !received); }
};

// Looks for trace lines in `header`, which ends with the first line that is no field. `recipient`
// is compared with letters of either case alike.
FoundTrace find_trace(std::string_view header, std::string_view recipient);

// The addresses in the lines that are put in front.
struct TraceAddresses {
  std::optional<std::string> sender;  // without angle brackets; "" for bounces; none: not known
  std::string recipient;
};

// How a server of our own got a message, for its Received line (RFC 5321, section 4.4).
struct Reception {
  std::string client;    // the name that the client gave itself
  std::string host;      // the name of this host
  std::string protocol;  // "LMTP", as it stands behind "with"
  std::time_t time;
};

// The lines to put in front of a message, and whether it loops.
struct TraceHeaders {
  bool is_loop = false;  // the message was delivered to this recipient before
  std::string lines;     // whole lines, with the line ends that the message's first line has
};

// For a message that another mail server hands over: Return-Path and Delivered-To, each unless that
// server has put it above the topmost Received line already. Return-Path needs a known sender.
//
// Blanks around addresses are left out, control characters in them become "?", so that none begins
// a header line of its own, and after 900 bytes they are cut off (RFC 5322, section 2.1.1, allows
// lines of 998).
TraceHeaders trace_headers(std::string_view message, const TraceAddresses& addresses);

// For a message that a server of our own has received: Return-Path, Delivered-To and Received,
// above all lines that the message brings along. The addresses keep their length and their blanks.
// A client's name with characters that mean something in a Received line becomes "unknown".
TraceHeaders trace_headers(std::string_view message, const TraceAddresses& addresses,
                           const Reception& reception);

// The size of the lines at the start of `message`, as it is stored, that trace_headers has put
// there; 0 where there are none. A Received line that is written as only our server writes it shows
// them. Without it, Return-Path and Delivered-To at the very start count where `is_ours` says that
// a delivery of ours stored the message: another server may have written the same.
std::size_t added_headers_size(std::string_view message, bool is_ours);

// `text` without the blanks and line ends around it.
std::string_view trimmed(std::string_view text);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_TRACE_HEADERS_H_
