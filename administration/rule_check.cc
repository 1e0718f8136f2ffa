// Checks of what a user typed, each with its explanation.
#include "administration/rule_check.h"

#include <sysexits.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "system/printable.h"
#include "system/utf8.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::Action;
using MessageFilters::Comparator;
using MessageFilters::Field;
using MessageFilters::Test;
using MessageFilters::UserMessageFilters__;

// The Sieve interpreter counts a message's size in a 32-bit int: more KiB than these wrap around.
constexpr long largest_size = 2097151;

const char decimal_digits[] = "0123456789";

std::vector<std::string> type_words() {
  return {Field::STRING, Field::ADDRESS, Field::SIZE, Field::DATE};
}

std::vector<std::string> comparator_words() {
  return {Comparator::IS,     Comparator::CONTAINS, Comparator::BEGINWITH, Comparator::ENDWITH,
          Comparator::BEFORE, Comparator::AFTER,    Comparator::GREATER,   Comparator::LESS};
}

std::string joined(const std::vector<std::string>& words) {
  std::string out;
  for (const auto& word : words) out += (out.empty() ? "" : ", ") + word;
  return out;
}

// The comparators that go with a type, asked of the rule model itself.
std::vector<std::string> comparators_of(const std::string& type) {
  Test test;
  test.field.type = type;
  test.field.name = test.value = "x";
  std::vector<std::string> allowed;
  for (const auto& word : comparator_words()) {
    test.comparator = word;
    if (test.is_valid()) allowed.push_back(word);
  }
  return allowed;
}

// A text of the user's: what holds for names, values and folders alike.
std::string text_fault(const std::string& what, const std::string& text) {
  if (has_control_characters(text)) return what + " holds a control character; leave it out";
  if (!is_utf8(text)) return what + " is not UTF-8; type it in a UTF-8 terminal";
  return "";
}

// Field names are header names (RFC 5322, section 3.6.8: printable, no colon); quotes and
// backslashes, which it allows, would end the script's string.
bool is_header_name(const std::string& name) {
  return std::all_of(
      name.begin(), name.end(),
      [](char c) { return c > 32 && c < 127 && c != ':' && c != '"' && c != '\\'; });
}

std::string why_invalid(const Test& test) {
  if (!Field::is_valid_type(test.field.type))
    return "unknown type \"" + test.field.type + "\"; the types are " + joined(type_words());
  if (test.field.name.empty()) return "the field is missing, such as subject or from";
  if (!Comparator::is_valid_op(test.comparator))
    return "unknown comparator \"" + test.comparator + "\"; the comparators of " + test.field.type +
           " are " + joined(comparators_of(test.field.type));
  if (test.value.empty()) return "the value is missing; it is the text behind the comparator";
  if (test.value.find_first_of("\\\"") != std::string::npos)
    return "a value can't hold a backslash or a double quote; test for the text beside it";
  return "\"" + test.comparator + "\" does not go with " + test.field.type +
         "; its comparators are " + joined(comparators_of(test.field.type));
}

std::string size_fault(const std::string& value) {
  if (value.find_first_not_of(decimal_digits) != std::string::npos)
    return "";  // the compiler says so
  if (value.size() > 7 || std::strtol(value.c_str(), nullptr, 10) > largest_size)
    return "a size is given in KiB, and at most " + std::to_string(largest_size);
  return "";
}

// The interpreter compares the digits as one number, so that any other order of them means nothing.
std::string date_fault(const std::string& value) {
  const auto digits =
      std::count_if(value.begin(), value.end(), [](char c) { return c >= '0' && c <= '9'; });
  return digits == 8 ? "" : "a date is written YYYY-MM-DD, such as 2026-05-01";
}

// What compiles, or might, but would never do what was meant.
std::string unfit(const Test& test) {
  if (!is_header_name(test.field.name))
    return "\"" + test.field.name + "\" is no header name; no blanks, quotes, colons or accents";
  const std::string fault = text_fault("the value", test.value);
  if (!fault.empty()) return fault;
  if (test.field.type == Field::SIZE) return size_fault(test.value);
  if (test.field.type == Field::DATE) return date_fault(test.value);
  return "";
}

Command::Fault compiler_fault(const Test& test, int code) {
  if (code == 0) return {};
  if (code == 1) return {why_invalid(test), EX_DATAERR};
  if (code == 2)
    return {
        "can't be checked: no temporary file could be written; see $TMPDIR or /tmp for room "
        "and rights",
        EX_CANTCREAT};
  if (test.field.type == Field::SIZE)
    return {"refused by the Sieve compiler; a size is a plain number of KiB, such as 500",
            EX_DATAERR};
  return {"refused by the Sieve compiler; try a shorter or plainer value", EX_DATAERR};
}

}  // namespace

Command::Fault name_fault(const std::string& name) {
  if (name.empty()) return {"a filter needs a name; give one with --name", EX_DATAERR};
  return {text_fault("the name", name), EX_DATAERR};
}

Command::Fault test_fault(UserMessageFilters__& rules, const Test& test) {
  if (!test.is_valid()) return {why_invalid(test), EX_DATAERR};
  const std::string reason = unfit(test);
  if (!reason.empty()) return {reason, EX_DATAERR};
  return compiler_fault(test, rules.validate_test(test));
}

Command::Fault action_fault(const Action& action) {
  if (!Action::is_valid_method(action.method))
    return {"unknown action \"" + action.method + "\"; the actions are " +
                joined({Action::MOVE, Action::COPY, Action::DELETE}),
            EX_DATAERR};
  if (!action.is_valid())
    return {"\"" + action.method + "\" needs a folder, such as " + action.method + " Reports",
            EX_DATAERR};
  if (action.target.find_first_of("\\\"") != std::string::npos)
    return {"a folder can't hold a backslash or a double quote", EX_DATAERR};
  return {text_fault("the folder", action.target), EX_DATAERR};
}

}  // namespace Quarrow::Administration
