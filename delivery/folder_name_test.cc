// Mailbox names and the folders they stand for.
#include "delivery/folder_name.h"

#include <gtest/gtest.h>

namespace Quarrow::Delivery {
namespace {

const struct {
  const char* mailbox;
  const char* want;
} levels[] = {{"Work", ".Work"},
              {"A/B", ".A.B"},
              {"Lists/C++/Talk", ".Lists.C++.Talk"},
              {"Entw&APw-rfe", ".Entw&APw-rfe"},  // modified UTF-7 stays as it is
              {"R&-D", ".R&-D"},
              {"two words", ".two words"},
              {"A/~root", ".A.~root"},
              {"a\\b", ".a\\b"},
              {"v1.2", ".v1&AC4-2"},
              {".hidden", ".&AC4-hidden"},
              {"...", ".&AC4-&AC4-&AC4-"},
              {"a..b/c.", ".a&AC4-&AC4-b.c&AC4-"}};

TEST(MaildirFolder, IsNamedAfterTheLevels) {
  for (const auto& c : levels) EXPECT_EQ(c.want, maildir_folder(c.mailbox)) << c.mailbox;
}

TEST(MaildirFolder, IsEmptyForTheInbox) {
  for (const char* mailbox :
       {"", "Inbox", "INBOX", "inbox", "Inbox/", "Inbox/INBOX", "inbox/Inbox/"})
    EXPECT_EQ("", maildir_folder(mailbox)) << mailbox;
}

const struct {
  const char* mailbox;
  const char* want;
} with_prefix[] = {{"Inbox/Work", ".Work"},     {"INBOX/A/B", ".A.B"},      {"Inbox/Inbox/A", ".A"},
                   {"Inboxes/A", ".Inboxes.A"}, {"Inbox2", ".Inbox2"},      {"A/Inbox", ".A.Inbox"},
                   {"Inbo", ".Inbo"},           {"Inbox/v1.2", ".v1&AC4-2"}};

TEST(MaildirFolder, LosesThePrefixOfTheInbox) {
  for (const auto& c : with_prefix) EXPECT_EQ(c.want, maildir_folder(c.mailbox)) << c.mailbox;
}

const std::string no_folders[] = {"/",           "/A",
                                  "A/",          "A//B",
                                  "Inbox//A",    ".",
                                  "..",          "../../etc",
                                  "A/../B",      "A/.",
                                  "Inbox/..",    "tab\there",
                                  "line\nbreak", std::string("N\0L", 3),
                                  "\x7f",        "caf\xc3\xa9",
                                  "~root",       "Inbox/~root"};

TEST(MaildirFolder, IsNothingForNamesThatCanBeNoFolder) {
  for (const auto& name : no_folders) EXPECT_FALSE(maildir_folder(name)) << name;
}

TEST(MaildirFolder, HasRoomForAFileName) {
  EXPECT_EQ('.' + std::string(254, 'a'), maildir_folder(std::string(254, 'a')));
  EXPECT_FALSE(maildir_folder(std::string(255, 'a')));
  EXPECT_TRUE(maildir_folder(std::string(249, 'a') + ".").has_value());  // 1 + 249 + 5 bytes
  EXPECT_FALSE(maildir_folder(std::string(250, 'a') + ".").has_value());
}

}  // namespace
}  // namespace Quarrow::Delivery
