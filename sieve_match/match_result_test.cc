#include <gtest/gtest.h>

#include <type_traits>

#include "quarrow/evaluation.h"
#include "tests/support/evaluation_test_support.h"

namespace Quarrow {
namespace {

SieveAction action(unsigned int type, const std::string& folder = "") {
  SieveAction made;
  made.type = type;
  made.mailbox(folder);
  return made;
}

SieveMatchResult result_with(const std::vector<SieveAction>& actions) {
  SieveMatchResult result;
  for (const SieveAction& each : actions) result.add_action(each);
  return result;
}

const struct {
  const char* name;
  const char* want;
} mailbox_names[] = {{"INBOX/Work", "Inbox/Work"},
                     {"inbox/", "Inbox/"},
                     {"inbox/Sub", "Inbox/Sub"},
                     {"Inbox/Work/inbox/x", "Inbox/Work/inbox/x"},
                     {"INBOX", "INBOX"},
                     {"inboxes/Work", "inboxes/Work"},
                     {"Archive/Inbox/x", "Archive/Inbox/x"},
                     {"Archive", "Archive"},
                     {"", ""}};

TEST(MailboxName, HasTheInboxPrefixInOneSpelling) {
  for (const auto& c : mailbox_names)
    EXPECT_EQ(c.want, action(1, c.name).mailbox) << "name: " << c.name;
}

TEST(MailboxName, ReadsComparesAndPrintsAsText) {
  SieveAction filed = action(SieveAction::FILEINTO, "INBOX/A");
  const std::string text = filed.mailbox;
  EXPECT_EQ("Inbox/A", text);
  EXPECT_TRUE(filed.mailbox == std::string("Inbox/A"));
  EXPECT_TRUE(filed.mailbox != "Inbox/B");
  std::ostringstream printed;
  printed << filed.mailbox;
  EXPECT_EQ("Inbox/A", printed.str());
  filed.mailbox = "inbox/plain assignment";
  EXPECT_EQ("inbox/plain assignment", filed.mailbox);
}

TEST(MailboxName, IsMadeFromText) {
  const std::string name = "Work";
  const SieveAction filed = {SieveAction::FILEINTO, name, ""};
  EXPECT_EQ("Work", filed.mailbox);
}

TEST(SieveAction, IsAnEmptyKeepAtFirst) {
  const SieveAction made;
  EXPECT_EQ(0U, made.type);
  EXPECT_EQ("", made.mailbox);
  EXPECT_EQ("", made.message);
  EXPECT_TRUE(std::is_copy_assignable<SieveAction>::value);
}

TEST(SieveMatchResult, KeepsActionsInDescendingOrderOfType) {
  const SieveMatchResult result = result_with(
      {action(0), action(4), action(1, "A"), action(6), action(2), action(5), action(3)});
  ASSERT_EQ(7U, result.actions.size());
  for (unsigned int i = 0; i < 7; ++i) EXPECT_EQ(6 - i, result.actions[i].type);
}

TEST(SieveMatchResult, KeepsEqualActionsInTheirOrderAndMergesNone) {
  const SieveMatchResult result =
      result_with({action(1, "B"), action(0), action(1, "A"), action(0), action(1, "B")});
  EXPECT_EQ(
      "MatchResult [action=FILEINTO:B,action=FILEINTO:A,action=FILEINTO:B,action=KEEP,action=KEEP]",
      text_of(result));
}

TEST(SieveMatchResult, ComparesTypesAsUnsigned) {
  EXPECT_TRUE(SieveMatchResult::comp(action(6), action(5)));
  EXPECT_FALSE(SieveMatchResult::comp(action(5), action(6)));
  EXPECT_FALSE(SieveMatchResult::comp(action(1, "A"), action(1, "B")));
  EXPECT_TRUE(SieveMatchResult::comp(action(~0U), action(0)));
}

const struct {
  unsigned int type;
  const char* want;
} action_texts[] = {{0, "MatchResult [action=KEEP]"},     {1, "MatchResult [action=FILEINTO:Work]"},
                    {2, "MatchResult [action=VACATION]"}, {3, "MatchResult [action=NOTIFY]"},
                    {4, "MatchResult [action=REDIRECT]"}, {5, "MatchResult [action=REJECT]"},
                    {6, "MatchResult [action=DISCARD]"}};

TEST(SieveMatchResult, PrintsEachActionByName) {
  for (const auto& c : action_texts)
    EXPECT_EQ(c.want, text_of(result_with({action(c.type, "Work")})));
}

TEST(SieveMatchResult, PrintsSeveralActionsWithoutBlanks) {
  EXPECT_EQ("MatchResult []", text_of(SieveMatchResult()));
  EXPECT_EQ("MatchResult [action=DISCARD,action=FILEINTO:Inbox/Work,action=KEEP]",
            text_of(result_with({action(0), action(1, "Inbox/Work"), action(6)})));
}

TEST(SieveMatchResult, PrintsAnErrorAlone) {
  const struct {
    int error;
    const char* want;
  } cases[] = {{1, "MatchResult [error=PARSE_SCRIPT]"},
               {2, "MatchResult [error=PARSE_HEADER]"},
               {3, "MatchResult [error=PARSE_ADDRESS]"},
               {4, "MatchResult [error=INVALID_MESSAGE]"},
               {5, "MatchResult [error=UNKNOWN]"}};
  for (const auto& c : cases) {
    SieveMatchResult result = result_with({action(0), action(6)});
    result.error = c.error;
    EXPECT_EQ(c.want, text_of(result));
  }
}

TEST(SieveMatchResult, SetsTheStreamBadWhereThereIsNoName) {
  SieveMatchResult no_such_error;
  no_such_error.error = 6;
  SieveMatchResult negative_error;
  negative_error.error = -1;
  for (const SieveMatchResult& result : {no_such_error, negative_error, result_with({action(7)})}) {
    std::ostringstream text;
    text << result;
    EXPECT_TRUE(text.bad());
  }
}

TEST(SieveMatchResult, PrintsAFolderUpToItsFirstNul) {
  EXPECT_EQ("MatchResult [action=FILEINTO:A]",
            text_of(result_with({action(1, std::string("A\0B", 3))})));
}

}  // namespace
}  // namespace Quarrow
