// Rules that are refused, and the words for it.
#include "administration/rule_check.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "administration/administration_test_support.h"
#include "administration/rule_text.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::Action;

// A test named apart from GoogleTest's own class of that name.
using RuleTest = MessageFilters::Test;

struct WrongRule {
  std::string text;
  Kind kind;
  const char* part;
  const char* reason;
};

const WrongRule wrong_tests[] = {
    {"text subject is x", Kind::wrong_rule, "type",
     "unknown type \"text\"; the types are string, address, size, date"},
    {"strng subject is x", Kind::wrong_rule, "type",
     "unknown type \"strng\"; the types are string, address, size, date; did you mean "
     "\"string\"?"},
    {"subjct contains x", Kind::wrong_rule, "field",
     "unknown field \"subjct\"; the fields are subject, from, to, cc, sender, reply-to, to_cc, "
     "from_to_cc, list-id, size, received, and any header behind a type; type string subjct "
     "contains x; did you mean \"subject\"?"},
    {"not delivered-to contians a@b", Kind::wrong_rule, "field",
     "unknown field \"delivered-to\"; the fields are subject, from, to, cc, sender, reply-to, "
     "to_cc, from_to_cc, list-id, size, received, and any header behind a type; type not address "
     "delivered-to contians a@b"},
    {"Body contains x", Kind::wrong_rule, "field",
     "rules look at headers, not at the text of a message"},
    {"subject contians x", Kind::wrong_rule, "comparator",
     "unknown comparator \"contians\"; the comparators of string are is, contains, begin_with, "
     "end_with; did you mean \"contains\"?"},
    {"size ovr 5", Kind::wrong_rule, "comparator",
     "unknown comparator \"ovr\"; the comparators of size are greater, less; did you mean "
     "\"greater\"?"},
    {"message ovr 5", Kind::wrong_rule, "comparator",
     "unknown comparator \"ovr\"; the comparators of size are greater, less; did you mean "
     "\"greater\"?"},
    {"from begins with Bob", Kind::wrong_rule, "comparator",
     "\"begin_with\" does not go with address; its comparators are is, contains; type string from "
     "begin_with Bob"},
    {"subject over 5", Kind::wrong_rule, "comparator",
     "\"greater\" does not go with string; its comparators are is, contains, begin_with, "
     "end_with"},
    {"received contains mx1", Kind::wrong_rule, "comparator",
     "\"contains\" does not go with date; its comparators are is, before, after"},
    {"subject is not", Kind::wrong_rule, "value",
     "the value is missing; it is the text behind the comparator"},
    {"from is Bob <bob@example.org>", Kind::wrong_rule, "value",
     "an address test sees the address alone, without a name; type address from is "
     "bob@example.org"},
    {"date before 2026-01-31", Kind::wrong_rule, "field",
     "\"date\" is no date that rules know; type date zvx-received-date before 2026-01-31"},
    {"received before 01/02/2026", Kind::wrong_rule, "value",
     "a date is written YYYY-MM-DD; type 2026-02-01 or 2026-01-02"},
    {"received on 31.1.2026", Kind::wrong_rule, "value",
     "a date is written YYYY-MM-DD; type 2026-01-31"},
    {"received after yesterday", Kind::wrong_rule, "value",
     "a date is written YYYY-MM-DD, such as 2026-05-01"},
    {"size over 0.3 MB", Kind::wrong_rule, "value",
     "no whole number of KB, which are 1024 bytes each; type 307 KB or 308 KB"},
    {"size over 2 TB", Kind::wrong_rule, "value", "a size is written such as 500 KB or 1.5 MB"},
    {"size over 2 GB", Kind::wrong_rule, "value", "a size is given in KiB, and at most 2097151"},
    {"size under 0 MB", Kind::wrong_rule, "value",
     "no message has a size below 0; type a size such as 500, in KiB"},
    {"string subject equels x", Kind::wrong_rule, "comparator",
     "unknown comparator \"equels\"; the comparators of string are is, contains, begin_with, "
     "end_with; did you mean \"is\"?"},
    {"size size is 5", Kind::wrong_rule, "comparator",
     "\"is\" does not go with size; its comparators are greater, less"},
    {"address from begin_with x", Kind::wrong_rule, "comparator",
     "\"begin_with\" does not go with address; its comparators are is, contains; type string from "
     "begin_with x"},
    {"date zvx-received-date contains 2026", Kind::wrong_rule, "comparator",
     "\"contains\" does not go with date; its comparators are is, before, after"},
    {"string subject is", Kind::wrong_rule, "value",
     "the value is missing; it is the text behind the comparator"},
    {"string subject is a\"b", Kind::wrong_rule, "value",
     "a value can't hold a backslash or a double quote; test for the text beside it"},
    {"string subject is a\\b", Kind::wrong_rule, "value",
     "a value can't hold a backslash or a double quote; test for the text beside it"},
    {"string subject is a\nb", Kind::wrong_rule, "value",
     "the value holds a control character; leave it out"},
    {"string subject is caf\xE9", Kind::not_utf8, "value", "the value is not UTF-8"},
    {"string sub\"ject is x", Kind::wrong_rule, "field",
     "\"sub\"ject\" is no header name; no blanks, quotes, colons or accents"},
    {"string sub:ject is x", Kind::wrong_rule, "field",
     "\"sub:ject\" is no header name; no blanks, quotes, colons or accents"},
    {"string sub\\ject is x", Kind::wrong_rule, "field",
     "\"sub\\ject\" is no header name; no blanks, quotes, colons or accents"},
    {"string subj\x7Fx is x", Kind::wrong_rule, "field",
     "\"subj\x7Fx\" is no header name; no blanks, quotes, colons or accents"},
    {"string subj\xC3\xA9t is x", Kind::wrong_rule, "field",
     "\"subj\xC3\xA9t\" is no header name; no blanks, quotes, colons or accents"},
    {"string body contains x", Kind::wrong_rule, "field",
     "rules look at headers, not at the text of a message"},
    {"string Size is 5", Kind::wrong_rule, "field", "no header; type size greater 500"},
    {"address subject is a", Kind::wrong_rule, "field",
     "\"subject\" does not hold addresses; type string subject is a"},
    {"not address x-list contains a@b", Kind::wrong_rule, "field",
     "\"x-list\" does not hold addresses; type not string x-list contains a@b"},
    {"date date before 2026-05-01", Kind::wrong_rule, "field",
     "\"date\" is no date that rules know; type date zvx-received-date before 2026-05-01"},
    {"size foo greater 10", Kind::wrong_rule, "field",
     "a size test is about the size of the message; type size greater 10"},
    {"case string subject begin_with A", Kind::wrong_rule, "match_case",
     "\"case\" goes with is and contains of string and address alone; type string subject "
     "begin_with A"},
    {"not case string subject end_with A", Kind::wrong_rule, "match_case",
     "\"case\" goes with is and contains of string and address alone; type not string subject "
     "end_with A"},
    {"case size greater 5", Kind::wrong_rule, "match_case",
     "\"case\" goes with is and contains of string and address alone; type size greater 5"},
    {"case date zvx-received-date is 2026-05-01", Kind::wrong_rule, "match_case",
     "\"case\" goes with is and contains of string and address alone; type date "
     "zvx-received-date is 2026-05-01"},
    {"address from is @x.y", Kind::wrong_rule, "value",
     "no whole address, and \"is\" compares whole ones; type address from contains @x.y"},
    {"address from is bob", Kind::wrong_rule, "value",
     "no whole address, and \"is\" compares whole ones; type address from contains bob"},
    {"address from is Bob <bob@x.y>", Kind::wrong_rule, "value",
     "an address test sees the address alone, without a name; type address from is bob@x.y"},
    {"address from is >bob@x.y<", Kind::wrong_rule, "value",
     "an address test sees the address alone, without a name; type string from is >bob@x.y<"},
    {"address from is <bob@x.y", Kind::wrong_rule, "value",
     "an address test sees the address alone, without a name; type string from is <bob@x.y"},
    {"address to_cc contains Bob Smith", Kind::wrong_rule, "value",
     "an address test sees the address alone, without a name; type string to_cc contains Bob "
     "Smith"},
    {"date zvx-received-date is 2026-02-30", Kind::wrong_rule, "value",
     "there is no day 30 in that month; type date zvx-received-date is 2026-02-28"},
    {"date zvx-received-date after 20240230", Kind::wrong_rule, "value",
     "there is no day 30 in that month; type date zvx-received-date after 2024-02-29"},
    {"date zvx-received-date is 2100/02/29", Kind::wrong_rule, "value",
     "there is no day 29 in that month; type date zvx-received-date is 2100-02-28"},
    {"date zvx-received-date is 2026-04-00", Kind::wrong_rule, "value",
     "there is no day 00 in that month; type date zvx-received-date is 2026-04-01"},
    {"date zvx-received-date is 2026-13-01", Kind::wrong_rule, "value",
     "there is no month 13; a date is written YYYY-MM-DD, such as 2026-05-01"},
    {"date zvx-received-date is 2026-00-01", Kind::wrong_rule, "value",
     "there is no month 00; a date is written YYYY-MM-DD, such as 2026-05-01"},
    {"date zvx-received-date is 2026-05-999", Kind::wrong_rule, "value",
     "a date is written YYYY-MM-DD, such as 2026-05-01"},
    {"date zvx-received-date is 01-05-2026", Kind::wrong_rule, "value",
     "a date is written YYYY-MM-DD; type 2026-05-01 or 2026-01-05"},
    {"size greater -5", Kind::wrong_rule, "value",
     "no message has a size below 0; type a size such as 500, in KiB"},
    {"size less 0", Kind::wrong_rule, "value",
     "no message has a size below 0; type a size such as 500, in KiB"},
    {"size size greater 2097152", Kind::wrong_rule, "value",
     "a size is given in KiB, and at most 2097151"},
    {"size size greater 99999999999999999999", Kind::wrong_rule, "value",
     "a size is given in KiB, and at most 2097151"},
    {"date zvx-received-date before 1/5/2026", Kind::wrong_rule, "value",
     "a date is written YYYY-MM-DD; type 2026-05-01 or 2026-01-05"},
    {"string subject is " + std::string(40000, 'x'), Kind::wrong_rule, "value",
     "refused by the Sieve compiler; try a shorter or plainer value"}};

