// Which messages a command line names.
#include "apps/quarrow/message_files.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sysexits.h>

#include <string>

#include "tests/support/temporary_folder.h"

namespace command {
namespace {

std::vector<std::string> paths(const std::vector<std::string>& arguments, int& status) {
  std::vector<std::string> out;
  for (const auto& file : message_files(arguments, status)) out.push_back(file.path);
  return out;
}

TEST(MessageFiles, StandForMaildirsByTheirMessagesInOrder) {
  const TemporaryFolder folder;
  for (const char* name : {"cur", "new", "tmp"})
    ASSERT_EQ(0, mkdir(folder.file(name).c_str(), 0700));
  const std::string second = folder.write("cur/2:2,S", "x");
  const std::string first = folder.write("cur/1:2,", "x");
  const std::string third = folder.write("new/0", "x");
  folder.write("cur/.hidden", "x");
  folder.write("tmp/unfinished", "x");
  int status = EX_OK;
  EXPECT_EQ((std::vector<std::string>{first, second, third, "-"}),
            paths({folder.path(), "-"}, status));
  EXPECT_EQ(EX_OK, status);
}

TEST(MessageFiles, LeaveOutWhatIsMissingOrNoMaildir) {
  const TemporaryFolder folder;
  const std::string file = folder.write("a.eml", "x");
  int status = EX_OK;
  EXPECT_EQ(std::vector<std::string>{file}, paths({folder.file("none"), file}, status));
  EXPECT_EQ(EX_NOINPUT, status);
  EXPECT_EQ(std::vector<std::string>{file}, paths({folder.path(), file}, status));
  EXPECT_EQ(EX_DATAERR, status);
}

TEST(FileContents, AreThoseOfTheFile) {
  const TemporaryFolder folder;
  const std::string text("Subject: a\0b\n\nText", 19);
  FileContents contents;
  EXPECT_FALSE(contents.open(folder.write("a.eml", text)));
  EXPECT_EQ(text, contents.bytes());
  struct stat found;
  ASSERT_EQ(0, stat(folder.file("a.eml").c_str(), &found));
  EXPECT_EQ(found.st_mtime, contents.time());
}

TEST(FileContents, RefuseAnEmptyAndAMissingFile) {
  const TemporaryFolder folder;
  FileContents empty;
  EXPECT_EQ(EX_DATAERR, empty.open(folder.write("a.eml", "")).status);
  FileContents missing;
  EXPECT_EQ(EX_NOINPUT, missing.open(folder.file("b.eml")).status);
}

TEST(MessagesIn, TakesTheMessagesOfAnMboxApart) {
  const std::string mbox =
      "From a@example.org Mon May  4 09:30:00 2026\nSubject: a\n\nText\n\n"
      "From b@example.org Mon May  4 09:31:00 2026\nSubject: b\n\nText\n";
  const auto messages = messages_in("x", mbox);
  ASSERT_EQ(2U, messages.size());
  EXPECT_EQ("x#1", messages[0].name);
  EXPECT_EQ("Subject: a\n\nText\n", messages[0].bytes);
  EXPECT_EQ("x#2", messages[1].name);
  EXPECT_EQ("Subject: b\n\nText\n", messages[1].bytes);
}

TEST(MessagesIn, TakesAnythingElseAsOneMessage) {
  for (const char* text : {"Subject: a\n\nText\n", "From the start\n", "From ", "x"}) {
    const auto messages = messages_in("x", text);
    ASSERT_EQ(1U, messages.size()) << "text: " << text;
    EXPECT_EQ("x", messages[0].name);
    EXPECT_EQ(text, messages[0].bytes);
  }
}

}  // namespace
}  // namespace command
