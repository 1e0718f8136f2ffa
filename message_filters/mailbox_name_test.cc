// Folders' names in modified UTF-7.
#include "message_filters/mailbox_name.h"

#include <gtest/gtest.h>

namespace Quarrow::MessageFilters {
namespace {

const struct {
  const char* folder;
  const char* want;
} mailbox_names[] = {{"", ""},
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
  for (const auto& c : mailbox_names) EXPECT_EQ(c.want, imap_mailbox_name(c.folder)) << c.folder;
}

TEST(ReadableMailboxName, IsTheFolderAgain) {
  for (const auto& c : mailbox_names) EXPECT_EQ(c.folder, readable_mailbox_name(c.want));
  EXPECT_EQ("\xE6\x97\xA5\xE6\x9C\xAC", readable_mailbox_name("&ZeVnLA-"));
  EXPECT_EQ("\xF0\x9F\x93\xA7", readable_mailbox_name("&2D3c5w-"));
  EXPECT_EQ("\xEF\xBC\xA1", readable_mailbox_name("&,yE-"));
  EXPECT_EQ(
      "fileinto:Gr\xC3\xB6\xC3\x9F"
      "e,keep",
      readable_mailbox_name("fileinto:Gr&APYA3w-e,keep"));
}

TEST(ReadableMailboxName, LeavesWhatIsWrittenOtherwise) {
  for (const char* const name : {"R&D", "a&b c-", "&APw", "&AP-", "&APx-", "&2D0-", "&3Oc-",
                                 "&2D0APw-", "B\xC3\xBCro", "&AAA-&!-"})
    EXPECT_EQ(name, readable_mailbox_name(name));
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
