// Tests and actions as texts.
#include "administration/rule_text.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "administration/administration_test_support.h"
#include "administration/rule_check.h"
#include "administration/rule_sentence.h"
#include "administration/rule_words.h"

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
    {"string subject is not x", false, false, "string", "subject", "is", "not x"},
    {"string subject is before x", false, false, "string", "subject", "is", "before x"},
    {"string is is is", false, false, "string", "is", "is", "is"},
    {"string Received contains x", false, false, "string", "Received", "contains", "x"},
    {"address from is \"not x\"", false, false, "address", "from", "is", "not x"},
    {"size greater \"than 5\"", false, false, "size", "size", "greater", "than 5"},
    {"text subject is x", false, false, "text", "subject", "is", "x"},
    {"string subject is", false, false, "string", "subject", "is", ""}};

// What people write, and the same with the words of the rule model.
const struct {
  const char* written;
  const char* text;
} phrases[] = {{"subject contains quarterly", "string subject contains quarterly"},
               {"Subject CONTAINS Quarterly", "string subject contains Quarterly"},
               {"STRING X-Spam IS Yes", "string X-Spam is Yes"},
               {"from is boss@example.org", "address from is boss@example.org"},
               {"list-id contains announce", "string list-id contains announce"},
               {"list id contains announce", "string list-id contains announce"},
               {"reply to is a@example.org", "address reply-to is a@example.org"},
               {"to is a@example.org", "address to is a@example.org"},
               {"to or cc is a@example.org", "address to_cc is a@example.org"},
               {"TO_CC is a@example.org", "address to_cc is a@example.org"},
               {"from, to or cc is a@example.org", "address from_to_cc is a@example.org"},
               {"not from is boss@example.org", "not address from is boss@example.org"},
               {"from is not boss@example.org", "not address from is boss@example.org"},
               {"address from is not boss@example.org", "not address from is boss@example.org"},
               {"NOT Case subject is Sale", "not case string subject is Sale"},
               {"case subject is not Sale", "not case string subject is Sale"},
               {"subject equals x", "string subject is x"},
               {"subject does not equal x", "not string subject is x"},
               {"subject does not contain x", "not string subject contains x"},
               {"subject not contains x", "not string subject contains x"},
               {"string subject does not contain x", "not string subject contains x"},
               {"subject begins with [x]", "string subject begin_with [x]"},
               {"subject starts with x", "string subject begin_with x"},
               {"subject does not start with x", "not string subject begin_with x"},
               {"string subject begin  with x", "string subject begin_with x"},
               {"subject ends with x", "string subject end_with x"},
               {"subject does not end with x", "not string subject end_with x"},
               {"subject is \"not today\"", "string subject is not today"},
               {"subject is  not today", "not string subject is today"},
               {"subject is before noon", "string subject is before noon"},
               {"subject contains not today", "string subject contains not today"},
               {"subject contains \" x \"", "string subject contains  x "},
               {"subject contains  x", "string subject contains  x"},
               {"subject is \"a\" or b", "string subject is \"a\" or b"},
               {"subject is \"", "string subject is \""},
               {"size over 2 MB", "size greater 2048"},
               {"size under 100 KB", "size less 100"},
               {"size greater than 5", "size greater 5"},
               {"size is larger than 5", "size greater 5"},
               {"size is not less than 5", "not size less 5"},
               {"size size over 1M", "size greater 1024"},
               {"message is larger than 1.5 MB", "size greater 1536"},
               {"message size below 1 GB", "size less 1048576"},
               {"received before 2026-01-31", "date zvx-received-date before 2026-01-31"},
               {"received is after 20260131", "date zvx-received-date after 20260131"},
               {"received on 2026/01/31", "date zvx-received-date is 2026/01/31"},
               {"received not on 2026-01-31", "not date zvx-received-date is 2026-01-31"},
               {"received is not 2026-01-31", "not date zvx-received-date is 2026-01-31"},
               {"not received before 2026-01-31", "not date zvx-received-date before 2026-01-31"}};

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

TEST(ReadTest, TakesWhatPeopleWrite) {
  for (const auto& c : phrases) {
    RuleTest test;
    EXPECT_EQ("", said(read_test(c.written, test)));
    EXPECT_EQ(c.text, test_text(test)) << c.written;
  }
}

TEST(ReadTest, RefusesATestThatIsNegatedTwice) {
  for (const char* text : {"not from is not a@example.org", "not string subject not contains x"}) {
    RuleTest test;
    expect_refusal(Kind::unreadable_rule, text,
                   "\"not\" stands there twice; leave out one of them, or both",
                   read_test(text, test));
  }
}

TEST(ReadTest, LeavesAFieldThatIsNotKnownWithoutAType) {
  for (const char* text : {"x-spam is YES", "x-spam contians YES", "not x-spam is string x"}) {
    RuleTest test;
    EXPECT_FALSE(read_test(text, test));
    EXPECT_EQ("", test.field.type) << text;
    EXPECT_EQ("x-spam", test.field.name) << text;
  }
}

TEST(ReadTest, TakesTypesFromACatalogue) {
  const std::list<MessageFilters::Field> catalogue = {
      {"string", "X-Project", true}, {"address", "X-Owner", true}, {"string", "from", true}};
  const struct {
    const char* written;
    const char* text;
  } cases[] = {{"X-Project contains alpha", "string X-Project contains alpha"},
               {"x-project is not a", "not string x-project is a"},
               {"X-Owner is a@example.org", "address X-Owner is a@example.org"},
               {"address X-Project is a@example.org", "address X-Project is a@example.org"},
               {"from is a@example.org", "address from is a@example.org"}};
  for (const auto& c : cases) {
    RuleTest test;
    EXPECT_EQ("", said(read_test(c.written, test, catalogue)));
    EXPECT_EQ(c.text, test_text(test));
  }
}