// 131 and 66 of the letters.
const char too_long[] =
    "\"xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx"
    "xx"
    "xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx...xxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxxx"
    "xxxxxxxxxxxxx\" can't be a folder: its name is too long for a disk; type a shorter one";

const WrongRule wrong_actions[] = {
    {"burn", Kind::wrong_rule, "method",
     "unknown action \"burn\"; the actions are move, copy, delete"},
    {"mvoe Work", Kind::wrong_rule, "method",
     "unknown action \"mvoe\"; the actions are move, copy, delete; did you mean \"move\"?"},
    {"Keep", Kind::wrong_rule, "method",
     "unknown action \"Keep\"; the actions are move, copy, delete; to have the message in the "
     "inbox, type move INBOX"},
    {"reject \"no\"", Kind::wrong_rule, "method",
     "unknown action \"reject\"; the actions are move, copy, delete; rules refuse no message, but "
     "delete files it into the folder Trash"},
    {"file Work", Kind::wrong_rule, "method",
     "unknown action \"file\"; the actions are move, copy, delete"},
    {"fileinto", Kind::wrong_rule, "target", "\"move\" needs a folder, such as move Reports"},
    {"move", Kind::wrong_rule, "target", "\"move\" needs a folder, such as move Reports"},
    {"copy ", Kind::wrong_rule, "target", "\"copy\" needs a folder, such as copy Reports"},
    {"move a\"; discard; \"b", Kind::wrong_rule, "target",
     "a folder can't hold a backslash or a double quote"},
    {"move a\\b", Kind::wrong_rule, "target", "a folder can't hold a backslash or a double quote"},
    {"move a\nb", Kind::wrong_rule, "target", "the folder holds a control character; leave it out"},
    {"delete now", Kind::wrong_rule, "target",
     "\"delete\" takes no folder; type delete, or move now"},
    {"move v1.2", Kind::wrong_rule, "target",
     "\"v1.2\" can't be a folder: IMAP can't open folders with a dot in the name unless "
     "--folder-dots=listescape is given, here and to delivery; type v1-2"},
    {"copy Lists/.x", Kind::wrong_rule, "target",
     "\"Lists/.x\" can't be a folder: IMAP can't open folders with a dot in the name unless "
     "--folder-dots=listescape is given, here and to delivery; type "
     "Lists/-x"},
    {"move Foo/", Kind::wrong_rule, "target",
     "\"Foo/\" can't be a folder: a level of it is empty; type Foo"},
    {"move /Foo", Kind::wrong_rule, "target",
     "\"/Foo\" can't be a folder: a level of it is empty; type Foo"},
    {"move a//b", Kind::wrong_rule, "target",
     "\"a//b\" can't be a folder: a level of it is empty; type a/b"},
    {"move .", Kind::wrong_rule, "target",
     "\".\" can't be a folder: no level can be . or ..; type a name such as Work"},
    {"move ../bob", Kind::wrong_rule, "target",
     "\"../bob\" can't be a folder: no level can be . or ..; type bob"},
    {"move  Foo ", Kind::wrong_rule, "target",
     "\" Foo \" can't be a folder: there are blanks around a level of it; type Foo"},
    {"move a / b", Kind::wrong_rule, "target",
     "\"a / b\" can't be a folder: there are blanks around a level of it; type a/b"},
    {"move inbox", Kind::wrong_rule, "target",
     "\"inbox\" can't be a folder: the inbox is spelled INBOX; type INBOX"},
    {"move iNBOX/a", Kind::wrong_rule, "target",
     "\"iNBOX/a\" can't be a folder: the inbox is spelled INBOX; type INBOX/a"},
    {"move INBOX/Inbox/a", Kind::wrong_rule, "target",
     "\"INBOX/Inbox/a\" can't be a folder: the inbox is named twice; type INBOX/a"},
    {"move " + std::string(255, 'x'), Kind::wrong_rule, "target", too_long},
    {"move ~bob/mail", Kind::wrong_rule, "target",
     "\"~bob/mail\" can't be a folder: IMAP can't open folders that begin with ~; type bob/mail"},
    {"copy INBOX/~ ~bob/~x", Kind::wrong_rule, "target",
     "\"INBOX/~ ~bob/~x\" can't be a folder: IMAP can't open folders that begin with ~; type "
     "INBOX/bob/~x"},
    {"move INBOX/~", Kind::wrong_rule, "target",
     "\"INBOX/~\" can't be a folder: IMAP can't open folders that begin with ~; type INBOX"},
    {"move caf\xE9", Kind::not_utf8, "target", "the folder is not UTF-8"}};

