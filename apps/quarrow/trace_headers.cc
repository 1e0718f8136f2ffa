// Return-Path and Delivered-To.
#include "apps/quarrow/trace_headers.h"

#include <strings.h>

#include "apps/quarrow/printable.h"

namespace command {
namespace {

constexpr std::size_t longest_address = 900;

bool same_text(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
  return text;
}

// `address` as it stands in a header line.
std::string harmless(std::string_view address) {
  return with_controls_as('?', std::string(trimmed(address).substr(0, longest_address)));
}

// Takes the first line off `text`, with its end.
std::string_view take_line(std::string_view& text) {
  const std::size_t end = text.find('\n');
  const std::size_t length = end == std::string_view::npos ? text.size() : end + 1;
  const std::string_view line = text.substr(0, length);
  text.remove_prefix(length);
  return line;
}

struct Field {
  std::string_view name;
  std::string_view value;  // folded still
};

// Takes the first field off a header; none at its end, which is the first line that is no field.
std::optional<Field> take_field(std::string_view& header) {
  const char* const start = header.data();
  std::string_view line = take_line(header);
  const std::size_t colon = line.find(':');
  if (colon == std::string_view::npos || is_blank(line.front())) return std::nullopt;
  while (!header.empty() && (header.front() == ' ' || header.front() == '\t'))
    (void)take_line(header);
  const std::string_view field(start, static_cast<std::size_t>(header.data() - start));
  return Field{trimmed(field.substr(0, colon)), trimmed(field.substr(colon + 1))};
}

// What the fields above the topmost Received line say, and those below.
struct Found {
  bool received = false;
  bool return_path_above = false;
  bool delivered_above = false;
  bool delivered_below = false;
};

Found look_for(std::string_view recipient, std::string_view header) {
  Found found;
  while (const auto field = take_field(header)) {
    if (same_text(field->name, "Received")) found.received = true;
    if (same_text(field->name, "Return-Path") && !found.received) found.return_path_above = true;
    if (same_text(field->name, "Delivered-To") && same_text(field->value, recipient))
      (found.received ? found.delivered_below : found.delivered_above) = true;
  }
  return found;
}

}  // namespace

Trace trace_of(std::string_view message, const Envelope& envelope) {
  const std::string recipient = harmless(envelope.recipient);
  const Found found = look_for(recipient, message);
  Trace trace;
  trace.loop = found.delivered_below || (found.delivered_above && !found.received);
  if (envelope.sender && !(found.return_path_above && found.received))
    trace.added_headers += "Return-Path: <" + harmless(*envelope.sender) + ">\n";
  if (!found.delivered_above) trace.added_headers += "Delivered-To: " + recipient + '\n';
  return trace;
}

}  // namespace command
