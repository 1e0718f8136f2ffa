// GMime's parser is not used: it drops all headers behind a first line that is no header (or behind
// a NUL in a name), cuts values at NULs, and takes twenty times as long to make an object of each
// header.
#include "host/zvellparser/header_block.h"

#include <algorithm>
#include <string_view>

namespace zvellparser {
namespace {

constexpr std::string_view blanks_in_line = " \t";
constexpr std::string_view around_value(" \t\r\0", 4);  // NULs go away: the bytes around them count

bool is_name_byte(char c) { return c > ' ' && c < '\x7f'; }  // RFC 5322, section 3.6.8

// The name at the start of a header line; empty when the line is no header. Blanks before the colon
// are obsolete syntax that still occurs (RFC 5322, section 4.5).
std::string_view name_of(std::string_view line) {
  const std::string_view name =
      line.substr(0, std::min(line.find(':'), line.find_first_of(blanks_in_line)));
  const auto colon = line.find_first_not_of(blanks_in_line, name.size());
  if (colon == std::string_view::npos || line[colon] != ':') return {};
  return std::all_of(name.begin(), name.end(), is_name_byte) ? name : std::string_view();
}

// Takes the next line off `rest`, without its LF and the CRs before it.
std::string_view take_line(std::string_view* rest) {
  std::string_view line = rest->substr(0, rest->find('\n'));
  rest->remove_prefix(std::min(line.size() + 1, rest->size()));
  while (!line.empty() && line.back() == '\r') line.remove_suffix(1);
  return line;
}

// Continues the header at the end of `lines`. A fold, with all blanks_in_line around the line end,
// stands for one blank (RFC 5322, section 3.2.2).
void append_folded(std::string_view line, std::string* lines) {
  lines->erase(lines->find_last_not_of(blanks_in_line) + 1);
  line.remove_prefix(std::min(line.find_first_not_of(blanks_in_line), line.size()));
  lines->append(1, ' ').append(line);
}

// Ends the header line whose value begins at `value`.
void end_value(std::size_t value, std::string* lines) {
  const auto first = lines->find_first_not_of(around_value, value);
  if (first == std::string::npos) {
    lines->resize(value);
  } else {
    lines->erase(lines->find_last_not_of(around_value) + 1);
    lines->erase(value, first - value);
  }
  lines->push_back('\n');
}

}  // namespace

std::string read_header_block(const char* data, std::size_t length) {
  std::string lines;
  std::size_t value = 0;  // where the value of the last header begins; 0: there is none to continue
  std::string_view rest(data, length);
  while (!rest.empty()) {
    const std::string_view line = take_line(&rest);
    if (line.empty()) break;
    if (blanks_in_line.find(line.front()) != std::string_view::npos) {
      if (value != 0) append_folded(line, &lines);
      continue;
    }
    if (value != 0) end_value(value, &lines);
    const std::string_view name = name_of(line);
    value = 0;
    if (name.empty()) continue;
    lines.append(name).push_back(':');
    value = lines.size();
    lines.append(line.substr(line.find(':') + 1));
  }
  if (value != 0) end_value(value, &lines);
  lines.erase(std::remove(lines.begin(), lines.end(), '\0'), lines.end());
  return lines;
}

}  // namespace zvellparser