const WrongRule wrong_names[] = {
    {"", Kind::no_name, "name", "a filter needs a name"},
    {"x\ndiscard;", Kind::wrong_rule, "name", "the name holds a control character; leave it out"},
    {"x\r", Kind::wrong_rule, "name", "the name holds a control character; leave it out"},
    {"caf\xE9", Kind::not_utf8, "name", "the name is not UTF-8"}};

void expect_refusal(const WrongRule& c, const Refusal& refusal) {
  SCOPED_TRACE(c.text.substr(0, 80));
  expect_refusal(c.kind, c.part, c.reason, refusal);
}

Refusal refusal_of_test(const std::string& text) {
  RuleTest test;
  EXPECT_FALSE(read_test(text, test));
  return check_test(test);
}

Refusal refusal_of_action(const std::string& text,
                          Delivery::FolderDots dots = Delivery::FolderDots::inbox) {
  Action action;
  EXPECT_FALSE(read_action(text, action));
  return check_action(action, dots);
}

TEST(CheckTest, TakesEveryComparatorWithTheTypesItGoesWith) {
  for (const char* text :
       {"string subject is x", "string subject contains x", "string subject begin_with [x]",
        "string subject end_with (x)", "address from is a@example.org", "address to_cc contains a",
        "date zvx-received-date is 2026-05-01", "date zvx-received-date before 20260501",
        "date zvx-received-date after 2026/05/01", "size size greater 0", "size size less 2097151",
        "not case string subject is B\xC3\xBCro", "string subject is  ",
        "address Resent-To contains a", "case address from_to_cc is A@example.org",
        "date zvx-received-date is 2024-02-29", "date zvx-received-date is 2000-02-29",
        "size less 1", "string x-body is a"})
    EXPECT_EQ("", said(refusal_of_test(text))) << "text: " << text;
}