TEST(ReadTest, RefusesAFieldThatHasSeveralTypes) {
  const std::list<MessageFilters::Field> catalogue = {
      {"string", "X-Owner", false}, {"address", "x-owner", true}, {"string", "X-OWNER", true}};
  RuleTest test;
  expect_refusal(Kind::wrong_rule, "X-Owner is a",
                 "\"X-Owner\" is a field of the types string and address; write one of them in "
                 "front of it",
                 read_test("X-Owner is a", test, catalogue));
  EXPECT_EQ("", said(read_test("string X-Owner is a", test, catalogue)));
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
  for (const char* text :
       {"", "   ", "not", "not case", "string", "string subject", "subject", "x-spam"}) {
    RuleTest test;
    test.value = "before";
    expect_refusal(Kind::unreadable_rule, text,
                   "a test is written [not] [case] [TYPE] FIELD COMPARATOR VALUE, such as "
                   "subject contains quarterly",
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

// Every valid test that can be made of these.
std::vector<RuleTest> made_tests() {
  const std::string values[] = {"x",          "not x",    "not",         "is x", "than 5",
                                " x ",        "case",     "500",         "0500", "2026-01-31",
                                "2026/01/31", "20260131", "a@b.example", "on x", "with",
                                "not  x",     "is not x", "2 MB",        "'x'",  " "};
  std::vector<RuleTest> tests;
  for (const char* type : {"string", "address", "size", "date"})
    for (const char* field : {"subject", "Subject", "from", "to_cc", "size", "zvx-received-date",
                              "not", "case", "is", "over", "string", "received", "x-a"})
      for (const char* comparator :
           {"is", "contains", "begin_with", "end_with", "before", "after", "greater", "less"})
        for (const auto& value : values)
          for (const bool negative : {false, true})
            for (const bool match_case : {false, true})
              tests.push_back({{type, field}, negative, match_case, comparator, value});
  tests.erase(std::remove_if(tests.begin(), tests.end(),
                             [](const RuleTest& test) { return check_test(test); }),
              tests.end());
  return tests;
}

const std::vector<RuleTest>& many_tests() {
  static const std::vector<RuleTest> tests = made_tests();
  return tests;
}

void expect_equal(const RuleTest& wanted, const RuleTest& test) {
  EXPECT_EQ(wanted.negative, test.negative);
  EXPECT_EQ(wanted.match_case, test.match_case);
  EXPECT_EQ(wanted.field.type, test.field.type);
  EXPECT_EQ(wanted.field.name, test.field.name);
  EXPECT_EQ(wanted.comparator, test.comparator);
  EXPECT_EQ(wanted.value, test.value);
}

TEST(TestText, OfEveryValidTestIsReadBackAsThatTest) {
  const std::vector<RuleTest>& tests = many_tests();
  EXPECT_LT(1000U, tests.size());
  for (const auto& wanted : tests) {
    SCOPED_TRACE(test_text(wanted));
    RuleTest test;
    EXPECT_FALSE(read_test(test_text(wanted), test));
    expect_equal(wanted, test);
  }
}

// Where the type is that of the field, and capitals do not count.
TEST(TestSentence, IsReadBackAsATestThatAsksForTheSame) {
  std::size_t count = 0;
  for (const auto& wanted : many_tests()) {
    if (wanted.match_case || type_of_field(wanted.field.name) != wanted.field.type) continue;
    SCOPED_TRACE(test_sentence(wanted));
    RuleTest test;
    EXPECT_FALSE(read_test(test_sentence(wanted), test));
    EXPECT_EQ(test_sentence(wanted), test_sentence(test));
    EXPECT_EQ("", said(check_test(test)));
    EXPECT_EQ(wanted.field.type, test.field.type);
    EXPECT_EQ(wanted.negative, test.negative);
    EXPECT_EQ(wanted.comparator, test.comparator);
    ++count;
  }
  EXPECT_LT(100U, count);
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
               {"Move Work", "move", "Work"},
               {"move to Work/Old mail", "move", "Work/Old mail"},
               {"move into Work", "move", "Work"},
               {"move \"to Work\"", "move", "to Work"},
               {"move to to Work", "move", "to Work"},
               {"move to", "move", "to"},
               {"move To", "move", "To"},
               {"move To do", "move", "To do"},
               {"MOVE to Work", "move", "Work"},
               {"move tomorrow", "move", "tomorrow"},
               {"file in Work", "move", "Work"},
               {"file into Work", "move", "Work"},
               {"fileinto \"Work\"", "move", "Work"},
               {"copy to Work", "copy", "Work"},
               {"copy into Work", "copy", "Work"},
               {"DELETE", "delete", ""},
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
  for (const char* text :
       {"move Reports", "copy Old mail/2026", "delete", "move \"to Work\"", "copy \"into x\"",
        "copy Into", "move To do", "move to", "move in/to", "move  Work"}) {
    Action action;
    ASSERT_FALSE(read_action(text, action));
    EXPECT_EQ(text, action_text(action));
  }
}

}  // namespace
}  // namespace Quarrow::Administration
