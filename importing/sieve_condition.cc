// Each test of Sieve by its name, in a table.
#include "importing/sieve_condition.h"

#include <algorithm>
#include <set>
#include <utility>

#include "importing/mail_program.h"
#include "importing/plain_pattern.h"
#include "message_filters/field_names.h"
#include "system/printable.h"

namespace Quarrow::Importing {
namespace {

using MessageFilters::Comparator;
using MessageFilters::Field;
using MessageFilters::Test;
using Result = std::optional<Condition>;

const char exact_comparator[] = "i;octet";
const char casemap_comparator[] = "i;ascii-casemap";
const char numeric_comparator[] = "i;ascii-numeric";

std::string quoted(const std::string& text) { return '"' + shortened(text) + '"'; }

// The date of eight digits with dashes, as tests have it.
std::string dashed(const std::string& date) {
  if (date.size() != 8) return date;
  return date.substr(0, 4) + '-' + date.substr(4, 2) + '-' + date.substr(6);
}

// What a test says of how it matches, and its texts.
struct Matching {
  std::string match = "is";
  std::string relation;  // of :value and :count
  std::string comparator = casemap_comparator;
  std::string part;   // of an address; empty: all of it
  std::string other;  // the first tag that means nothing here
  std::vector<std::vector<std::string>> texts;

  bool is_exact() const { return comparator == exact_comparator; }
};

class Reader {
 public:
  Reader(SieveStrings strings, std::vector<SieveMismatch>& mismatches)
      : strings_(strings), mismatches_(mismatches) {}

  Result read(const SieveNode& test) {
    static const struct {
      const char* name;
      Result (Reader::*read)(const SieveNode& test);
    } rows[] = {{"allof", &Reader::read_all},       {"anyof", &Reader::read_any},
                {"not", &Reader::read_not},         {"true", &Reader::read_true},
                {"false", &Reader::read_false},     {"header", &Reader::read_header},
                {"address", &Reader::read_address}, {"size", &Reader::read_size},
                {"currentdate", &Reader::read_date}};
    for (const auto& row : rows)
      if (test.name == row.name) return (this->*row.read)(test);
    return fail(test, "the test \"" + test.name + "\" has no equal");
  }

 private:
  Result fail(const SieveNode& test, const std::string& reason) {
    mismatches_.push_back({test.line, reason});
    return std::nullopt;
  }

  std::optional<std::vector<Condition>> read_tests(const SieveNode& test) {
    std::vector<Condition> parts;
    for (const auto& each : test.tests)
      if (auto part = read(each)) parts.push_back(std::move(*part));
    if (parts.size() < test.tests.size()) return std::nullopt;
    return parts;
  }

  Result read_all(const SieveNode& test) {
    auto parts = read_tests(test);
    return parts ? Result(all_of(std::move(*parts))) : std::nullopt;
  }

  Result read_any(const SieveNode& test) {
    auto parts = read_tests(test);
    return parts ? Result(any_of(std::move(*parts))) : std::nullopt;
  }

  Result read_not(const SieveNode& test) {
    if (test.tests.size() != 1) return fail(test, "\"not\" needs one test");
    auto part = read(test.tests.front());
    return part ? Result(negated(std::move(*part))) : std::nullopt;
  }

  Result read_true(const SieveNode& /*test*/) { return all_of({}); }
  Result read_false(const SieveNode& /*test*/) { return any_of({}); }

  const std::string& chosen(const SieveText& text) const {
    return strings_ == SieveStrings::raw ? text.raw : text.text;
  }

  std::vector<std::string> chosen(const SieveArgument& argument) const {
    std::vector<std::string> all;
    for (const auto& text : argument.texts) all.push_back(chosen(text));
    return all;
  }

  Matching matching_of(const SieveNode& test) const {
    static const std::set<std::string> matches = {"is",    "contains", "matches",
                                                  "regex", "value",    "count"};
    static const std::set<std::string> parts = {"all", "localpart", "domain", "user", "detail"};
    Matching found;
    std::string* operand = nullptr;  // where the next text goes that belongs to a tag
    for (const auto& argument : test.arguments) {
      if (argument.kind == SieveArgument::Kind::texts && operand) {
        *operand = argument.texts.empty() ? "" : argument.texts.front().text;
        operand = nullptr;
      } else if (argument.kind == SieveArgument::Kind::texts) {
        found.texts.push_back(chosen(argument));
      } else if (argument.kind == SieveArgument::Kind::tag && argument.tag == "comparator") {
        operand = &found.comparator;
      } else if (argument.kind == SieveArgument::Kind::tag && matches.count(argument.tag) != 0) {
        found.match = argument.tag;
        if (argument.tag == "value" || argument.tag == "count") operand = &found.relation;
      } else if (argument.kind == SieveArgument::Kind::tag && parts.count(argument.tag) != 0) {
        found.part = argument.tag == "all" ? "" : argument.tag;
      } else if (found.other.empty()) {
        found.other = argument.kind == SieveArgument::Kind::tag ? ':' + argument.tag : "a number";
      }
    }
    return found;
  }

  static std::optional<PlainPattern> pattern_of(const Matching& how, const std::string& key) {
    if (how.match == "matches") return wildcard_pattern(key);
    if (how.match == "regex") return regex_pattern(key);
    if (key.empty()) return std::nullopt;
    return PlainPattern{how.match == "is" ? Comparator::IS : Comparator::CONTAINS, key};
  }

