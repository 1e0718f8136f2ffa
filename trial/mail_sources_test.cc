// Which messages a command line names.
#include "trial/mail_sources.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sysexits.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::Trial {
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
  const std::string small("Subject: a\0b\n\nText", 19);
  for (const std::string& text : {small, small + std::string(100000, 'x')}) {
    FileContents contents;
    EXPECT_FALSE(contents.open(folder.write("a.eml", text)));
    EXPECT_EQ(text, contents.bytes());
    struct stat found;
    ASSERT_EQ(0, stat(folder.file("a.eml").c_str(), &found));
    EXPECT_EQ(found.st_mtime, contents.time());
  }
}

TEST(FileContents, OfAStreamAreInNoFile) {
  int ends[2] = {-1, -1};
  ASSERT_EQ(0, pipe(ends));
  const Descriptor reader(ends[0]);
  ASSERT_EQ(1, write(ends[1], "x", 1));
  ASSERT_EQ(0, close(ends[1]));
  FileContents contents;
  ASSERT_FALSE(contents.open("/proc/self/fd/" + std::to_string(reader.get())));
  EXPECT_EQ("x", contents.bytes());
  EXPECT_GT(0, contents.file());
}

TEST(FileContents, RefuseAnEmptyAndAMissingFile) {
  const TemporaryFolder folder;
  FileContents empty;
  EXPECT_EQ(EX_DATAERR, empty.open(folder.write("a.eml", "")).status);
  FileContents missing;
  EXPECT_EQ(EX_NOINPUT, missing.open(folder.file("b.eml")).status);
}

TEST(MessagesIn, TakesTheMessagesOfAnMboxApart) {
  const TemporaryFolder folder;
  FileContents mbox;
  ASSERT_FALSE(
      mbox.open(folder.write("mbox",
                             "From a@example.org Mon May  4 09:30:00 2026\nSubject: a\n\nText\n\n"
                             "From b@example.org Mon May  4 09:31:00 2026\nSubject: b\n\nText\n")));
  const auto messages = messages_in("x", mbox);
  ASSERT_EQ(2U, messages.size());
  EXPECT_EQ("x#1", messages[0].name);
  EXPECT_EQ("Subject: a\n\nText\n", messages[0].bytes);
  EXPECT_EQ("x#2", messages[1].name);
  EXPECT_EQ("Subject: b\n\nText\n", messages[1].bytes);
  for (const auto& message : messages) EXPECT_GT(0, message.file) << message.name;
}

TEST(MessagesIn, TakesAnythingElseAsOneMessage) {
  const TemporaryFolder folder;
  for (const char* text : {"Subject: a\n\nText\n", "From the start\n", "From ", "x"}) {
    FileContents contents;
    ASSERT_FALSE(contents.open(folder.write("a.eml", text)));
    const auto messages = messages_in("x", contents);
    ASSERT_EQ(1U, messages.size()) << "text: " << text;
    EXPECT_EQ("x", messages[0].name);
    EXPECT_EQ(text, messages[0].bytes);
    std::string in_file(messages[0].bytes.size() + 1, '\0');
    in_file.resize(static_cast<std::size_t>(
        std::max<ssize_t>(0, pread(messages[0].file, in_file.data(), in_file.size(), 0))));
    EXPECT_EQ(text, in_file);
  }
}

}  // namespace
}  // namespace Quarrow::Trial
