// What is refused, and with which words.
#include "administration/rule_check.h"

#include <gtest/gtest.h>
#include <sysexits.h>
#include <zvellparser.h>

#include <string>

#include "administration/rule_text.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::Action;
using MessageFilters::UserMessageFilters__;

// A test named apart from GoogleTest's own class of that name.
using RuleTest = MessageFilters::Test;

Command::Fault fault_of_test(const std::string& text) {
  UserMessageFilters__ rules{EmailAddress("alice@example.org")};
  RuleTest test;
  EXPECT_EQ("", read_test(text, test));
  return test_fault(rules, test);
}

Command::Fault fault_of_action(const std::string& text) {
  Action action;
  EXPECT_EQ("", read_action(text, action));
  return action_fault(action);
}

TEST(TestFault, TakesEveryComparatorWithTheTypesItGoesWith) {
  for (const char* text :
       {"string subject is x", "string subject contains x", "string subject begin_with [x]",
        "string subject end_with (x)", "address from is a@example.org", "address to_cc contains a",
        "date zvx-received-date is 2026-05-01", "date zvx-received-date before 20260501",
        "date zvx-received-date after 2026/05/01", "size size greater 0", "size size less 2097151",
        "not case string subject is B\xC3\xBCro", "string subject is  "})
    EXPECT_EQ("", fault_of_test(text).reason) << "text: " << text;
}

TEST(TestFault, NamesWhatIsWrong) {
  const struct {
    const char* text;
    const char* part;
  } cases[] = {
      {"text subject is x", "unknown type \"text\"; the types are string, address, size, date"},
      {"string subject equals x",
       "unknown comparator \"equals\"; the comparators of string are is, contains, begin_with, "
       "end_with"},
      {"size size is 5", "\"is\" does not go with size; its comparators are greater, less"},
      {"address from begin_with x", "its comparators are is, contains"},
      {"date zvx-received-date contains 2026", "its comparators are is, before, after"},
      {"string subject is", "value is missing"},
      {"string subject is a\"b", "backslash or a double quote"},
      {"string subject is a\\b", "backslash or a double quote"},
      {"string subject is a\nb", "control character"},
      {"string subject is caf\xE9", "not UTF-8"},
      {"string sub\"ject is x", "no header name"},
      {"string sub:ject is x", "no header name"},
      {"string subj\xC3\xA9t is x", "no header name"},
      {"size size greater 10M", "refused by the Sieve compiler; a size is a plain number"},
      {"size size greater 2097152", "at most 2097151"},
      {"size size greater 99999999999999999999", "at most 2097151"},
      {"date zvx-received-date before 1/5/2026", "YYYY-MM-DD"}};
  for (const auto& c : cases) {
    const Command::Fault fault = fault_of_test(c.text);
    EXPECT_NE(std::string::npos, fault.reason.find(c.part))
        << "text: " << c.text << "\nreason: " << fault.reason;
    EXPECT_EQ(EX_DATAERR, fault.status) << "text: " << c.text;
  }
}

TEST(ActionFault, TakesEveryAction) {
  for (const char* text : {"move Reports", "copy Old mail/B\xC3\xBCro & Co", "delete"})
    EXPECT_EQ("", fault_of_action(text).reason) << "text: " << text;
}

TEST(ActionFault, NamesWhatIsWrong) {
  const struct {
    const char* text;
    const char* part;
  } cases[] = {{"burn", "unknown action \"burn\"; the actions are move, copy, delete"},
               {"move", "\"move\" needs a folder"},
               {"copy ", "\"copy\" needs a folder"},
               {"move a\"; discard; \"b", "backslash or a double quote"},
               {"move a\\b", "backslash or a double quote"},
               {"move a\nb", "control character"},
               {"move caf\xE9", "not UTF-8"}};
  for (const auto& c : cases) {
    const Command::Fault fault = fault_of_action(c.text);
    EXPECT_NE(std::string::npos, fault.reason.find(c.part))
        << "text: " << c.text << "\nreason: " << fault.reason;
    EXPECT_EQ(EX_DATAERR, fault.status) << "text: " << c.text;
  }
}

TEST(NameFault, RefusesWhatWouldLeaveTheScriptsComment) {
  EXPECT_FALSE(name_fault("Reports; \"quoted\" # B\xC3\xBCro"));
  EXPECT_TRUE(name_fault(""));
  EXPECT_TRUE(name_fault("x\ndiscard;"));
  EXPECT_TRUE(name_fault("x\r"));
  EXPECT_TRUE(name_fault("caf\xE9"));
}

}  // namespace
}  // namespace Quarrow::Administration
