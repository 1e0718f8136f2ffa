// The vocabulary of filters, and the rules for what is valid.
#include "quarrow/rule_model.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <vector>

namespace Quarrow::MessageFilters {

namespace {

using Words = std::vector<std::string>;

bool contains(const Words& words, const std::string& word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

// The field types that a comparator can be used with.
const Words& types_for(const std::string& comparator) {
  struct Row {
    std::string comparator;
    Words types;
  };
  static const std::vector<Row> rows = {
      {Comparator::IS, {Field::STRING, Field::ADDRESS, Field::DATE}},
      {Comparator::CONTAINS, {Field::STRING, Field::ADDRESS}},
      {Comparator::BEGINWITH, {Field::STRING}},
      {Comparator::ENDWITH, {Field::STRING}},
      {Comparator::BEFORE, {Field::DATE}},
      {Comparator::AFTER, {Field::DATE}},
      {Comparator::GREATER, {Field::SIZE}},
      {Comparator::LESS, {Field::SIZE}}};
  static const Words none;
  for (const Row& row : rows)
    if (row.comparator == comparator) return row.types;
  return none;
}

}  // namespace

const std::string Field::STRING = "string";
const std::string Field::ADDRESS = "address";
const std::string Field::SIZE = "size";
const std::string Field::DATE = "date";

const std::string Comparator::IS = "is";
const std::string Comparator::CONTAINS = "contains";
const std::string Comparator::BEGINWITH = "begin_with";
const std::string Comparator::ENDWITH = "end_with";
const std::string Comparator::BEFORE = "before";
const std::string Comparator::AFTER = "after";
const std::string Comparator::GREATER = "greater";
const std::string Comparator::LESS = "less";

const std::string Action::MOVE = "move";
const std::string Action::COPY = "copy";
const std::string Action::DELETE = "delete";

const std::string Filter__::ALLOF = "allof";
const std::string Filter__::ANYOF = "anyof";

bool Field::is_valid_type(const std::string& type) {
  static const Words types = {STRING, ADDRESS, SIZE, DATE};
  return contains(types, type);
}

bool Comparator::is_valid_op(const std::string& op) {
  static const Words ops = {IS, CONTAINS, BEGINWITH, ENDWITH, BEFORE, AFTER, GREATER, LESS};
  return contains(ops, op);
}

bool Test::is_valid() const {
  // Refused rather than escaped: values go between the double quotes of a Sieve string as they are.
  static const std::string value_forbidden_chars = "\\\"";

  if (!Field::is_valid_type(field.type)) return false;
  if (field.name.empty()) return false;
  if (!Comparator::is_valid_op(comparator)) return false;
  if (value.empty()) return false;
  if (value.find_first_of(value_forbidden_chars) != std::string::npos) return false;
  return contains(types_for(comparator), field.type);
}

bool Action::is_valid_method(const std::string& method) {
  static const Words methods = {MOVE, COPY, DELETE};
  return contains(methods, method);
}

bool Action::is_valid() const {
  if (!is_valid_method(method)) return false;
  return !target.empty() || method == DELETE;
}

boost::shared_ptr<Filter__> Filter__::Create() { return boost::make_shared<Filter__>(); }

bool Filter__::is_valid_relation(const std::string& relation) {
  static const Words relations = {ALLOF, ANYOF};
  return contains(relations, relation);
}

std::size_t Filter__::max_tests() { return 10; }

bool Filter__::is_valid() const {
  return !actions.empty() && is_valid_relation(relation) && !name.empty();
}

}  // namespace Quarrow::MessageFilters