TEST(CheckTest, NamesWhatIsWrong) {
  for (const auto& c : wrong_tests) expect_refusal(c, refusal_of_test(c.text));
}

TEST(CheckTest, TakesAUnitForNoPlainNumber) {
  RuleTest test = {{"size", "size"}, false, false, "greater", "2 MB"};
  expect_refusal(Kind::wrong_rule, "value",
                 "a size is kept as a plain number of KiB; type size greater 2048",
                 check_test(test));
}

TEST(CheckTest, NeedsNoRoomForATemporaryFile) {
  const TemporaryFolder folder;
  const Refusal refusal = in_child([&folder] {
    (void)setenv("TMPDIR", folder.file("missing").c_str(), 1);
    return refusal_of_test("string subject is x");
  });
  EXPECT_EQ("", said(refusal));
}

TEST(CheckTest, TellsMemoryThatIsShortFromATestThatDoesNotCompile) {
  const Refusal refusal = in_child([] {
    limit_file_size(250);
    return refusal_of_test("string subject is " + std::string(1000, 'x'));
  });
  expect_refusal(Kind::unavailable, "value", "can't be checked: memory is short", refusal);
}

TEST(CheckWords, MissesTheField) {
  RuleTest test;
  test.field.type = "string";
  test.comparator = "is";
  test.value = "x";
  expect_refusal(Kind::wrong_rule, "field", "the field is missing, such as subject or from",
                 check_words(test));
}

