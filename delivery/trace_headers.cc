// A walk over the fields of a header, without decoding them, and writing new fields.
#include "delivery/trace_headers.h"

#include <strings.h>

#include "system/printable.h"

namespace Quarrow::Delivery {
namespace {

constexpr std::size_t longest_address = 900;

// The characters of a host's name or an address literal.
const char host_characters[] =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_.:[]";

bool same_text(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

bool starts_with(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

bool ends_with(std::string_view text, std::string_view end) {
  return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

bool is_blank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

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

// `address` as it stands in a header line.
std::string in_header(std::string_view address) {
  return with_controls_as('?', std::string(address));
}

// The same for an address that may be longer than a header line.
std::string cut_for_header(std::string_view address) {
  return in_header(trimmed(address).substr(0, longest_address));
}

std::string return_path_line(const std::string& sender) {
  return "Return-Path: <" + sender + ">\n";
}

std::string delivered_to_line(const std::string& recipient) {
  return "Delivered-To: " + recipient + '\n';
}

// Takes the first field off a header when it is called `name` just so. Its value, or none.
std::optional<std::string_view> take_named(std::string_view& header, std::string_view name) {
  std::string_view rest = header;
  const auto field = take_field(rest);
  if (!field || field->name != name) return std::nullopt;
  header = rest;
  return field->value;
}

// Whether `value`, of a Received field, has the three lines of received_line() for `recipient`.
bool is_of_our_server(std::string_view value, std::string_view recipient) {
  const std::string_view from = take_line(value);
  const std::string_view by = trimmed(take_line(value));
  const std::string recipient_part = "\tfor <" + std::string(recipient) + ">; ";
  return starts_with(from, "from ") && starts_with(by, "by ") && ends_with(by, "LMTP") &&
         starts_with(value, recipient_part);
}

// `lines` with the line ends of `message`, which its first line shows.
std::string with_line_ends_of(std::string_view message, const std::string& lines) {
  const std::size_t end = message.find('\n');
  if (end == std::string_view::npos || end == 0 || message[end - 1] != '\r') return lines;
  std::string out;
  for (const char c : lines) {
    if (c == '\n') out += '\r';
    out += c;
  }
  return out;
}

std::string date_text(std::time_t time) {
  std::tm local{};
  char text[64];
  localtime_r(&time, &local);
  return {text, std::strftime(text, sizeof text, "%a, %d %b %Y %H:%M:%S %z", &local)};
}

// Blanks and parentheses, for example, mean something in a Received line.
std::string host_in_header(const std::string& name) {
  return name.find_first_not_of(host_characters) == std::string::npos ? name : "unknown";
}

std::string received_line(const Reception& reception, const std::string& recipient) {
  return "Received: from " + host_in_header(reception.client) + "\n\tby " + reception.host +
         " with " + reception.protocol + "\n\tfor <" + recipient + ">; " +
         date_text(reception.time) + '\n';
}

}  // namespace

FoundTrace find_trace(std::string_view header, std::string_view recipient) {
  FoundTrace found;
  while (const auto field = take_field(header)) {
    if (same_text(field->name, "Received")) found.received = true;
    if (same_text(field->name, "Return-Path") && !found.received) found.return_path_above = true;
    if (!same_text(field->name, "Delivered-To") || !same_text(field->value, recipient)) continue;
    if (found.received)
      found.delivered_below = true;
    else
      found.delivered_above = true;
  }
  return found;
}

TraceHeaders trace_headers(std::string_view message, const TraceAddresses& addresses) {
  const std::string recipient = cut_for_header(addresses.recipient);
  const FoundTrace found = find_trace(message, recipient);
  TraceHeaders headers{found.is_loop(), {}};
  if (addresses.sender && !(found.return_path_above && found.received))
    headers.lines += return_path_line(cut_for_header(*addresses.sender));
  if (!found.delivered_above) headers.lines += delivered_to_line(recipient);
  headers.lines = with_line_ends_of(message, headers.lines);
  return headers;
}

TraceHeaders trace_headers(std::string_view message, const TraceAddresses& addresses,
                           const Reception& reception) {
  const std::string recipient = in_header(addresses.recipient);
  TraceHeaders headers{find_trace(message, recipient).is_loop(), {}};
  if (addresses.sender) headers.lines += return_path_line(in_header(*addresses.sender));
  headers.lines += delivered_to_line(recipient) + received_line(reception, recipient);
  headers.lines = with_line_ends_of(message, headers.lines);
  return headers;
}

std::size_t added_headers_size(std::string_view message, bool is_ours) {
  std::string_view rest = message;
  bool found = take_named(rest, "Return-Path").has_value();
  const auto recipient = take_named(rest, "Delivered-To");
  found = found || recipient;
  const std::size_t size = found ? message.size() - rest.size() : 0;
  const auto received = recipient ? take_named(rest, "Received") : std::nullopt;
  if (received && is_of_our_server(*received, *recipient)) return message.size() - rest.size();
  return is_ours ? size : 0;
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
  return text;
}

}  // namespace Quarrow::Delivery
