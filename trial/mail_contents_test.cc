// Reading sources, and taking their messages apart.
#include "trial/mail_contents.h"

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <string>

#include "system/file_io.h"
#include "system/refused_calls_test_support.h"
#include "tests/support/temporary_folder_test_support.h"
#include "trial/standard_input_test_support.h"

namespace Quarrow::Trial {
namespace {

using Kind = SourceFailure::Kind;

// The failure of opening `source`; a success fails the test.
SourceFailure failure_of(const MailSource& source, std::size_t limit = stream_limit) {
  MailContents contents;
  const auto failure = contents.open(source, limit);
  EXPECT_TRUE(failure) << source.path;
  EXPECT_EQ("", contents.bytes());
  return failure.value_or(SourceFailure());
}

TEST(MailContents, AreThoseOfTheFile) {
  const TemporaryFolder folder;
  const std::string small("Subject: a\0b\n\nText", 19);
  for (const std::string& text : {small, small + std::string(100000, 'x')}) {
    MailContents contents;
    EXPECT_FALSE(contents.open({folder.write("a.eml", text)}));
    EXPECT_EQ(text, contents.bytes());
    struct stat found;
    ASSERT_EQ(0, stat(folder.file("a.eml").c_str(), &found));
    EXPECT_EQ(found.st_mtime, contents.time());
  }
}

TEST(MailContents, OfAStreamAreInNoFile) {
  int ends[2] = {-1, -1};
  ASSERT_EQ(0, pipe(ends));
  const Descriptor reader(ends[0]);
  ASSERT_EQ(1, write(ends[1], "x", 1));
  ASSERT_EQ(0, close(ends[1]));
  MailContents contents;
  ASSERT_FALSE(contents.open({"/proc/self/fd/" + std::to_string(reader.get())}));
  EXPECT_EQ("x", contents.bytes());
  EXPECT_GT(0, contents.file());
}

TEST(MailContents, OfStandardInputAreReadToTheEnd) {
  const std::string text = "Subject: a\n\n" + std::string(40000, 'x');
  const PipedStandardInput input(text);
  const std::time_t before = std::time(nullptr);
  MailContents contents;
  ASSERT_FALSE(contents.open({"-"}));
  EXPECT_EQ(text, contents.bytes());
  EXPECT_GT(0, contents.file());
  EXPECT_LE(before, contents.time());
}

TEST(MailContents, RefuseAnEmptyFile) {
  const TemporaryFolder folder;
  const SourceFailure failure = failure_of({folder.write("a.eml", "")});
  EXPECT_EQ(Kind::empty, failure.kind);
  EXPECT_EQ(folder.file("a.eml"), failure.object);
  EXPECT_EQ("an empty file, no message", failure.reason);
}

TEST(MailContents, RefuseAnEmptyStandardInput) {
  const PipedStandardInput input("");
  const SourceFailure failure = failure_of({"-"});
  EXPECT_EQ(Kind::empty, failure.kind);
  EXPECT_EQ("-", failure.object);
  EXPECT_EQ("empty, no message", failure.reason);
}

TEST(MailContents, CantBeReadFromAMissingFile) {
  const TemporaryFolder folder;
  const SourceFailure failure = failure_of({folder.file("b.eml")});
  EXPECT_EQ(Kind::cannot_read, failure.kind);
  EXPECT_EQ(folder.file("b.eml"), failure.object);
  EXPECT_EQ("can't be read: No such file or directory", failure.reason);
}

TEST(MailContents, OfAMaildirAreThoseOfRegularFilesOnly) {
  const TemporaryFolder folder;
  const std::string file = folder.write("file", "Subject: a\n\n");
  ASSERT_EQ(0, mkfifo(folder.file("fifo").c_str(), 0600));
  ASSERT_EQ(0, symlink(file.c_str(), folder.file("link").c_str()));
  ASSERT_EQ(0, symlink("/dev/zero", folder.file("endless").c_str()));
  const struct {
    const char* name;
    const char* reason;
  } cases[] = {{"fifo", "can't be read: Is not a regular file"},
               {"link", "can't be read: Is a symbolic link"},
               {"endless", "can't be read: Is a symbolic link"}};
  for (const auto& c : cases)
    EXPECT_EQ(c.reason, failure_of({folder.file(c.name), 0, true}).reason) << c.name;
  MailContents contents;
  EXPECT_FALSE(contents.open({file, 0, true}));
  MailContents named_by_the_user;
  EXPECT_FALSE(named_by_the_user.open({folder.file("link")}));
}

TEST(MailContents, CameAtTheTimeInTheNameOfAMaildirsFile) {
  const TemporaryFolder folder;
  MailContents contents;
  EXPECT_FALSE(contents.open({folder.write("1777896000.M5P7Q1.host,S=9:2,S", "Subject: ")}));
  EXPECT_EQ(1777896000, contents.time());
}

TEST(MailContents, CantBeReadFromAFolder) {
  const TemporaryFolder folder;
  const SourceFailure failure = failure_of({folder.path()});
  EXPECT_EQ(Kind::cannot_read, failure.kind);
  EXPECT_EQ("can't be read: Is a directory", failure.reason);
}

TEST(MailContents, CantBeReadWhereAFileCantBeMapped) {
  const TemporaryFolder folder;
  const std::string large = folder.write("a.eml", std::string(100000, 'x'));
  const auto read = [&large] {
    const bool is_refused = refuse_call(
        SCMP_SYS(mmap), ENOMEM, {{2, SCMP_CMP_EQ, PROT_READ, 0}, {3, SCMP_CMP_EQ, MAP_PRIVATE, 0}});
    _exit(is_refused && failure_of({large}).reason == "can't be read: Cannot allocate memory" ? 0
                                                                                              : 1);
  };
  EXPECT_EXIT(read(), testing::ExitedWithCode(0), "");
}

TEST(MailContents, EndWhereAStreamGoesOnForEver) {
  const SourceFailure failure = failure_of({"/dev/zero"}, std::size_t{2} << 20);
  EXPECT_EQ(Kind::too_long, failure.kind);
  EXPECT_EQ("/dev/zero", failure.object);
  EXPECT_EQ("longer than 2 MiB; put it into a file", failure.reason);
}

TEST(MailContents, OfAStreamMayBeAsLongAsTheLimit) {
  MailContents contents;
  const PipedStandardInput input(std::string(5000, 'x'));
  ASSERT_FALSE(contents.open({"-"}, 5000));
  EXPECT_EQ(5000U, contents.bytes().size());
  const PipedStandardInput longer(std::string(5001, 'x'));
  EXPECT_EQ(Kind::too_long, failure_of({"-"}, 5000).kind);
}

const char* const mbox_text =
    "From a@example.org Mon May  4 09:30:00 2026\nSubject: a\n\nText\n\n"
    "From b@example.org Mon May  4 09:31:00 2026\nSubject: b\n\nText\n";

void expect_two_messages(const std::string& name, const std::vector<FoundMessage>& messages) {
  ASSERT_EQ(2U, messages.size());
  EXPECT_EQ(name + "#1", messages[0].name);
  EXPECT_EQ("Subject: a\n\nText\n", messages[0].bytes);
  EXPECT_EQ(name + "#2", messages[1].name);
  EXPECT_EQ("Subject: b\n\nText\n", messages[1].bytes);
  for (const auto& message : messages) EXPECT_GT(0, message.file) << message.name;
}

TEST(MessagesOf, TakesTheMessagesOfAnMboxApart) {
  const TemporaryFolder folder;
  MailContents mbox;
  ASSERT_FALSE(mbox.open({folder.write("mbox", mbox_text)}));
  expect_two_messages("x", messages_of({"x"}, mbox));
}

TEST(MessagesOf, TakesAnMboxOnStandardInputApart) {
  const PipedStandardInput input(mbox_text);
  const MailSource source = {"-"};
  MailContents mbox;
  ASSERT_FALSE(mbox.open(source));
  expect_two_messages("-", messages_of(source, mbox));
}

const std::string added = "Return-Path: <b@example.org>\nDelivered-To: a@example.org\n";
const std::string received =
    "Received: from c\n\tby mx with LMTP\n\tfor <a@example.org>; Mon, 04 May 2026 12:00:00 +0000\n";

const struct {
  const char* name;
  std::string in_front;
  bool is_left_out;
} stored[] = {{"1777896000.M5P7Q1.host,S=9:2,S", added, true},
              {"1777896000.M5P7Q1.host,S=9", added + received, true},
              {"1777896000.M5P7.host,S=9", added + received, true},
              {"1777896000.M5P7.host,S=9", added, false},
              {"a.eml", added + received, true},
              {"a.eml", added, false},
              {"a.eml", "Delivered-To: b@example.org\n" + received, false}};

TEST(MessagesOf, LeavesOutWhatDeliveryPutInFront) {
  const TemporaryFolder folder;
  const std::string text = "Subject: x\n\nbody\n";
  for (const auto& c : stored) {
    const std::string path = folder.write(c.name, c.in_front + text);
    MailContents contents;
    ASSERT_FALSE(contents.open({path}));
    const auto messages = messages_of({path}, contents);
    ASSERT_EQ(1U, messages.size());
    EXPECT_EQ(c.is_left_out ? text : c.in_front + text, messages[0].bytes) << path;
    EXPECT_EQ(c.is_left_out, messages[0].file < 0) << path;
  }
}

TEST(MessagesOf, LeavesItOutInAnMbox) {
  const TemporaryFolder folder;
  const std::string separator = "From a@example.org Mon May  4 09:30:00 2026\n";
  MailContents mbox;
  ASSERT_FALSE(mbox.open({folder.write("mbox", separator + added + received + "Subject: x\n\n")}));
  const auto messages = messages_of({"x"}, mbox);
  ASSERT_EQ(1U, messages.size());
  EXPECT_EQ("Subject: x\n", messages[0].bytes);
}

TEST(MessagesOf, TakesAnythingElseAsOneMessage) {
  const TemporaryFolder folder;
  for (const char* text : {"Subject: a\n\nText\n", "From the start\n", "From ", "x"}) {
    MailContents contents;
    ASSERT_FALSE(contents.open({folder.write("a.eml", text)}));
    const auto messages = messages_of({"x"}, contents);
    ASSERT_EQ(1U, messages.size()) << "text: " << text;
    EXPECT_EQ("x", messages[0].name);
    EXPECT_EQ(text, messages[0].bytes);
    std::string in_file(messages[0].bytes.size() + 1, '\0');
    in_file.resize(static_cast<std::size_t>(
        std::max<ssize_t>(0, read_at(messages[0].file, in_file.data(), in_file.size(), 0))));
    EXPECT_EQ(text, in_file);
  }
}

}  // namespace
}  // namespace Quarrow::Trial
