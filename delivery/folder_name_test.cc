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
              {"a\\b", ".a\\b"}};

TEST(MaildirFolder, IsNamedAfterTheLevels) {
  for (const auto& c : levels)
    EXPECT_EQ(c.want, maildir_folder(c.mailbox, FolderDots::inbox)) << c.mailbox;
}

// The folders that Dovecot 2.3 makes for these mailboxes with its plugin listescape.
const struct {
  const char* mailbox;
  const char* want;
} escaped_levels[] = {{"Work", ".Work"},
                      {"A/B", ".A.B"},
                      {"Entw&APw-rfe", ".Entw&APw-rfe"},
                      {"R&-D.x", ".R&-D\\2ex"},
                      {"&AOQ-.&APY-", ".&AOQ-\\2e&APY-"},
                      {"v1.2", ".v1\\2e2"},
                      {".hid", ".\\2ehid"},
                      {"...", ".\\2e\\2e\\2e"},
                      {"a.b/c.d", ".a\\2eb.c\\2ed"},
                      {"a\\b", ".a\\5cb"},
                      {"~root", ".\\7eroot"},
                      {"a/~b", ".a.\\7eb"},
                      {"q~", ".q~"},
                      {"Inbox/v1.2", ".v1\\2e2"}};

TEST(MaildirFolder, IsSpelledAsThePluginListescapeReadsIt) {
  for (const auto& c : escaped_levels)
    EXPECT_EQ(c.want, maildir_folder(c.mailbox, FolderDots::listescape)) << c.mailbox;
}

TEST(MaildirFolder, IsNothingForADotOrATildeThatNoPluginReads) {
  for (const char* mailbox :
       {"v1.2", ".hidden", "...", "a/b.", "Inbox/v1.2", "a.b/c", "~root", "Inbox/~root"}) {
    EXPECT_FALSE(maildir_folder(mailbox, FolderDots::inbox)) << mailbox;
    EXPECT_TRUE(maildir_folder(mailbox, FolderDots::listescape)) << mailbox;
  }
}

const FolderDots each_spelling[] = {FolderDots::inbox, FolderDots::listescape};

TEST(MaildirFolder, IsEmptyForTheInbox) {
  for (const char* mailbox :
       {"", "Inbox", "INBOX", "inbox", "Inbox/", "Inbox/INBOX", "inbox/Inbox/"})
    for (const auto dots : each_spelling) EXPECT_EQ("", maildir_folder(mailbox, dots)) << mailbox;
}

const struct {
  const char* mailbox;
  const char* want;
} with_prefix[] = {{"Inbox/Work", ".Work"}, {"INBOX/A/B", ".A.B"},
                   {"Inbox/Inbox/A", ".A"}, {"Inboxes/A", ".Inboxes.A"},
                   {"Inbox2", ".Inbox2"},   {"A/Inbox", ".A.Inbox"},
                   {"Inbo", ".Inbo"}};

TEST(MaildirFolder, LosesThePrefixOfTheInbox) {
  for (const auto& c : with_prefix)
    EXPECT_EQ(c.want, maildir_folder(c.mailbox, FolderDots::inbox)) << c.mailbox;
}

const std::string no_folders[] = {"/",           "/A",
                                  "A/",          "A//B",
                                  "Inbox//A",    ".",
                                  "..",          "../../etc",
                                  "A/../B",      "A/.",
                                  "Inbox/..",    "tab\there",
                                  "line\nbreak", std::string("N\0L", 3),
                                  "\x7f",        "caf\xc3\xa9",
                                  "v1&AC4-2",    "&AOQALg-"};

TEST(MaildirFolder, IsNothingForNamesThatCanBeNoFolder) {
  for (const auto& name : no_folders)
    for (const auto dots : each_spelling) EXPECT_FALSE(maildir_folder(name, dots)) << name;
}

TEST(MaildirFolder, HasRoomForAFileName) {
  EXPECT_EQ('.' + std::string(254, 'a'), maildir_folder(std::string(254, 'a'), FolderDots::inbox));
  EXPECT_FALSE(maildir_folder(std::string(255, 'a'), FolderDots::inbox));
  // 1 + 251 + 3 bytes
  EXPECT_TRUE(maildir_folder(std::string(251, 'a') + ".", FolderDots::listescape));
  EXPECT_FALSE(maildir_folder(std::string(252, 'a') + ".", FolderDots::listescape));
}

TEST(NoFolderNote, TellsADotFromANameThatCanBeNoFolder) {
  EXPECT_EQ("IMAP can't open folders with a dot in the name, hence the inbox: B\xC3\xBCro/v1.2",
            no_folder_note("B&APw-ro/v1.2"));
  EXPECT_EQ("IMAP can't open folders that begin with ~, hence the inbox: ~a", no_folder_note("~a"));
  EXPECT_EQ("not a folder name, hence the inbox: A//b.c", no_folder_note("A//b.c"));
  EXPECT_EQ("not a folder name, hence the inbox: v1&AC4-2", no_folder_note("v1&AC4-2"));
}

TEST(FolderDots, HaveTwoWords) {
  EXPECT_EQ("", folder_dots_fault("inbox") + folder_dots_fault("listescape"));
  EXPECT_EQ("neither inbox nor listescape: Inbox", folder_dots_fault("Inbox"));
  EXPECT_EQ(FolderDots::inbox, folder_dots_of("inbox"));
  EXPECT_EQ(FolderDots::listescape, folder_dots_of("listescape"));
}

}  // namespace
}  // namespace Quarrow::Delivery
