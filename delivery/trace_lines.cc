// A walk over the fields of a header, none of which is decoded.
#include "delivery/trace_lines.h"

#include <strings.h>

#include <optional>

namespace Quarrow::Delivery {
namespace {

bool same_text(std::string_view a, std::string_view b) {
  return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
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

}  // namespace

TraceLines trace_lines(std::string_view header, std::string_view recipient) {
  TraceLines found;
  while (const auto field = take_field(header)) {
    if (same_text(field->name, "Received")) found.received = true;
    if (same_text(field->name, "Return-Path") && !found.received) found.return_path_above = true;
    if (same_text(field->name, "Delivered-To") && same_text(field->value, recipient))
      (found.received ? found.delivered_below : found.delivered_above) = true;
  }
  return found;
}

std::string_view trimmed(std::string_view text) {
  while (!text.empty() && is_blank(text.front())) text.remove_prefix(1);
  while (!text.empty() && is_blank(text.back())) text.remove_suffix(1);
  return text;
}

}  // namespace Quarrow::Delivery
