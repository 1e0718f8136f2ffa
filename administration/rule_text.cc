// Tests and actions read from and written as texts of one line.
#include "administration/rule_text.h"

#include <algorithm>
#include <vector>

#include "administration/rule_fields.h"
#include "administration/rule_words.h"
#include "administration/size_value.h"
#include "administration/word_reader.h"
#include "system/printable.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::Action;
using MessageFilters::Field;
using MessageFilters::Test;

// Whether a comparator comes behind so many words.
bool has_comparator_behind(int words, WordReader reader) {
  for (int i = 0; i < words; ++i) (void)reader.next();
  return !take_phrase(reader, comparator_phrases("")).words.empty();
}

// Takes the field behind a written type. A size test needs none, and a date test without one is
// about the field "date", which the check of the test explains.
void read_field_of_type(WordReader& reader, Field& field) {
  const bool can_do_without = field.type == Field::SIZE || field.type == Field::DATE;
  const bool has_field = has_comparator_behind(1, reader) && !has_comparator_behind(0, reader);
  field.name = can_do_without && !has_field ? field.type : reader.next();
}

// Takes the type and the field, or the field alone. Whether the type was written.
bool read_field(WordReader& reader, Field& field) {
  for (const auto& type : type_words()) {
    if (!reader.take(type)) continue;
    field.type = type;
    read_field_of_type(reader, field);
    return true;
  }
  field.name = take_phrase(reader, field_phrases()).meaning;
  field.type = type_of_field(field.name);
  if (!field.name.empty()) return false;
  // as in `text subject is x`
  const bool is_type = has_comparator_behind(2, reader) && !has_comparator_behind(1, reader);
  if (is_type) field.type = reader.next();
  field.name = reader.next();
  return is_type;
}

// Gives a field whose type was left out that of the catalogue.
Refusal find_type(const std::list<Field>& catalogue, const std::string& text, Field& field) {
  if (!field.type.empty()) return {};
  const auto types = types_of_field(field.name, catalogue);
  if (types.size() == 1) field.type = types.front();
  if (types.size() <= 1) return {};
  std::string words;
  for (const auto& type : types) words += (words.empty() ? "" : " and ") + type;
  return {Refusal::Kind::wrong_rule, text,
          '"' + shortened(field.name) + "\" is a field of the types " + words +
              "; write one of them in front of it"};
}

// The phrases to look for behind a field.
std::vector<Phrase> phrases_behind(const Field& field, bool is_type_written) {
  std::vector<Phrase> phrases = comparator_phrases(field.type);
  const auto is_negated_is = [](const Phrase& phrase) { return phrase.words == "is not"; };
  if (is_type_written && field.type == Field::STRING)
    phrases.erase(std::remove_if(phrases.begin(), phrases.end(), is_negated_is), phrases.end());
  return phrases;
}

// A word that is no comparator is taken as well, for the check to name it.
Phrase take_comparator(WordReader& reader, const Field& field, bool is_type_written) {
  Phrase phrase = take_phrase(reader, phrases_behind(field, is_type_written));
  if (phrase.words.empty()) phrase = take_phrase(reader, comparator_phrases(""));
  if (phrase.words.empty()) phrase.meaning = reader.next();
  return phrase;
}

std::string quoted(const std::string& text) { return '"' + text + '"'; }

std::string without_quotes(const std::string& text) {
  const bool is_quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
  return is_quoted ? text.substr(1, text.size() - 2) : text;
}

std::string value_of(const std::string& text, const std::string& type) {
  const std::string value = without_quotes(text);
  if (type != Field::SIZE) return value;
  const SizeReading size = read_size(value);
  return size.flaw.empty() ? size.kibibytes : value;  // the check of the test names the flaw
}

// Whether the beginning of the value would be read as a part of the comparator.
bool runs_into_comparator(const Test& test) {
  const std::string text = test.comparator + ' ' + test.value;
  WordReader reader(text);
  return take_phrase(reader, phrases_behind(test.field, true)).words.size() >
         test.comparator.size();
}

// Whether `phrase` can be next in `reader`. Folders may be called "To" and "To do": such words are
// taken in small letters alone, and where more follows.
bool fits(const Phrase& phrase, WordReader reader) {
  const std::size_t blank = phrase.words.find(' ');
  if (blank == std::string::npos) return true;
  (void)reader.next();
  return reader.next() == phrase.words.substr(blank + 1) && !reader.rest().empty();
}

Phrase take_action(WordReader& reader) {
  std::vector<Phrase> fitting;
  for (const auto& phrase : action_phrases())
    if (fits(phrase, reader)) fitting.push_back(phrase);
  return take_phrase(reader, fitting);
}

// Whether the beginning of the folder would be read as a part of the action.
bool runs_into_action(const Action& action) {
  const std::string text = action.method + ' ' + action.target;
  WordReader reader(text);
  return take_action(reader).words.size() > action.method.size();
}

}  // namespace

Refusal read_test(const std::string& text, Test& test, const std::list<Field>& catalogue) {
  WordReader reader(text);
  Test read;
  read.negative = reader.take("not");
  read.match_case = reader.take("case");
  const bool is_type_written = read_field(reader, read.field);
  if (const Refusal refusal = find_type(catalogue, text, read.field)) return refusal;
  const Phrase comparator = take_comparator(reader, read.field, is_type_written);
  if (comparator.meaning.empty())
    return {Refusal::Kind::unreadable_rule, text,
            "a test is written [not] [case] [TYPE] FIELD COMPARATOR VALUE, such as subject "
            "contains quarterly"};
  if (read.negative && comparator.negative)
    return {Refusal::Kind::unreadable_rule, text,
            "\"not\" stands there twice; leave out one of them, or both"};
  read.negative = read.negative || comparator.negative;
  read.comparator = comparator.meaning;
  read.value = value_of(reader.rest(), read.field.type);
  test = read;
  return {};
}

Refusal read_action(const std::string& text, Action& action) {
  WordReader reader(text);
  const Phrase phrase = take_action(reader);
  Action read;
  read.method = phrase.words.empty() ? reader.next() : phrase.meaning;
  read.target = without_quotes(reader.rest());
  if (read.method.empty())
    return {Refusal::Kind::unreadable_rule, text,
            "an action is written move FOLDER, copy FOLDER or delete"};
  action = read;
  return {};
}

std::string test_text(const Test& test) {
  const bool needs_no_field = test.field.type == Field::SIZE && test.field.name == Field::SIZE;
  return std::string(test.negative ? "not " : "") + (test.match_case ? "case " : "") +
         test.field.type + ' ' + (needs_no_field ? "" : test.field.name + ' ') + test.comparator +
         ' ' + (runs_into_comparator(test) ? quoted(test.value) : test.value);
}

std::string action_text(const Action& action) {
  if (action.target.empty()) return action.method;
  return action.method + ' ' + (runs_into_action(action) ? quoted(action.target) : action.target);
}

}  // namespace Quarrow::Administration
