// Return-Path and Delivered-To.
#include "delivery/trace_headers.h"

#include "delivery/trace_lines.h"
#include "system/printable.h"

namespace Quarrow::Delivery {
namespace {

constexpr std::size_t longest_address = 900;

// `address` as it stands in a header line.
std::string harmless(std::string_view address) {
  const std::string_view trimmed = Quarrow::Delivery::trimmed(address);
  return with_controls_as('?', std::string(trimmed.substr(0, longest_address)));
}

}  // namespace

Trace trace_of(std::string_view message, const Envelope& envelope) {
  const std::string recipient = harmless(envelope.recipient);
  const auto found = Quarrow::Delivery::trace_lines(message, recipient);
  Trace trace;
  trace.loop = found.are_of_a_loop();
  if (envelope.sender && !(found.return_path_above && found.received))
    trace.added_headers += "Return-Path: <" + harmless(*envelope.sender) + ">\n";
  if (!found.delivered_above) trace.added_headers += "Delivered-To: " + recipient + '\n';
  return trace;
}

}  // namespace Quarrow::Delivery
