// Recognising a format by what only that format begins with.
#include "importing/rules_format.h"

#include <algorithm>
#include <string_view>

#include "message_filters/document_words.h"
#include "message_filters/xml_document.h"

namespace Quarrow::Importing {
namespace {

const char blanks[] = " \t\r\n";

bool begins_with(std::string_view text, std::string_view beginning) {
  return text.substr(0, beginning.size()) == beginning;
}

std::optional<RulesFormat> format_of_xml(const std::string& text) {
  const auto tree = MessageFilters::parse_xml(text);
  if (!tree) return std::nullopt;
  const std::string root = MessageFilters::xml_name(tree.get());
  if (root == DocumentWords::filters) return RulesFormat::xml;
  if (root == "feed") return RulesFormat::webmail;
  return std::nullopt;
}

// Whether a line is where a Sieve script names what it needs (RFC 5228, section 3.2).
bool is_require(std::string_view line) {
  const std::string_view word = "require";
  return begins_with(line, word) && line.size() > word.size() &&
         std::string_view(" \t[\"").find(line[word.size()]) != std::string_view::npos;
}

// Whether a line sets a variable, as two of the formats have it.
bool is_assignment(std::string_view line) {
  const auto end = std::find_if_not(line.begin(), line.end(),
                                    [](char c) { return (c >= 'A' && c <= 'Z') || c == '_'; });
  return end != line.begin() && end != line.end() && *end == '=';
}

// The format by the first line of the text that is no blank line, comment or assignment.
std::optional<RulesFormat> format_of_lines(std::string_view text) {
  while (!text.empty()) {
    const std::string_view whole = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(text.size(), whole.size() + 1));
    const std::string_view line =
        whole.substr(std::min(whole.size(), whole.find_first_not_of(blanks)));
    if (line.empty() || line.front() == '#' || is_assignment(line)) continue;
    if (is_require(line)) return RulesFormat::sieve;
    if (begins_with(line, ":0")) return RulesFormat::procmail;
    return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace

const std::vector<std::string>& format_words() {
  static const std::vector<std::string> words = {"json",    "xml",      "sieve",
                                                 "webmail", "procmail", "maildrop"};
  return words;
}

std::optional<RulesFormat> format_of(const std::string& word) {
  const auto& words = format_words();
  const auto found = std::find(words.begin(), words.end(), word);
  if (found == words.end()) return std::nullopt;
  return static_cast<RulesFormat>(found - words.begin());
}

std::optional<RulesFormat> guess_format(const std::string& text) {
  const std::size_t start = text.find_first_not_of(blanks);
  if (start == std::string::npos) return std::nullopt;
  if (text[start] == '[') return RulesFormat::json;
  if (text[start] == '<') return format_of_xml(text);
  return format_of_lines(text);
}

}  // namespace Quarrow::Importing
