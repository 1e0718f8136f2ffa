// Mailbox names and the folders they stand for.
#include "delivery/folder_name.h"

#include <gtest/gtest.h>

namespace Quarrow::Delivery {
namespace {

TEST(MaildirFolder, IsNamedAfterTheLevels) {
  const struct {
    const char* mailbox;
    const char* want;
  } cases[] = {{"Work", ".Work"},
               {"A/B", ".A.B"},
               {"Lists/C++/Talk", ".Lists.C++.Talk"},
               {"Entw&APw-rfe", ".Entw&APw-rfe"},  // modified UTF-7 stays as it is
               {"R&-D", ".R&-D"},
               {"two words", ".two words"},
               {"~root", ".~root"},
               {"a\\b", ".a\\b"},
               {"v1.2", ".v1&AC4-2"},
               {".hidden", ".&AC4-hidden"},
               {"...", ".&AC4-&AC4-&AC4-"},
               {"a..b/c.", ".a&AC4-&AC4-b.c&AC4-"}};
  for (const auto& c : cases) EXPECT_EQ(c.want, maildir_folder(c.mailbox)) << c.mailbox;
}

TEST(MaildirFolder, IsEmptyForTheInbox) {
  for (const char* mailbox :
       {"", "Inbox", "INBOX", "inbox", "Inbox/", "Inbox/INBOX", "inbox/Inbox/"})
    EXPECT_EQ("", maildir_folder(mailbox)) << mailbox;
}

TEST(MaildirFolder, LosesThePrefixOfTheInbox) {
  const struct {
    const char* mailbox;
    const char* want;
  } cases[] = {{"Inbox/Work", ".Work"},     {"INBOX/A/B", ".A.B"},      {"Inbox/Inbox/A", ".A"},
               {"Inboxes/A", ".Inboxes.A"}, {"Inbox2", ".Inbox2"},      {"A/Inbox", ".A.Inbox"},
               {"Inbo", ".Inbo"},           {"Inbox/v1.2", ".v1&AC4-2"}};
  for (const auto& c : cases) EXPECT_EQ(c.want, maildir_folder(c.mailbox)) << c.mailbox;
}

TEST(MaildirFolder, IsNothingForNamesThatCanBeNoFolder) {
  const std::string names[] = {"/",           "/A",
                               "A/",          "A//B",
                               "Inbox//A",    ".",
                               "..",          "../../etc",
                               "A/../B",      "A/.",
                               "Inbox/..",    "tab\there",
                               "line\nbreak", std::string("N\0L", 3),
                               "\x7f",        "caf\xc3\xa9"};
  for (const auto& name : names) EXPECT_FALSE(maildir_folder(name)) << name;
}

TEST(MaildirFolder, HasRoomForAFileName) {
  EXPECT_EQ('.' + std::string(254, 'a'), maildir_folder(std::string(254, 'a')));
  EXPECT_FALSE(maildir_folder(std::string(255, 'a')));
  EXPECT_TRUE(maildir_folder(std::string(249, 'a') + ".").has_value());  // 1 + 249 + 5 bytes
  EXPECT_FALSE(maildir_folder(std::string(250, 'a') + ".").has_value());
}

}  // namespace
}  // namespace Quarrow::Delivery
