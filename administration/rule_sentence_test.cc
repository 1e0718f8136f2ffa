// Sentences for tests and actions.
#include "administration/rule_sentence.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "administration/date_value.h"
#include "administration/size_value.h"
#include "tests/support/rules_test_support.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::Action;
using MessageFilters::Field;

// A test named apart from GoogleTest's own class of that name.
using RuleTest = MessageFilters::Test;

const struct {
  RuleTest test;
  const char* sentence;
} sentences[] = {
    {{{"string", "subject"}, false, false, "contains", "quarterly"},
     "subject contains \"quarterly\""},
    {{{"string", "subject"}, true, false, "contains", "quarterly"},
     "subject does not contain \"quarterly\""},
    {{{"string", "Subject"}, false, true, "is", "Sale"}, "Subject is \"Sale\" (capitals count)"},
    {{{"string", "list-id"}, true, false, "is", "not x"}, "list-id is not \"not x\""},
    {{{"string", "x-a"}, false, false, "begin_with", "["}, "x-a begins with \"[\""},
    {{{"string", "x-a"}, true, false, "begin_with", "["}, "x-a does not begin with \"[\""},
    {{{"string", "x-a"}, false, false, "end_with", " "}, "x-a ends with \" \""},
    {{{"string", "x-a"}, true, false, "end_with", "b"}, "x-a does not end with \"b\""},
    {{{"address", "from"}, false, false, "is", "boss@example.org"}, "from is \"boss@example.org\""},
    {{{"string", "from"}, false, false, "contains", "Bob Smith"},
     "the text of from contains \"Bob Smith\""},
    {{{"address", "to_cc"}, true, true, "is", "A@example.org"},
     "to or cc is not \"A@example.org\" (capitals count)"},
    {{{"address", "from_to_cc"}, false, false, "contains", "@example.org"},
     "from, to or cc contains \"@example.org\""},
    {{{"size", "size"}, false, false, "greater", "2048"}, "message is larger than 2 MB"},
    {{{"size", "size"}, true, false, "greater", "100"}, "message is not larger than 100 KB"},
    {{{"size", "size"}, false, false, "less", "1536"}, "message is smaller than 1536 KB"},
    {{{"size", "size"}, true, false, "less", "1048576"}, "message is not smaller than 1 GB"},
    {{{"date", "zvx-received-date"}, false, false, "before", "20260131"},
     "received before 2026-01-31"},
    {{{"date", "zvx-received-date"}, true, false, "after", "2026/01/31"},
     "not received after 2026-01-31"},
    {{{"date", "zvx-received-date"}, false, false, "is", "2026-01-31"}, "received on 2026-01-31"},
    {{{"text", "subject"}, true, false, "is", "x"}, "not text subject is x"},
    {{{"string", "subject"}, false, false, "greater", "x"}, "string subject greater x"}};

TEST(TestSentence, SaysWhatTheTestAsksFor) {
  for (const auto& c : sentences) EXPECT_EQ(c.sentence, test_sentence(c.test));
}

TEST(ActionSentence, SaysWhatTheActionDoes) {
  const struct {
    Action action;
    const char* sentence;
  } cases[] = {{{"move", "Work/Reports", ""}, "move to Work/Reports"},
               {{"copy", "Old mail", ""}, "copy to Old mail"},
               {{"move", "to Work", ""}, "move to to Work"},
               {{"delete", "", ""}, "delete (move to Trash)"},
               {{"burn", "all", ""}, "burn all"},
               {{"move", "", ""}, "move"}};
  for (const auto& c : cases) EXPECT_EQ(c.sentence, action_sentence(c.action));
}

TEST(ReadableSize, HasTheLargestUnitThatGivesAWholeNumber) {
  const struct {
    const char* kibibytes;
    const char* text;
  } cases[] = {{"0", "0 KB"},
               {"1", "1 KB"},
               {"1023", "1023 KB"},
               {"1024", "1 MB"},
               {"1025", "1025 KB"},
               {"0500", "500 KB"},
               {"1047552", "1023 MB"},
               {"1048576", "1 GB"},
               {"2097151", "2097151 KB"},
               {"1073741824", "1073741824"},
               {"", ""},
               {"10M", "10M"},
               {"-5", "-5"}};
  for (const auto& c : cases) EXPECT_EQ(c.text, readable_size(c.kibibytes));
}

