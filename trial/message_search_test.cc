// Messages by their identifiers.
#include "trial/message_search.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Trial {
namespace {

namespace fs = std::filesystem;

class MessageSearchTest : public testing::Test {
 protected:
  MessageSearchTest() {
    for (const char* name : {"Maildir/cur", "Maildir/new"})
      fs::create_directories(folder_.file(name));
  }

  std::string maildir() const { return folder_.file("Maildir"); }

  // The paths that are found for `id`.
  std::vector<std::string> found(const std::string& id) {
    std::vector<std::string> paths;
    for (const auto& source : find_message(maildir(), message_id_of(id), runs_).sources)
      paths.push_back(source.path);
    return paths;
  }

  const TemporaryFolder folder_;
  IsolatedRuns runs_;
};

TEST_F(MessageSearchTest, TakesIdentifiersWithAndWithoutBrackets) {
  for (const char* text : {"<a@b>", "a@b", " <a@b>\n"}) EXPECT_EQ("<a@b>", message_id_of(text));
  for (const char* text : {"", " ", "<", "<>", ">"}) EXPECT_EQ("", message_id_of(text)) << text;
}

TEST_F(MessageSearchTest, FindsTheMessageWithTheIdentifier) {
  folder_.write("Maildir/cur/1", "Message-ID: <1@x>\n\n");
  const auto second = folder_.write("Maildir/new/2", "Subject: x\nmessage-id:\n <2@x>\n\n");
  EXPECT_EQ(std::vector<std::string>{second}, found("2@x"));
  EXPECT_TRUE(found("3@x").empty());
  EXPECT_TRUE(found("@x").empty());
}

TEST_F(MessageSearchTest, LooksAtNoOtherHeaderAndNoText) {
  folder_.write("Maildir/cur/1", "References: <1@x>\nMessage-ID: <2@x>\n\n");
  folder_.write("Maildir/cur/2", "Subject: x\n\nMessage-ID: <1@x>\n");
  EXPECT_TRUE(found("1@x").empty());
}

TEST_F(MessageSearchTest, GoesOnBehindAFileThatCanNotBeRead) {
  fs::create_symlink("/etc/hostname", folder_.file("Maildir/cur/1"));
  folder_.write("Maildir/cur/2", "Message-ID: <2@x>\n\n");
  const auto mail = find_message(maildir(), "<2@x>", runs_);
  EXPECT_EQ(1U, mail.sources.size());
  ASSERT_EQ(1U, mail.failures.size());
  EXPECT_EQ(folder_.file("Maildir/cur/1"), mail.failures[0].object);
}

TEST_F(MessageSearchTest, FollowsNoLinkToAFolder) {
  folder_.write("Maildir/cur/1", "Message-ID: <1@x>\n\n");
  fs::create_symlink(maildir(), folder_.file("Linked"));
  fs::create_directories(folder_.file("Maildir/.Work/cur"));
  fs::create_directories(folder_.file("Maildir/.Work/new"));
  folder_.write("Maildir/.Work/cur/1", "Message-ID: <1@x>\n\n");
  for (const char* linked : {"Linked", "Linked/.Work"}) {
    const auto mail = find_message(folder_.file(linked), "<1@x>", runs_);
    EXPECT_TRUE(mail.sources.empty());
    EXPECT_EQ(1U, mail.failures.size());
  }
}

}  // namespace
}  // namespace Quarrow::Trial
