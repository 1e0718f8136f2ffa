// From tests to Sieve text. Blanks matter: every piece ends with one, and the test starts with one.
#include "message_filters/sieve_test_text.h"

#include <algorithm>
#include <iterator>

#include "message_filters/field_names.h"
#include "message_filters/script_words.h"

namespace Quarrow::MessageFilters {

namespace {

// Pseudo fields that stand for several headers.
const struct {
  const char* name;
  const char* headers;
} header_list_table[] = {{FieldNames::to_cc, ScriptWords::to_and_cc},
                         {FieldNames::from_to_cc, ScriptWords::from_to_and_cc}};

std::string quoted(const std::string& text) { return '"' + text + '"'; }

// Sieve compares without case unless told otherwise.
std::string case_clause(const Test& test) { return test.match_case ? ScriptWords::match_case : ""; }

void write_comparison(const Test& test, std::ostream& out) {
  out << (test.comparator == Comparator::IS ? ScriptWords::is : ScriptWords::contains)
      << case_clause(test);
}

// The regular expressions always compare without case.
void write_header_test(const Test& test, std::ostream& out) {
  const std::string headers = sieve_header_list(test) + ' ';
  out << ScriptWords::header;
  if (test.comparator == Comparator::BEGINWITH) {
    out << ScriptWords::regex << headers << quoted('^' + regex_escape(test.value));
  } else if (test.comparator == Comparator::ENDWITH) {
    out << ScriptWords::regex << headers << quoted(regex_escape(test.value) + '$');
  } else {
    write_comparison(test, out);
    out << headers << quoted(test.value);
  }
  out << ' ';
}

void write_address_test(const Test& test, std::ostream& out) {
  out << ScriptWords::address;
  write_comparison(test, out);
  out << sieve_header_list(test) << ' ' << quoted(test.value) << ' ';
}

void write_size_test(const Test& test, std::ostream& out) {
  out << ScriptWords::size
      << (test.comparator == Comparator::GREATER ? ScriptWords::over : ScriptWords::under)
      << test.value << ScriptWords::kibibytes;
}

// The field names the header itself: the pseudo names that stand for several are no dates.
void write_date_test(const Test& test, std::ostream& out) {
  const char* relation = ScriptWords::equal;
  if (test.comparator == Comparator::BEFORE) relation = ScriptWords::less;
  if (test.comparator == Comparator::AFTER) relation = ScriptWords::greater;
  out << ScriptWords::header << ScriptWords::value << relation << ScriptWords::numeric
      << quoted(test.field.name) << ' ' << quoted(digits_only(test.value)) << ' ';
}

const struct {
  const std::string& type;
  void (*write)(const Test& test, std::ostream& out);
} writers[] = {{Field::STRING, write_header_test},
               {Field::ADDRESS, write_address_test},
               {Field::SIZE, write_size_test},
               {Field::DATE, write_date_test}};

}  // namespace

std::string sieve_header_list(const Test& test) {
  for (const auto& row : header_list_table)
    if (test.field.name == row.name) return row.headers;
  return quoted(test.field.name);
}

std::string regex_escape(const std::string& text) {
  // also the characters that end or escape in the string itself
  static const std::string regex_metachars = std::string(ScriptWords::regex_operators) + "\\\"";
  std::string escaped;
  for (const char c : text) {
    if (regex_metachars.find(c) != std::string::npos) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

std::string digits_only(const std::string& text) {
  std::string digits;
  // By code: isdigit() depends on the locale.
  std::copy_if(text.begin(), text.end(), std::back_inserter(digits),
               [](char c) { return c >= '0' && c <= '9'; });
  return digits;
}

bool write_test(const Test& test, std::ostream& out) {
  if (!test.is_valid()) return false;
  out << ScriptWords::test_start << (test.negative ? ScriptWords::negation : "");
  for (const auto& writer : writers) {
    if (test.field.type != writer.type) continue;
    writer.write(test, out);
    return true;
  }
  return false;
}

}  // namespace Quarrow::MessageFilters