TEST(ReadSize, CountsInKibibytes) {
  const struct {
    const char* text;
    const char* kibibytes;
  } cases[] = {{"0", "0"},
               {"0500", "0500"},
               {"2 MB", "2048"},
               {"2MB", "2048"},
               {" 2  mb ", "2048"},
               {"100 KB", "100"},
               {"100k", "100"},
               {"100 KiB", "100"},
               {"1.5 M", "1536"},
               {"0.25 MiB", "256"},
               {"1.5 GB", "1572864"},
               {"2.0", "2"},
               {"2048 bytes", "2"},
               {"1024 B", "1"},
               {"0 MB", "0"},
               {"99999999999", "99999999999"},
               {"9999999 GB", "10485758951424"}};
  for (const auto& c : cases) {
    EXPECT_EQ(c.kibibytes, read_size(c.text).kibibytes) << c.text;
    EXPECT_EQ("", read_size(c.text).flaw) << c.text;
  }
}

TEST(ReadSize, TakesNoSizeThatCantBeTestedExactly) {
  const struct {
    const char* text;
    const char* nearest;
  } cases[] = {{"1000 bytes", "0 KB or 1 KB"},
               {"2047 B", "1 KB or 2 KB"},
               {"1.5", "1 KB or 2 KB"},
               {"0.3 MB", "307 KB or 308 KB"},
               {"0.01 GB", "10485 KB or 10486 KB"}};
  for (const auto& c : cases)
    EXPECT_EQ(std::string("no whole number of KB, which are 1024 bytes each; type ") + c.nearest,
              read_size(c.text).flaw);
}

TEST(ReadSize, GuessesNothing) {
  for (const char* text :
       {"", " ", "MB", "-5", "-5 MB", "+5 MB", "2 TB", "2 M B", "1,5 MB", "1.500 MB", "1.5.2 MB",
        "1. MB", ".5 MB", "1,000 KB", "two MB", "12345678 KB", "2 MB or so", "0x10", "2 MB 3"})
    EXPECT_EQ("a size is written such as 500 KB or 1.5 MB", read_size(text).flaw) << text;
}

TEST(RuleSentence, JoinsTestsAndActions) {
  const auto rule = MessageFilters::make_rule("Reports", MessageFilters::subject_test("quarterly"));
  EXPECT_EQ("When subject contains \"quarterly\": delete (move to Trash)", rule_sentence(*rule));
  rule->tests.push_back(MessageFilters::make_test("size", "size", "greater", "2048"));
  rule->actions = {MessageFilters::make_action("copy", "A"),
                   MessageFilters::make_action("move", "B")};
  EXPECT_EQ(
      "When subject contains \"quarterly\" and message is larger than 2 MB: copy to A and move to "
      "B",
      rule_sentence(*rule));
  rule->relation = MessageFilters::Filter__::ANYOF;
  EXPECT_EQ(
      "When subject contains \"quarterly\" or message is larger than 2 MB: copy to A and move to B",
      rule_sentence(*rule));
  rule->tests.clear();
  EXPECT_EQ("Never: copy to A and move to B", rule_sentence(*rule));
}

TEST(DatesMeant, AreOfEveryOrderThatMakesADate) {
  const struct {
    const char* text;
    std::vector<std::string> dates;
  } cases[] = {{"01/02/2026", {"2026-02-01", "2026-01-02"}},
               {"1.2.2026", {"2026-02-01", "2026-01-02"}},
               {"31/01/2026", {"2026-01-31"}},
               {"1/31/2026", {"2026-01-31"}},
               {"05-05-2026", {"2026-05-05"}},
               {"2026-1-5", {"2026-01-05"}},
               {"29/02/2026", {}},
               {"29/02/2024", {"2024-02-29"}},
               {"32/13/2026", {}},
               {"0/1/2026", {}},
               {"01/02/26", {}},
               {"2026-01", {}},
               {"1//2/2026", {}},
               {"1/2/3/2026", {}},
               {"001/2/2026", {}},
               {"1/002/2026", {}},
               {"yesterday", {}},
               {"", {}}};
  for (const auto& c : cases) EXPECT_EQ(c.dates, dates_meant(c.text)) << c.text;
}

TEST(ReadableDate, StandsWithDashes) {
  for (const char* date : {"2026-01-31", "20260131", "2026/01/31", "2026.01.31"})
    EXPECT_EQ("2026-01-31", readable_date(date));
  for (const char* text : {"", "today", "31-01-2026", "2026-01/31", "2026-1-31"})
    EXPECT_EQ(text, readable_date(text));
}

}  // namespace
}  // namespace Quarrow::Administration
