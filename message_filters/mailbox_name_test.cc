// Folders' names in modified UTF-7.
#include "message_filters/mailbox_name.h"

#include <gtest/gtest.h>

namespace Quarrow::MessageFilters {
namespace {

const struct {
  const char* folder;
  const char* want;
} names[] = {{"", ""},
             {"Inbox", "Inbox"},
             {"a/b/c", "a/b/c"},
             {"Work/", "Work/"},
             {"/Work", "/Work"},
             {"/", "/"},
             {"R&D", "R&-D"},
             {"B\xC3\xBC"
              "cher/\xC3\xA9t\xC3\xA9",
              "B&APw-cher/&AOk-t&AOk-"}};

TEST(ImapMailboxName, ConvertsLevelByLevel) {
  for (const auto& c : names) EXPECT_EQ(c.want, imap_mailbox_name(c.folder)) << c.folder;
}

TEST(ImapMailboxName, CharacterBehindASeparatorNeverSeparates) {
  // Seen at the limit of the converter, 1024 bytes of a level: "/" and 1023 others are one level.
  const std::string letters(1023, 'x');
  EXPECT_EQ("a//" + letters, imap_mailbox_name("a//" + letters + 'y'));
  EXPECT_EQ("a//b/c", imap_mailbox_name("a//b/c"));
  EXPECT_EQ("a///b", imap_mailbox_name("a///b"));
}

TEST(ImapMailboxName, LimitsEachLevelOnItsOwn) {
  const std::string level(1024, 'x');
  EXPECT_EQ(level + '/' + level, imap_mailbox_name(level + "y/" + level + "z"));
}

}  // namespace
}  // namespace Quarrow::MessageFilters
