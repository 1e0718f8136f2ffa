// The lines in a message's header that tell which way it came, and that it was here before.
#ifndef QUARROW_DELIVERY_TRACE_LINES_H_
#define QUARROW_DELIVERY_TRACE_LINES_H_

#include <string_view>

namespace Quarrow::Delivery {

// What stands above the topmost Received line was put there by the mail server that hands the
// message over now, what stands below it by those before.
struct TraceLines {
  bool received = false;
  bool return_path_above = false;
  bool delivered_above = false;  // Delivered-To the recipient that is asked for
  bool delivered_below = false;

  // Whether the message was delivered to the recipient before. In a header without Received lines
  // each Delivered-To line counts.
  bool are_of_a_loop() const { return delivered_below || (delivered_above && !received); }
};

// Looks for them in `header`, which ends with the first line that is no field. `recipient` is
// compared with letters of either case alike.
TraceLines trace_lines(std::string_view header, std::string_view recipient);

// `text` without the blanks and line ends around it.
std::string_view trimmed(std::string_view text);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_TRACE_LINES_H_
