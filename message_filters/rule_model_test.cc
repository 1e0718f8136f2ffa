// The parts of a rule, valid and not.
#include "quarrow/rule_model.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/support/rules_test_support.h"

namespace Quarrow::MessageFilters {
namespace {

const struct {
  const std::string& constant;
  const char* text;
} stored_words[] = {{Field::STRING, "string"},      {Field::ADDRESS, "address"},
                    {Field::SIZE, "size"},          {Field::DATE, "date"},
                    {Comparator::IS, "is"},         {Comparator::CONTAINS, "contains"},
                    {Comparator::BEFORE, "before"}, {Comparator::BEGINWITH, "begin_with"},
                    {Comparator::AFTER, "after"},   {Comparator::ENDWITH, "end_with"},
                    {Comparator::LESS, "less"},     {Comparator::GREATER, "greater"},
                    {Action::MOVE, "move"},         {Action::COPY, "copy"},
                    {Action::DELETE, "delete"},     {Filter__::ALLOF, "allof"},
                    {Filter__::ANYOF, "anyof"}};

TEST(Vocabulary, HasTheWordsOfTheStoredForm) {
  for (const auto& word : stored_words) EXPECT_EQ(word.text, word.constant);
}

struct WordCheck {
  const char* what;
  bool (*is_valid)(const std::string&);
  std::vector<std::string> valid;
};

const WordCheck word_checks[] = {
    {"type", Field::is_valid_type, {"string", "address", "size", "date"}},
    {"comparator",
     Comparator::is_valid_op,
     {"is", "contains", "begin_with", "end_with", "before", "after", "greater", "less"}},
    {"relation", Filter__::is_valid_relation, {"allof", "anyof"}},
    {"method", Action::is_valid_method, {"move", "copy", "delete"}}};

TEST(WordChecks, TakeTheirOwnWordsAndNoOthers) {
  for (const auto& check : word_checks) {
    for (const auto& other : word_checks)
      for (const auto& word : other.valid)
        EXPECT_EQ(check.what == other.what, check.is_valid(word)) << check.what << ": " << word;
  }
}

TEST(WordChecks, CompareByteForByte) {
  for (const auto& check : word_checks) {
    const std::string word = check.valid.front();
    std::string capital = word;
    capital[0] = static_cast<char>(capital[0] - 'a' + 'A');
    for (const auto& wrong :
         {std::string(), capital, word + ' ', ' ' + word, word + 's', word.substr(1), word + '\0'})
      EXPECT_FALSE(check.is_valid(wrong)) << check.what << ": " << wrong;
  }
  for (const char* wrong : {"IS", "Is", "is ", "beginwith", "begin-with"})
    EXPECT_FALSE(Comparator::is_valid_op(wrong)) << wrong;
}

const struct {
  const char* method;
  const char* target;
  bool valid;
} actions[] = {{"move", "", false},    {"move", "Work", true},  {"copy", "", false},
               {"copy", "Work", true}, {"delete", "", true},    {"delete", "Work", true},
               {"", "Work", false},    {"Move", "Work", false}, {"discard", "Work", false}};

TEST(ActionCheck, OnlyDeleteNeedsNoTarget) {
  for (const auto& c : actions)
    EXPECT_EQ(c.valid, make_action(c.method, c.target).is_valid()) << c.method << ' ' << c.target;
}

TEST(ActionCheck, IgnoresTheValue) {
  EXPECT_FALSE(make_action("move", "", "x").is_valid());
  EXPECT_TRUE(make_action("move", "Work", "\"\\").is_valid());
}

const struct {
  const char* comparator;
  bool string, address, date, size;
} suitable_types[] = {
    {"is", true, true, true, false},           {"contains", true, true, false, false},
    {"begin_with", true, false, false, false}, {"end_with", true, false, false, false},
    {"before", false, false, true, false},     {"after", false, false, true, false},
    {"greater", false, false, false, true},    {"less", false, false, false, true},
    {"matches", false, false, false, false},   {"", false, false, false, false}};

TEST(TestCheck, ComparatorMustSuitTheType) {
  for (const auto& row : suitable_types) {
    const auto valid = [&row](const char* type) {
      return make_test(type, "x", row.comparator, "100").is_valid();
    };
    EXPECT_EQ(row.string, valid("string")) << row.comparator;
    EXPECT_EQ(row.address, valid("address")) << row.comparator;
    EXPECT_EQ(row.date, valid("date")) << row.comparator;
    EXPECT_EQ(row.size, valid("size")) << row.comparator;
    EXPECT_FALSE(valid("number")) << row.comparator;
    EXPECT_FALSE(valid("")) << row.comparator;
  }
}

const struct {
  const char* name;
  const char* value;
  bool valid;
} names_and_values[] = {
    {"subject", "word", true},   {"", "word", false},          {"subject", "", false},
    {"subject", " ", true},      {"subject", "\"", false},     {"subject", "\\", false},
    {"subject", "a\"b", false},  {"subject", "ab\\", false},   {"subject", "\\ab", false},
    {"subject", "'<&>\n", true}, {"subject", "\xC3\xA9", true}};

TEST(TestCheck, NeedsAFieldNameAndAValueThatCanBeQuoted) {
  for (const auto& c : names_and_values) {
    EXPECT_EQ(c.valid, make_test("string", c.name, "contains", c.value).is_valid())
        << c.name << ": " << c.value;
  }
}

TEST(TestCheck, DoesNotLookAtTheFormOfTheValueNorAtTheFlags) {
  EXPECT_TRUE(make_test("size", "size", "greater", "abc").is_valid());
  EXPECT_TRUE(make_test("date", "date", "before", "soon").is_valid());
  Condition test = subject_test();
  test.negative = test.match_case = test.field.customized = true;
  EXPECT_TRUE(test.is_valid());
}

const struct {
  bool actions;
  const char* relation;
  const char* name;
  bool valid;
} filter_cases[] = {{true, "anyof", "a", true},  {true, "allof", "a", true},
                    {true, "ALLOF", "a", false}, {true, "", "a", false},
                    {true, "anyof", "", false},  {false, "anyof", "a", false},
                    {true, "anyof", " ", true}};

TEST(FilterCheck, NeedsActionsARelationAndAName) {
  for (const auto& c : filter_cases) {
    const auto filter = make_filter(c.name);
    filter->relation = c.relation;
    if (!c.actions) filter->actions.clear();
    EXPECT_EQ(c.valid, filter->is_valid()) << c.relation << ' ' << c.name << ' ' << c.actions;
    filter->tests.push_back(subject_test());
    EXPECT_EQ(c.valid, filter->is_valid()) << "with a test";
  }
}

TEST(FilterCheck, LooksNeitherAtTestsNorIntoActions) {
  const auto filter = make_filter("a");
  filter->tests.resize(Filter__::max_tests() + 1);
  filter->actions.push_back(Action());
  EXPECT_TRUE(filter->is_valid());
}

TEST(Filter, StartsEnabledWithoutIdAndEmpty) {
  const auto filter = Filter__::Create();
  EXPECT_TRUE(filter->enabled);
  EXPECT_EQ(0, filter->id);
  EXPECT_EQ("", filter->name);
  EXPECT_EQ("allof", filter->relation);
  EXPECT_TRUE(filter->tests.empty());
  EXPECT_TRUE(filter->actions.empty());
  EXPECT_FALSE(filter->is_valid());
}

TEST(Filter, MayCarryTenTests) { EXPECT_EQ(10u, Filter__::max_tests()); }

TEST(Values, StartEmptyOrFalse) {
  const Condition test;
  EXPECT_EQ("", test.field.type + test.field.name + test.comparator + test.value);
  EXPECT_FALSE(test.field.customized || test.negative || test.match_case);
  const Action action;
  EXPECT_EQ("", action.method + action.target + action.value);
}

}  // namespace
}  // namespace Quarrow::MessageFilters
