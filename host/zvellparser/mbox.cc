// Mailbox files that hold many messages (RFC 4155).
#include <string_view>

#include "zvellparser.h"

namespace {

constexpr std::string_view separator = "From ";

bool is_digit(char c) { return c >= '0' && c <= '9'; }

// Whether `line` holds a time of day, as every separator line does.
bool holds_time(std::string_view line) {
  for (std::size_t i = line.find(':'); i < line.size(); i = line.find(':', i + 1))
    if (i > 0 && i + 1 < line.size() && is_digit(line[i - 1]) && is_digit(line[i + 1])) return true;
  return false;
}

std::string_view line_at(std::string_view text, std::size_t start) {
  return text.substr(start, text.find('\n', start) - start);
}

// Where the line after the one at `start` begins; the text's end behind the last.
std::size_t next_line(std::string_view text, std::size_t start) {
  const auto end = text.find('\n', start);
  return end == std::string_view::npos ? text.size() : end + 1;
}

bool is_separator(std::string_view line) {
  return line.substr(0, separator.size()) == separator && holds_time(line);
}

// How much of `text` is left without the empty line at its end, which belongs to the mbox.
std::size_t without_last_empty_line(std::string_view text) {
  for (const std::string_view end : {"\r\n", "\n"}) {
    if (text == end) return 0;
    if (text.size() <= end.size()) continue;
    const std::size_t length = text.size() - end.size();
    if (text.substr(length) == end && text[length - 1] == '\n') return length;
  }
  return text.size();
}

// Where the separator line behind `start` begins, which is the text's end for the last message.
std::size_t next_separator(std::string_view text, std::size_t start) {
  bool after_empty_line = true;
  for (std::size_t at = start; at < text.size(); at = next_line(text, at)) {
    const std::string_view line = line_at(text, at);
    if (after_empty_line && is_separator(line)) return at;
    after_empty_line = line.empty() || line == "\r";
  }
  return text.size();
}

}  // namespace

std::vector<MessageSpan> mbox_messages(const char* data, std::size_t length) {
  const std::string_view text(data, length);
  std::vector<MessageSpan> messages;
  if (!is_separator(line_at(text, 0))) return messages;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t start = next_line(text, at);
    at = next_separator(text, start);
    messages.push_back({start, without_last_empty_line(text.substr(start, at - start))});
  }
  return messages;
}
