// From lines of a header and paths on a disk to fields and folders.
#include "importing/mail_program.h"

#include <algorithm>
#include <set>
#include <string_view>

#include "importing/plain_pattern.h"
#include "importing/text_front.h"
#include "message_filters/field_names.h"
#include "message_filters/mailbox_name.h"

namespace Quarrow::Importing {
namespace {

using MessageFilters::Comparator;
using MessageFilters::Field;
using MessageFilters::Test;

const char inbox[] = "INBOX";

std::string in_small_letters(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
  return text;
}

bool is_name_character(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
         c == '_';
}

// Takes the names of headers and the colon off the front of an expression; none for another one.
std::vector<std::string> take_headers(std::string_view& regex) {
  const bool is_group = take_front(regex, "(");
  std::vector<std::string> names(1);
  for (; !regex.empty(); regex.remove_prefix(1))
    if (is_name_character(regex.front()))
      names.back() += regex.front();
    else if (is_group && regex.front() == '|')
      names.emplace_back();
    else
      break;
  if (is_group && !take_front(regex, ")")) return {};
  const bool is_complete =
      take_front(regex, ":") && std::none_of(names.begin(), names.end(),
                                             [](const std::string& name) { return name.empty(); });
  return is_complete ? names : std::vector<std::string>();
}

// Whether blanks, or anything, may stand between the colon and the rest; blanks are taken off.
bool take_gap(std::string_view& regex) {
  for (const char* const blanks : {"[[:space:]]*", "[ \t]*", "[ \\t]*", "[ ]*", "\\s*", " *", " "})
    if (take_front(regex, blanks)) return true;
  return regex.substr(0, 2) == ".*";
}

}  // namespace

std::vector<std::string> fields_of(const std::vector<std::string>& headers) {
  std::set<std::string> names;
  for (const auto& header : headers) names.insert(in_small_letters(header));
  if (names == std::set<std::string>{"to", "cc"}) return {FieldNames::to_cc};
  if (names == std::set<std::string>{"from", "to", "cc"}) return {FieldNames::from_to_cc};
  return {names.begin(), names.end()};
}

std::optional<Condition> header_line_condition(const std::string& regex, bool match_case) {
  std::string_view rest = regex;
  if (!take_front(rest, "^")) return std::nullopt;
  const auto headers = take_headers(rest);
  if (headers.empty() || !take_gap(rest)) return std::nullopt;
  const auto pattern = regex_pattern('^' + std::string(rest));
  if (!pattern) return std::nullopt;
  const bool is_plain =
      pattern->comparator == Comparator::IS || pattern->comparator == Comparator::CONTAINS;
  if (match_case && !is_plain) return std::nullopt;
  std::vector<Condition> parts;
  for (const auto& field : fields_of(headers)) {
    Test test;
    test.field = {Field::STRING, field, true};
    test.comparator = pattern->comparator;
    test.value = pattern->value;
    test.match_case = match_case;
    parts.push_back(single(test));
  }
  return any_of(parts);
}

std::optional<std::string> folder_at(std::string path) {
  if (path.size() > 1 && path.front() == '"' && path.back() == '"')
    path = path.substr(1, path.size() - 2);
  std::string_view rest = path;
  if (rest == "$DEFAULT" || rest == "${DEFAULT}") return inbox;
  for (const char* const home : {"$HOME/", "${HOME}/", "~/", "./"})
    if (take_front(rest, home)) break;
  for (const char* const mail : {"$MAILDIR/", "${MAILDIR}/", "Maildir/"})
    if (take_front(rest, mail)) break;
  if (!rest.empty() && rest.back() == '/') rest.remove_suffix(1);
  if (rest.empty() || rest == "Maildir" || rest == "$MAILDIR") return inbox;
  std::string name(rest);
  if (name.front() == '/' || name.find_first_of("$`~ ") != std::string::npos) return std::nullopt;
  if (name.front() == '.') {
    name.erase(0, 1);
    std::replace(name.begin(), name.end(), '.', '/');
  }
  return MessageFilters::readable_mailbox_name(name);
}

}  // namespace Quarrow::Importing