  // What no test can say of how to match; empty when a test can.
  static std::string flaw_of(const Matching& how) {
    if (!how.other.empty()) return "\"" + how.other + "\" has no equal";
    if (how.match == "value" || how.match == "count")
      return "\":" + how.match + "\" has no equal for this header";
    if (how.comparator != casemap_comparator && !how.is_exact())
      return "the comparator " + quoted(how.comparator) + " has no equal";
    if (how.match == "regex" && how.is_exact()) return "capitals always match in expressions";
    if (how.texts.size() != 2) return "the test has not the arguments that it needs";
    return "";
  }

  Result read_matches(const SieveNode& test, const Matching& how, const std::string& type) {
    if (const std::string flaw = flaw_of(how); !flaw.empty()) return fail(test, flaw);
    std::vector<Condition> parts;
    for (const auto& field : fields_of(how.texts[0]))
      for (const auto& key : how.texts[1]) {
        const auto pattern = pattern_of(how, key);
        if (!pattern)
          return fail(test, "\":" + how.match + "\" of " + quoted(key) + " has no equal");
        Test made;
        made.field = {type, field, true};
        made.comparator = pattern->comparator;
        made.value = pattern->value;
        made.match_case = how.is_exact();
        const bool is_plain =
            made.comparator == Comparator::IS || made.comparator == Comparator::CONTAINS;
        if (!is_plain && (how.is_exact() || type == Field::ADDRESS))
          return fail(test, "\":" + how.match + "\" of " + quoted(key) + " has no equal in " +
                                (how.is_exact() ? "tests that tell capitals" : "address tests"));
        parts.push_back(single(made));
      }
    return any_of(std::move(parts));
  }

  // The date that our own scripts have as a header.
  static bool is_own_date(const Matching& how) {
    return how.match == "value" && how.comparator == numeric_comparator && how.texts.size() == 2 &&
           how.texts[0] == std::vector<std::string>{FieldNames::received_date};
  }

  Result read_header(const SieveNode& test) {
    const Matching how = matching_of(test);
    if (is_own_date(how) && how.other.empty()) return dates(test, how.relation, how.texts[1]);
    if (!how.part.empty()) return fail(test, "\":" + how.part + "\" does not go with headers");
    return read_matches(test, how, Field::STRING);
  }

  Result read_address(const SieveNode& test) {
    const Matching how = matching_of(test);
    if (!how.part.empty())
      return fail(test, "\":" + how.part + "\" has no equal: tests see whole addresses");
    return read_matches(test, how, Field::ADDRESS);
  }

  Result read_size(const SieveNode& test) {
    const auto& given = test.arguments;
    constexpr std::uint64_t unit = 1024;
    if (given.size() != 2 || given[0].kind != SieveArgument::Kind::tag ||
        (given[0].tag != "over" && given[0].tag != "under") ||
        given[1].kind != SieveArgument::Kind::number)
      return fail(test, "the size test has not the arguments that it needs");
    if (given[1].number % unit != 0)
      return fail(test, "a size of " + std::to_string(given[1].number) +
                            " bytes has no equal: tests count in KiB");
    Test made;
    made.field = {Field::SIZE, Field::SIZE, true};
    made.comparator = given[0].tag == "over" ? Comparator::GREATER : Comparator::LESS;
    made.value = std::to_string(given[1].number / unit);
    return single(made);
  }

  // The date of the delivery (RFC 5260, section 5), which is that on which a message is received.
  Result read_date(const SieveNode& test) {
    const Matching how = matching_of(test);
    const bool is_date = how.texts.size() == 2 && how.texts[0] == std::vector<std::string>{"date"};
    if (!how.other.empty() || !is_date || how.comparator == numeric_comparator ||
        (how.match != "is" && how.match != "value"))
      return fail(test, "\"currentdate\" has an equal for whole dates alone, without a time zone");
    return dates(test, how.match == "is" ? "eq" : how.relation, how.texts[1]);
  }

  Result dates(const SieveNode& test, const std::string& relation,
               const std::vector<std::string>& keys) {
    static const struct {
      const char* relation;
      const std::string& comparator;
      bool negative;
    } rows[] = {{"eq", Comparator::IS, false},     {"ne", Comparator::IS, true},
                {"lt", Comparator::BEFORE, false}, {"ge", Comparator::BEFORE, true},
                {"gt", Comparator::AFTER, false},  {"le", Comparator::AFTER, true}};
    std::vector<Condition> parts;
    for (const auto& row : rows)
      for (const auto& key : keys) {
        if (relation != row.relation) continue;
        Test made;
        made.field = {Field::DATE, FieldNames::received_date, true};
        made.comparator = row.comparator;
        made.negative = row.negative;
        made.value = dashed(key);
        parts.push_back(single(made));
      }
    if (parts.empty()) return fail(test, "the relation " + quoted(relation) + " has no equal");
    return any_of(std::move(parts));
  }

  SieveStrings strings_;
  std::vector<SieveMismatch>& mismatches_;
};

}  // namespace

Result sieve_condition(const SieveNode& test, SieveStrings strings,
                       std::vector<SieveMismatch>& mismatches) {
  return Reader(strings, mismatches).read(test);
}

}  // namespace Quarrow::Importing
