// Tests and actions as texts.
#include "administration/rule_text.h"

#include <gtest/gtest.h>

#include <string>

#include "administration/administration_test_support.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::Action;

// A test named apart from GoogleTest's own class of that name.
using RuleTest = MessageFilters::Test;

struct TestCase {
  std::string text;
  bool negative;
  bool match_case;
  std::string type, field, comparator, value;
};

const TestCase test_cases[] = {
    {"string subject contains quarterly", false, false, "string", "subject", "contains",
     "quarterly"},
    {"not address from is boss@example.org", true, false, "address", "from", "is",
     "boss@example.org"},
    {"case string subject is Sale", false, true, "string", "subject", "is", "Sale"},
    {"not case string subject is Sale", true, true, "string", "subject", "is", "Sale"},
    {"string subject is two  words ", false, false, "string", "subject", "is", "two  words "},
    {"string subject is  leading", false, false, "string", "subject", "is", " leading"},
    {"string not is case", false, false, "string", "not", "is", "case"},
    {"size greater 500", false, false, "size", "size", "greater", "500"},
    {"not size less 5", true, false, "size", "size", "less", "5"},
    {"size foo less 5", false, false, "size", "foo", "less", "5"},
    {"string subject is", false, false, "string", "subject", "is", ""}};

TEST(ReadTest, TakesTheTextApart) {
  for (const auto& c : test_cases) {
    SCOPED_TRACE(c.text);
    RuleTest test;
    EXPECT_FALSE(read_test(c.text, test));
    EXPECT_EQ(c.negative, test.negative);
    EXPECT_EQ(c.match_case, test.match_case);
    EXPECT_EQ(c.type, test.field.type);
    EXPECT_EQ(c.field, test.field.name);
    EXPECT_EQ(c.comparator, test.comparator);
    EXPECT_EQ(c.value, test.value);
  }
}

TEST(ReadTest, TakesAnyNumberOfBlanksBeforeAWord) {
  RuleTest test;
  EXPECT_FALSE(read_test("  not   string  subject   is x", test));
  EXPECT_EQ("not string subject is x", test_text(test));
}

TEST(ReadTest, TakesASizeTestWithItsField) {
  RuleTest test;
  EXPECT_FALSE(read_test("size size greater 500", test));
  EXPECT_EQ("size greater 500", test_text(test));
}

TEST(ReadTest, RefusesATextThatLacksParts) {
  for (const char* text : {"", "   ", "not", "not case", "string", "string subject"}) {
    RuleTest test;
    test.value = "before";
    expect_refusal(Kind::unreadable_rule, text,
                   "a test is written [not] [case] TYPE FIELD COMPARATOR VALUE",
                   read_test(text, test));
    EXPECT_EQ("before", test.value) << "text: " << text;
  }
}

TEST(TestText, IsReadBackUnchanged) {
  for (const auto& c : test_cases) {
    if (c.value.empty()) continue;
    RuleTest test;
    ASSERT_FALSE(read_test(c.text, test));
    EXPECT_EQ(c.text, test_text(test));
  }
}

TEST(ReadAction, TakesTheTextApart) {
  const struct {
    const char* text;
    const char* method;
    const char* target;
  } cases[] = {{"move Reports", "move", "Reports"},
               {"copy Old mail/2026", "copy", "Old mail/2026"},
               {"delete", "delete", ""},
               {" delete", "delete", ""},
               {"move", "move", ""},
               {"burn all", "burn", "all"}};
  for (const auto& c : cases) {
    Action action;
    EXPECT_FALSE(read_action(c.text, action)) << c.text;
    EXPECT_EQ(c.method, action.method) << c.text;
    EXPECT_EQ(c.target, action.target) << c.text;
  }
}

TEST(ReadAction, RefusesAnEmptyText) {
  for (const char* text : {"", "  "}) {
    Action action;
    action.target = "before";
    expect_refusal(Kind::unreadable_rule, text,
                   "an action is written move FOLDER, copy FOLDER or delete",
                   read_action(text, action));
    EXPECT_EQ("before", action.target);
  }
}

TEST(ActionText, IsReadBackUnchanged) {
  for (const char* text : {"move Reports", "copy Old mail/2026", "delete"}) {
    Action action;
    ASSERT_FALSE(read_action(text, action));
    EXPECT_EQ(text, action_text(action));
  }
}

}  // namespace
}  // namespace Quarrow::Administration
