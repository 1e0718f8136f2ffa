// Sentences for tests and actions.
#include "administration/rule_sentence.h"

#include <gtest/gtest.h>

#include <string>

#include "administration/date_value.h"
#include "administration/size_value.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::Action;
using MessageFilters::Field;

// A test named apart from GoogleTest's own class of that name.
using RuleTest = MessageFilters::Test;

const struct {
  RuleTest test;
  const char* sentence;
} tests[] = {
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
  for (const auto& c : tests) EXPECT_EQ(c.sentence, test_sentence(c.test));
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

TEST(ReadableDate, StandsWithDashes) {
  for (const char* date : {"2026-01-31", "20260131", "2026/01/31", "2026.01.31"})
    EXPECT_EQ("2026-01-31", readable_date(date));
  for (const char* text : {"", "today", "31-01-2026", "2026-01/31", "2026-1-31"})
    EXPECT_EQ(text, readable_date(text));
}

}  // namespace
}  // namespace Quarrow::Administration
