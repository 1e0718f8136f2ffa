// Tests and actions read from and written as texts of one line.
#include "administration/rule_text.h"

#include <algorithm>

namespace Quarrow::Administration {
namespace {

using MessageFilters::Action;
using MessageFilters::Comparator;
using MessageFilters::Field;
using MessageFilters::Test;

// Takes words off the front of a text.
class WordReader {
 public:
  explicit WordReader(const std::string& text) : text_(text) {}

  // The next word; empty at the end. The one blank behind it is gone, too.
  std::string next() {
    skip_blanks();
    const std::size_t end = std::min(text_.find(' ', position_), text_.size());
    const std::string word = text_.substr(position_, end - position_);
    position_ = std::min(end + 1, text_.size());
    return word;
  }

  // Whether the next word is `word`, which is then taken.
  bool take(const std::string& word) {
    const std::size_t before = position_;
    if (next() == word) return true;
    position_ = before;
    return false;
  }

  std::string rest() const { return text_.substr(position_); }

 private:
  void skip_blanks() {
    position_ = std::min(text_.find_first_not_of(' ', position_), text_.size());
  }

  const std::string& text_;
  std::size_t position_ = 0;
};

}  // namespace

Refusal read_test(const std::string& text, Test& test) {
  WordReader reader(text);
  Test read;
  read.negative = reader.take("not");
  read.match_case = reader.take("case");
  read.field.type = reader.next();
  read.field.name = reader.next();
  if (read.field.type == Field::SIZE && Comparator::is_valid_op(read.field.name)) {
    read.comparator = read.field.name;
    read.field.name = Field::SIZE;
  } else {
    read.comparator = reader.next();
  }
  read.value = reader.rest();
  if (read.comparator.empty())
    return {Refusal::Kind::unreadable_rule, text,
            "a test is written [not] [case] TYPE FIELD COMPARATOR VALUE"};
  test = read;
  return {};
}

Refusal read_action(const std::string& text, Action& action) {
  WordReader reader(text);
  Action read;
  read.method = reader.next();
  read.target = reader.rest();
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
         ' ' + test.value;
}

std::string action_text(const Action& action) {
  return action.target.empty() ? action.method : action.method + ' ' + action.target;
}

}  // namespace Quarrow::Administration
