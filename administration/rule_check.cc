// Checks of what a user wrote, each with its explanation.
#include "administration/rule_check.h"

#include <zvellparser.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>
#include <vector>

#include "administration/date_value.h"
#include "administration/decimal_digits.h"
#include "administration/folder_check.h"
#include "administration/nearest_word.h"
#include "administration/rule_fields.h"
#include "administration/rule_text.h"
#include "administration/rule_words.h"
#include "administration/rules_text.h"
#include "administration/size_value.h"
#include "administration/test_logic.h"
#include "host/zvellparser/ascii_case.h"
#include "message_filters/field_names.h"
#include "message_filters/sieve_script.h"
#include "system/printable.h"
#include "system/utf8.h"

namespace Quarrow::Administration {
namespace {

using Kind = Refusal::Kind;
using MessageFilters::Action;
using MessageFilters::Comparator;
using MessageFilters::Field;
using MessageFilters::Filter__;
using MessageFilters::Test;

// The Sieve interpreter counts a message's size in a 32-bit int: more KiB than these wrap around.
constexpr long largest_size = 2097151;

Refusal wrong(const std::string& part, const std::string& reason) {
  return {Kind::wrong_rule, part, reason};
}

std::string quoted_short(const std::string& text) { return '"' + shortened(text) + '"'; }

// The text of `test` to type instead of a wrong one.
std::string typed(const Test& test) { return "; type " + shortened(test_text(test)); }

std::string joined(const std::vector<std::string>& words) {
  std::string out;
  for (const auto& word : words) out += (out.empty() ? "" : ", ") + word;
  return out;
}

bool needs_escapes(const std::string& text) {
  return text.find_first_of("\\\"") != std::string::npos;
}

// A text of the user's: what holds for names, values and folders alike. `name` is that of the text
// in the reason.
Refusal check_text(const std::string& part, const std::string& name, const std::string& text) {
  if (has_control_characters(text))
    return wrong(part, name + " holds a control character; leave it out");
  if (!is_utf8(text)) return {Kind::not_utf8, part, name + " is not UTF-8"};
  return {};
}

// Field names are header names (RFC 5322, section 3.6.8: printable, no colon); quotes and
// backslashes, which it allows, would end the script's string.
bool is_header_name(const std::string& name) {
  return std::all_of(
      name.begin(), name.end(),
      [](char c) { return c > 32 && c < 127 && c != ':' && c != '"' && c != '\\'; });
}

bool is_name(const std::string& field, std::string_view name) {
  return zvellparser::equal_ignoring_case(field, name);
}

// Refuses a field that the test's type can't read.
Refusal check_field(const Test& test) {
  Test better = test;
  const std::string& field = test.field.name;
  if (test.field.type == Field::SIZE && field != Field::SIZE) {
    better.field.name = Field::SIZE;
    return wrong("field", "a size test is about the size of the message" + typed(better));
  }
  if (test.field.type == Field::DATE && field != FieldNames::received_date) {
    better.field.name = FieldNames::received_date;
    return wrong("field", quoted_short(field) + " is no date that rules know" + typed(better));
  }
  if (test.field.type == Field::ADDRESS && !holds_addresses(field)) {
    better.field.type = Field::STRING;
    return wrong("field", quoted_short(field) + " does not hold addresses" + typed(better));
  }
  if (test.field.type != Field::STRING) return {};
  if (is_name(field, "body"))
    return wrong("field", "rules look at headers, not at the text of a message");
  if (is_name(field, "size")) return wrong("field", "no header; type size greater 500");
  return {};
}

// Refuses a test without a type whose field is none of those that have one.
Refusal unknown_field(const Test& test) {
  if (is_name(test.field.name, "body"))
    return wrong("field", "rules look at headers, not at the text of a message");
  std::vector<std::string> names;
  for (const auto& field : system_fields())
    names.push_back(field.type == Field::DATE ? field_words(field.name) : field.name);
  Test better = test;
  better.field.type = holds_addresses(test.field.name) ? Field::ADDRESS : Field::STRING;
  return wrong("field", "unknown field " + quoted_short(test.field.name) + "; the fields are " +
                            joined(names) + ", and any header behind a type" + typed(better) +
                            did_you_mean(nearest_phrase(test.field.name, field_phrases()).words));
}

// Headers that hold addresses can be compared as text, in more ways.
std::string advice_on_comparator(const Test& test) {
  Test better = test;
  better.field.type = Field::STRING;
  return test.field.type == Field::ADDRESS && better.is_valid() ? typed(better) : "";
}

// Words of other filters' languages, and what to write here.
const struct {
  const char* word;
  const char* advice;
} foreign_actions[] = {
    {"keep", "; to have the message in the inbox, type move INBOX"},
    {"stop", "; leave it out: no further filter is tried behind the first one that matches"},
    {"reject", "; rules refuse no message, but delete files it into the folder Trash"},
    {"bounce", "; rules refuse no message, but delete files it into the folder Trash"},
    {"discard", "; rules throw no message away, but delete files it into the folder Trash"},
    {"remove", "; delete files the message into the folder Trash"},
    {"forward", "; rules send no message on"},
    {"redirect", "; rules send no message on"}};

std::string advice_on_action(const std::string& method) {
  for (const auto& row : foreign_actions)
    if (is_name(method, row.word)) return row.advice;
  return did_you_mean(nearest_phrase(method, action_phrases()).meaning);
}

// Only the comparators that the script writes as a plain comparison tell capitals.
Refusal check_case(const Test& test) {
  const bool tells_case = test.field.type == Field::STRING || test.field.type == Field::ADDRESS;
  const bool is_plain =
      test.comparator == Comparator::IS || test.comparator == Comparator::CONTAINS;
  if (!test.match_case || (tells_case && is_plain)) return {};
  Test better = test;
  better.match_case = false;
  return wrong("match_case",
               "\"case\" goes with is and contains of string and address alone" + typed(better));
}

// The address in "Bob <bob@example.org>"; empty when there is none.
std::string bare_address(const std::string& value) {
  const std::size_t begin = value.find('<');
  const std::size_t end = value.find('>');
  if (begin == std::string::npos || end == std::string::npos || end < begin) return "";
  return EmailAddress(value.substr(begin + 1, end - begin - 1)).address();
}

// Address tests see the address without the name beside it.
Refusal check_address(const Test& test) {
  Test better = test;
  if (test.value.find_first_of(" <>") != std::string::npos) {
    better.value = bare_address(test.value);
    if (better.value.empty()) {
      better.value = test.value;
      better.field.type = Field::STRING;
    }
    return wrong("value", "an address test sees the address alone, without a name" + typed(better));
  }
  if (test.comparator != Comparator::IS || !EmailAddress(test.value).isNull()) return {};
  better.comparator = Comparator::CONTAINS;
  return wrong("value", "no whole address, and \"is\" compares whole ones" + typed(better));
}

// A size with a unit, or no size at all. Texts that a user types have lost their unit before.
Refusal check_unit(const Test& test) {
  const SizeReading size = read_size(test.value);
  if (!size.flaw.empty()) return wrong("value", size.flaw);
  Test better = test;
  better.value = size.kibibytes;
  return wrong("value", "a size is kept as a plain number of KiB" + typed(better));
}

Refusal check_size(const Test& test) {
  const std::string& value = test.value;
  const bool is_negative = value.front() == '-';
  if (is_negative ||
      (test.comparator == Comparator::LESS && value.find_first_not_of('0') == std::string::npos))
    return wrong("value", "no message has a size below 0; type a size such as 500, in KiB");
  if (value.find_first_not_of(decimal_digits) != std::string::npos) return check_unit(test);
  if (value.size() > 7 || std::strtol(value.c_str(), nullptr, 10) > largest_size)
    return wrong("value", "a size is given in KiB, and at most " + std::to_string(largest_size));
  return {};
}

// How to write what may be a date.
std::string date_advice(const std::string& value) {
  std::string advice;
  for (const auto& date : dates_meant(value))
    advice += (advice.empty() ? "; type " : " or ") + date;
  return advice.empty() ? ", such as 2026-05-01" : advice;
}

// The interpreter compares the digits as one number, so that any other order of them means nothing.
Refusal check_date(const Test& test) {
  const std::string digits = digits_of_date(test.value);
  if (digits.empty())
    return wrong("value", "a date is written YYYY-MM-DD" + date_advice(test.value));
  const int year = std::stoi(digits.substr(0, 4));
  const int month = std::stoi(digits.substr(4, 2));
  const int day = std::stoi(digits.substr(6));
  if (month < 1 || month > 12)
    return wrong("value", "there is no month " + digits.substr(4, 2) +
                              "; a date is written YYYY-MM-DD, such as 2026-05-01");
  const int last = days_of(year, month);
  if (day >= 1 && day <= last) return {};
  Test better = test;
  better.value = digits.substr(0, 4) + '-' + digits.substr(4, 2) + '-' +
                 (day == 0 ? "01" : std::to_string(last));
  return wrong("value", "there is no day " + digits.substr(6) + " in that month" + typed(better));
}

// Refuses a test that compiles, or might, but would never do what the user meant.
Refusal check_texts(const Test& test) {
  if (!is_header_name(test.field.name))
    return wrong("field", quoted_short(test.field.name) +
                              " is no header name; no blanks, quotes, colons or accents");
  if (const Refusal refusal = check_text("value", "the value", test.value)) return refusal;
  if (const Refusal refusal = check_field(test)) return refusal;
  if (const Refusal refusal = check_case(test)) return refusal;
  if (test.field.type == Field::ADDRESS) return check_address(test);
  if (test.field.type == Field::SIZE) return check_size(test);
  if (test.field.type == Field::DATE) return check_date(test);
  return {};
}

// In memory, as a commit does it, and not with the library's validate_test: its file would lie in
// the folder for temporary files of the one who started the command, which the owner of the user's
// folder need not be able to write.
Refusal check_with_compiler(const Test& test) {
  const std::string script = script_text(MessageFilters::list_to_try(test), false);
  const Refusal refusal = check_compiles(script, "value");
  if (refusal.kind != Kind::rules_refused) return refusal;
  return wrong("value", "refused by the Sieve compiler; try a shorter or plainer value");
}

}  // namespace

Refusal check_user(const std::string& user) {
  if (!EmailAddress(user).isNull()) return {};
  return {Kind::no_address, user, "no mail address; a user is named like alice@example.org"};
}

Refusal check_name(const std::string& name) {
  if (name.empty()) return {Kind::no_name, "name", "a filter needs a name"};
  return check_text("name", "the name", name);
}

Refusal check_relation(const std::string& relation) {
  if (Filter__::is_valid_relation(relation)) return {};
  return wrong("relation", "unknown relation " + quoted_short(relation) + "; the relations are " +
                               joined({Filter__::ALLOF, Filter__::ANYOF}));
}

Refusal check_counts(std::size_t tests, std::size_t actions) {
  if (tests == 0) return {Kind::no_tests, "tests", "a filter without a test would never run"};
  if (tests > Filter__::max_tests())
    return {Kind::too_many_tests, "tests",
            "a filter has at most " + std::to_string(Filter__::max_tests()) +
                " tests; spread them over several filters"};
  if (actions == 0) return {Kind::no_actions, "actions", "a filter without an action does nothing"};
  return {};
}

Refusal check_words(const Test& test) {
  if (test.is_valid()) return {};
  const std::string& type = test.field.type;
  if (type.empty()) return unknown_field(test);
  if (!Field::is_valid_type(type))
    return wrong("type", "unknown type " + quoted_short(type) + "; the types are " +
                             joined(type_words()) + did_you_mean(nearest_word(type, type_words())));
  if (test.field.name.empty())
    return wrong("field", "the field is missing, such as subject or from");
  if (!Comparator::is_valid_op(test.comparator))
    return wrong(
        "comparator",
        "unknown comparator " + quoted_short(test.comparator) + "; the comparators of " + type +
            " are " + joined(comparators_of(type)) +
            did_you_mean(nearest_phrase(test.comparator, comparator_phrases(type)).meaning));
  if (test.value.empty())
    return wrong("value", "the value is missing; it is the text behind the comparator");
  if (needs_escapes(test.value))
    return wrong("value",
                 "a value can't hold a backslash or a double quote; test for the text beside it");
  return wrong("comparator", quoted_short(test.comparator) + " does not go with " + type +
                                 "; its comparators are " + joined(comparators_of(type)) +
                                 advice_on_comparator(test));
}

Refusal check_words(const Action& action) {
  if (!Action::is_valid_method(action.method))
    return wrong("method", "unknown action " + quoted_short(action.method) + "; the actions are " +
                               joined({Action::MOVE, Action::COPY, Action::DELETE}) +
                               advice_on_action(action.method));
  if (!action.is_valid())
    return wrong("target", quoted_short(action.method) + " needs a folder, such as " +
                               action.method + " Reports");
  return {};
}

Refusal check_test(const Test& test) {
  const Refusal refusal = check_sense(test);
  return refusal ? refusal : check_with_compiler(test);
}

Refusal check_sense(const Test& test) {
  const Refusal refusal = check_words(test);
  return refusal ? refusal : check_texts(test);
}

Refusal check_action(const Action& action, Delivery::FolderDots dots) {
  if (const Refusal refusal = check_words(action)) return refusal;
  if (needs_escapes(action.target))
    return wrong("target", "a folder can't hold a backslash or a double quote");
  if (const Refusal refusal = check_text("target", "the folder", action.target)) return refusal;
  if (action.method != Action::DELETE) return check_folder(action.target, dots);
  if (action.target.empty()) return {};
  return wrong("target",
               "\"delete\" takes no folder; type delete, or move " + shortened(action.target));
}

std::string remark_on(const std::list<Action>& actions) {
  const auto has = [&actions](const std::string& method) {
    return std::any_of(actions.begin(), actions.end(),
                       [&method](const Action& action) { return action.method == method; });
  };
  if (!has(Action::COPY)) return "";
  for (const std::string& other : {Action::DELETE, Action::MOVE})
    if (has(other))
      return "copy leaves the message in the inbox as well, beside " + other +
             "; use move in its place to have it out of there";
  return "";
}

}  // namespace Quarrow::Administration