TEST(CheckAction, TakesEveryAction) {
  for (const char* text : {"move Reports", "copy Old mail/B\xC3\xBCro & Co", "delete", "move INBOX",
                           "move Inbox/a", "move a/inbox"})
    EXPECT_EQ("", said(refusal_of_action(text))) << "text: " << text;
}

TEST(CheckAction, NamesWhatIsWrong) {
  for (const auto& c : wrong_actions) expect_refusal(c, refusal_of_action(c.text));
}

TEST(CheckAction, TakesDotsWhereDeliveryHasFoldersForThem) {
  const auto dots = Delivery::FolderDots::listescape;
  for (const char* text : {"move v1.2", "copy Lists/.x", "move INBOX/a.b"})
    EXPECT_EQ("", said(refusal_of_action(text, dots))) << "text: " << text;
  expect_refusal(Kind::wrong_rule, "target",
                 "\"a.b/..\" can't be a folder: no level can be . or ..; type a.b",
                 refusal_of_action("move a.b/..", dots));
  EXPECT_EQ("", said(refusal_of_action("move " + std::string(251, 'x') + '.', dots)));
  EXPECT_EQ(Kind::wrong_rule, refusal_of_action("move " + std::string(252, 'x') + '.', dots).kind);
}

TEST(RemarkOn, SaysThatACopyLeavesTheMessageInTheInbox) {
  const Action copy = {Action::COPY, "A", ""};
  const Action move = {Action::MOVE, "B", ""};
  const Action remove = {Action::DELETE, "", ""};
  EXPECT_EQ("", remark_on({copy, copy}));
  EXPECT_EQ("", remark_on({move, remove}));
  EXPECT_EQ(
      "copy leaves the message in the inbox as well, beside delete; use move in its place to have "
      "it out of there",
      remark_on({move, remove, copy}));
  EXPECT_EQ(
      "copy leaves the message in the inbox as well, beside move; use move in its place to have it "
      "out of there",
      remark_on({copy, move}));
}

TEST(CheckName, RefusesWhatWouldLeaveTheScriptsComment) {
  EXPECT_FALSE(check_name("Reports; \"quoted\" # B\xC3\xBCro"));
  for (const auto& c : wrong_names) expect_refusal(c, check_name(c.text));
}

TEST(CheckRelation, KnowsTwoWords) {
  EXPECT_FALSE(check_relation("allof"));
  EXPECT_FALSE(check_relation("anyof"));
  expect_refusal(Kind::wrong_rule, "relation",
                 "unknown relation \"any\"; the relations are allof, anyof", check_relation("any"));
}

TEST(CheckCounts, WantsSomeTestsAndActions) {
  EXPECT_FALSE(check_counts(1, 1));
  EXPECT_FALSE(check_counts(10, 100));
  expect_refusal(Kind::no_tests, "tests", "a filter without a test would never run",
                 check_counts(0, 1));
  expect_refusal(Kind::too_many_tests, "tests",
                 "a filter has at most 10 tests; spread them over several filters",
                 check_counts(11, 1));
  expect_refusal(Kind::no_actions, "actions", "a filter without an action does nothing",
                 check_counts(1, 0));
}

TEST(CheckUser, WantsAMailAddress) {
  EXPECT_FALSE(check_user("alice@example.org"));
  for (const char* user : {"", "alice", "@example.org"})
    expect_refusal(Kind::no_address, user,
                   "no mail address; a user is named like alice@example.org", check_user(user));
}

}  // namespace
}  // namespace Quarrow::Administration
