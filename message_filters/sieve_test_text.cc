// From tests to Sieve text. Blanks matter: every piece ends with one, and the test starts with one.
#include "message_filters/sieve_test_text.h"

#include <zvellparser.h>

#include <algorithm>
#include <iterator>

namespace Quarrow {
namespace MessageFilters {

namespace {

const char imap_charset[] = "IMAP-mailbox-name";
constexpr std::size_t converter_limit = 1024;  // bytes of one level of a folder

// Pseudo fields that stand for several headers.
const struct {
  const char* name;
  const char* headers;
} header_list_table[] = {{"to_cc", R"(["to", "cc"])"}, {"from_to_cc", R"(["from", "to", "cc"])"}};

std::string quoted(const std::string& text) { return '"' + text + '"'; }

std::string imap_level(const std::string& level) {
  return ZvellConv::fromUtf8(imap_charset, level.data(), level.size(), converter_limit).data();
}

// Sieve compares without case unless told otherwise.
std::string case_clause(const Test& test) {
  return test.match_case ? R"(:comparator "i;octet" )" : "";
}

// The regular expressions always compare without case.
void write_header_test(const Test& test, std::ostream& out) {
  const std::string headers = sieve_header_list(test) + ' ';
  out << "header ";
  if (test.comparator == Comparator::BEGINWITH) {
    out << ":regex " << headers << quoted('^' + regex_escape(test.value));
  } else if (test.comparator == Comparator::ENDWITH) {
    out << ":regex " << headers << quoted(regex_escape(test.value) + '$');
  } else {
    out << (test.comparator == Comparator::IS ? ":is " : ":contains ") << case_clause(test)
        << headers << quoted(test.value);
  }
  out << ' ';
}

void write_address_test(const Test& test, std::ostream& out) {
  out << "address :all " << (test.comparator == Comparator::IS ? ":is " : ":contains ")
      << case_clause(test) << sieve_header_list(test) << ' ' << quoted(test.value) << ' ';
}

void write_size_test(const Test& test, std::ostream& out) {
  out << "size " << (test.comparator == Comparator::GREATER ? ":over " : ":under ") << test.value
      << "K ";
}

// The field names the header itself: the pseudo names that stand for several are no dates.
void write_date_test(const Test& test, std::ostream& out) {
  const char* relation = R"("eq" )";
  if (test.comparator == Comparator::BEFORE) relation = R"("lt" )";
  if (test.comparator == Comparator::AFTER) relation = R"("gt" )";
  out << "header :value " << relation << R"(:comparator "i;ascii-numeric" )"
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
  for (const auto& row : header_list_table) {
    if (test.field.name == row.name) return row.headers;
  }
  return quoted(test.field.name);
}

std::string regex_escape(const std::string& text) {
  static const std::string regex_metachars = R"(^.$|()[]*+?\/{}")";
  std::string escaped;
  for (const char c : text) {
    if (regex_metachars.find(c) != std::string::npos) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

std::string digits_only(const std::string& text) {
  std::string digits;
  // By code, not isdigit(): that one depends on the locale.
  std::copy_if(text.begin(), text.end(), std::back_inserter(digits),
               [](char c) { return c >= '0' && c <= '9'; });
  return digits;
}

std::string imap_mailbox_name(const std::string& folder) {
  std::string name;
  std::size_t start = 0;
  for (std::size_t pos = 0; pos < folder.size(); ++pos) {
    if (folder[pos] != '/') continue;
    name += imap_level(folder.substr(start, pos - start)) + '/';
    start = ++pos;  // the character behind a separator never separates: "a//b" is "a" and "/b"
  }
  if (start < folder.size()) name += imap_level(folder.substr(start));
  return name;
}

bool write_test(const Test& test, std::ostream& out) {
  if (!test.is_valid()) return false;
  out << ' ' << (test.negative ? "not " : "");
  for (const auto& writer : writers) {
    if (test.field.type != writer.type) continue;
    writer.write(test, out);
    return true;
  }
  return false;
}

}  // namespace MessageFilters
}  // namespace Quarrow
