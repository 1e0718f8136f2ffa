// Messages that go to other folders and come back, while clients do what they like.
#include "refiling/refiler.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <utility>

#include "refiling/refiling_test_support.h"

namespace Quarrow::Refiling {
namespace {

namespace fs = std::filesystem;

std::time_t changed(const std::string& path) {
  struct stat status {};
  EXPECT_EQ(0, stat(path.c_str(), &status)) << path;
  return status.st_mtime;
}

class RefilerTest : public testing::Test {
 protected:
  const TemporaryMaildir maildir_;
};

TEST_F(RefilerTest, MovesAndBringsBack) {
  maildir_.put("cur/a,S=1:2,FS");
  maildir_.put("new/b,S=1");
  const Lines before = maildir_.messages();
  EXPECT_EQ(Lines(), maildir_.apply({{"a,S=1", {".A.B"}}, {"b,S=1", {".C"}}}));
  EXPECT_EQ(Lines({".A.B/cur/a,S=1:2,FS", ".C/new/b,S=1"}), maildir_.messages());
  EXPECT_EQ("A.B\nC\n", content_of(maildir_.folder("subscriptions")));
  EXPECT_EQ(Lines(), maildir_.undo());
  EXPECT_EQ(before, maildir_.messages());
  EXPECT_EQ(Lines({"nothing to undo"}), maildir_.undo());
}

TEST_F(RefilerTest, MovesOutOfAFolderIntoTheInbox) {
  maildir_.make(".A");
  maildir_.put(".A/cur/a:2,");
  EXPECT_EQ(Lines(), maildir_.apply({{"a", {""}}}, ".A"));
  EXPECT_EQ(Lines({"/cur/a:2,"}), maildir_.messages());
  EXPECT_EQ(Lines(), maildir_.undo());
  EXPECT_EQ(Lines({".A/cur/a:2,"}), maildir_.messages());
}

TEST_F(RefilerTest, KeepsTheTimeOfArrivalAndTheText) {
  maildir_.put("cur/a:2,");
  const timespec times[] = {{1777896000, 0}, {1777896000, 0}};
  ASSERT_EQ(0, utimensat(AT_FDCWD, maildir_.folder("cur/a:2,").c_str(), times, 0));
  maildir_.apply({{"a", {".A", ".B"}}});
  for (const char* path : {".A/cur/a:2,", ".B/cur/a:2,"}) {
    EXPECT_EQ(1777896000, changed(maildir_.folder(path)));
    EXPECT_EQ("a", content_of(maildir_.folder(path)));
  }
}

TEST_F(RefilerTest, CopiesOnceHoweverOften) {
  maildir_.put("cur/a:2,S");
  const std::vector<Refiled> copies = {{"a", {".A", ".B"}, true}};
  for (int time = 0; time < 2; ++time) {
    EXPECT_EQ(Lines(), maildir_.apply(copies));
    EXPECT_EQ(Lines({".A/cur/a:2,S", ".B/cur/a:2,S", "/cur/a:2,S"}), maildir_.messages());
  }
  EXPECT_EQ(Lines(), maildir_.undo());
  EXPECT_EQ(Lines({"/cur/a:2,S"}), maildir_.messages());
}

TEST_F(RefilerTest, BringsAMessageOfSeveralFoldersBack) {
  maildir_.put("cur/a:2,S");
  EXPECT_EQ(Lines(), maildir_.apply({{"a", {".A", ".B"}}}));
  EXPECT_EQ(Lines({".A/cur/a:2,S", ".B/cur/a:2,S"}), maildir_.messages());
  EXPECT_EQ(Lines(), maildir_.undo());
  EXPECT_EQ(Lines({"/cur/a:2,S"}), maildir_.messages());
}

TEST_F(RefilerTest, MovesWhatWasCopiedBefore) {
  maildir_.put("cur/a:2,S");
  maildir_.apply({{"a", {".A"}, true}});
  EXPECT_EQ(Lines(), maildir_.apply({{"a", {".A"}}}));
  EXPECT_EQ(Lines({".A/cur/a:2,S"}), maildir_.messages());
  EXPECT_EQ(Lines(), maildir_.undo());
  EXPECT_EQ(Lines({".A/cur/a:2,S", "/cur/a:2,S"}), maildir_.messages());
  EXPECT_EQ(Lines(), maildir_.undo());
  EXPECT_EQ(Lines({"/cur/a:2,S"}), maildir_.messages());
}

TEST_F(RefilerTest, NeverReplacesAnotherMessage) {
  maildir_.make(".A");
  maildir_.put("cur/a:2,S");
  write_file(maildir_.folder(".A/cur/a:2,"), "another one");
  EXPECT_EQ(Lines({"a: another message of that name is in A"}), maildir_.apply({{"a", {".A"}}}));
  EXPECT_EQ(Lines({".A/cur/a:2,", "/cur/a:2,S"}), maildir_.messages());
  EXPECT_EQ("another one", content_of(maildir_.folder(".A/cur/a:2,")));
}

TEST_F(RefilerTest, BringsBackWithTheFlagsOfNow) {
  maildir_.put("new/a");
  maildir_.apply({{"a", {".A"}}});
  fs::rename(maildir_.folder(".A/new/a"), maildir_.folder(".A/cur/a:2,FS"));
  EXPECT_EQ(Lines(), maildir_.undo());
  EXPECT_EQ(Lines({"/cur/a:2,FS"}), maildir_.messages());
}

TEST_F(RefilerTest, TellsWhatCannotBeBroughtBack) {
  for (const char* name : {"cur/a:2,", "cur/b:2,", "cur/c:2,", "cur/d:2,"}) maildir_.put(name);
  maildir_.apply({{"a", {".A"}}, {"b", {".A"}}, {"c", {".C"}, true}, {"d", {".D"}}});
  fs::remove(maildir_.folder(".A/cur/a:2,"));
  fs::remove(maildir_.folder("cur/c:2,"));
  fs::remove_all(maildir_.folder(".D"));
  EXPECT_EQ(Lines({"d: is no longer there", "c: a copy stays in C: the message is no longer there",
                   "a: is no longer there"}),
            maildir_.undo());
  EXPECT_EQ(Lines({".C/cur/c:2,", "/cur/b:2,"}), maildir_.messages());
  EXPECT_FALSE(fs::exists(maildir_.folder(".D")));
  EXPECT_EQ(Lines({"nothing to undo"}), maildir_.undo());
}

TEST_F(RefilerTest, LeavesWhatTheUserBroughtBackThemselves) {
  maildir_.put("cur/a:2,");
  maildir_.apply({{"a", {".A"}}});
  fs::rename(maildir_.folder(".A/cur/a:2,"), maildir_.folder("cur/a:2,S"));
  EXPECT_EQ(Lines(), maildir_.undo());
  EXPECT_EQ(Lines({"/cur/a:2,S"}), maildir_.messages());
}

TEST_F(RefilerTest, TellsOfMessagesThatAreGone) {
  maildir_.put("cur/b:2,");
  EXPECT_EQ(Lines({"a: is no longer there"}), maildir_.apply({{"a", {".A"}}, {"b", {".A"}}}));
  EXPECT_EQ(Lines({".A/cur/b:2,"}), maildir_.messages());
}

TEST_F(RefilerTest, TellsOfAFolderThatCannotBeMade) {
  maildir_.put("cur/a:2,");
  maildir_.put("cur/b:2,");
  write_file(maildir_.folder(".A"), "");
  const Lines failures = maildir_.apply({{"a", {".B", ".A"}}, {"b", {".B"}}});
  ASSERT_EQ(1U, failures.size());
  EXPECT_EQ("a: A: Not a directory", failures[0]);
  EXPECT_EQ(Lines({".B/cur/b:2,", "/cur/a:2,"}), maildir_.messages());
}

TEST_F(RefilerTest, BeginsNoRunWithoutAStep) {
  maildir_.put("cur/a:2,");
  maildir_.apply({{"a", {".A"}}});
  maildir_.apply({{"a", {".A"}}});
  EXPECT_EQ(Lines(), maildir_.undo());
  EXPECT_EQ(Lines({"/cur/a:2,"}), maildir_.messages());
}

TEST_F(RefilerTest, TakesManyBatches) {
  std::vector<Refiled> messages;
  for (std::size_t i = 0; i < 2 * refiling_batch + 1; ++i) {
    messages.push_back({"m" + std::to_string(i), {".A"}});
    maildir_.put("new/m" + std::to_string(i));
  }
  const Lines before = maildir_.messages();
  EXPECT_EQ(Lines(), maildir_.apply(messages));
  EXPECT_TRUE(fs::is_empty(maildir_.folder("new")));
  EXPECT_EQ(Lines(), maildir_.undo());
  EXPECT_EQ(before, maildir_.messages());
}

// An IMAP server that does something when the journal was written.
class Meddling : public RefilerTest {
 protected:
  // Moves a, and meddles before b.
  Lines move_both(const std::function<void()>& meddle) {
    Journal journal;
    EXPECT_EQ("", said(journal.open(maildir_.path())));
    class Observer : public RecordingRefiling {
     public:
      explicit Observer(std::function<void()> meddle) : meddle_(std::move(meddle)) {}
      void on_done() override {
        if (done() == 0) meddle_();
        RecordingRefiling::on_done();
      }

     private:
      const std::function<void()> meddle_;
    } seen(meddle);
    Refiler refiler(maildir_.path(), journal, seen);
    EXPECT_EQ("", said(refiler.begin("")));
    EXPECT_EQ("", said(refiler.add({"a", {".A"}})));
    EXPECT_EQ("", said(refiler.add({"b", {".A"}})));
    EXPECT_EQ("", said(refiler.finish()));
    return seen.failures();
  }
};

TEST_F(Meddling, FindsAMessageUnderItsNewName) {
  maildir_.put("cur/a:2,");
  maildir_.put("new/b");
  EXPECT_EQ(Lines(), move_both([this] {
              fs::rename(maildir_.folder("new/b"), maildir_.folder("cur/b:2,S"));
            }));
  EXPECT_EQ(Lines({".A/cur/a:2,", ".A/cur/b:2,S"}), maildir_.messages());
}

TEST_F(Meddling, TellsOfAMessageThatIsDeleted) {
  maildir_.put("cur/a:2,");
  maildir_.put("new/b");
  EXPECT_EQ(Lines({"b: is no longer there"}),
            move_both([this] { fs::remove(maildir_.folder("new/b")); }));
}

TEST_F(Meddling, LosesNoKeywordThatComesMeanwhile) {
  maildir_.put("cur/a:2,");
  maildir_.put("cur/b:2,");
  write_file(maildir_.folder("dovecot-keywords"), "0 Work\n");
  EXPECT_EQ(
      Lines({"b: its keywords can't be kept in A: a mail client has just given it one; "
             "try again"}),
      move_both([this] { fs::rename(maildir_.folder("cur/b:2,"), maildir_.folder("cur/b:2,a")); }));
  EXPECT_EQ(Lines({".A/cur/a:2,", "/cur/b:2,a"}), maildir_.messages());
}

TEST_F(RefilerTest, KeepsKeywords) {
  maildir_.make(".A");
  maildir_.put("cur/a:2,FSab");
  maildir_.put("cur/b:2,c");
  write_file(maildir_.folder("dovecot-keywords"), "0 $Forwarded\n1 Work\n");
  write_file(maildir_.folder(".A/dovecot-keywords"), "0 Home\n1 $Forwarded\n");
  EXPECT_EQ(Lines(), maildir_.apply({{"a", {".A"}}, {"b", {".A"}}}));
  EXPECT_EQ(Lines({".A/cur/a:2,FSbc", ".A/cur/b:2,"}), maildir_.messages());
  EXPECT_EQ("0 Home\n1 $Forwarded\n2 Work\n", content_of(maildir_.folder(".A/dovecot-keywords")));
  fs::rename(maildir_.folder(".A/cur/a:2,FSbc"), maildir_.folder(".A/cur/a:2,ac"));
  EXPECT_EQ(Lines(), maildir_.undo());
  EXPECT_EQ(Lines({"/cur/a:2,bc", "/cur/b:2,"}), maildir_.messages());
  EXPECT_EQ("0 $Forwarded\n1 Work\n2 Home\n", content_of(maildir_.folder("dovecot-keywords")));
}

TEST_F(RefilerTest, LeavesAMessageWhoseKeywordsHaveNoRoom) {
  maildir_.make(".A");
  maildir_.put("cur/a:2,a");
  maildir_.put("cur/b:2,S");
  write_file(maildir_.folder("dovecot-keywords"), "0 Work\n");
  std::string full;
  for (int i = 0; i < 26; ++i) full += std::to_string(i) + " k" + std::to_string(i) + '\n';
  write_file(maildir_.folder(".A/dovecot-keywords"), full);
  EXPECT_EQ(Lines({"a: its keywords can't be kept in A: the folder has as many keywords as there "
                   "can be"}),
            maildir_.apply({{"a", {".A"}}, {"b", {".A"}}}));
  EXPECT_EQ(Lines({".A/cur/b:2,S", "/cur/a:2,a"}), maildir_.messages());
  EXPECT_EQ(full, content_of(maildir_.folder(".A/dovecot-keywords")));
}

}  // namespace
}  // namespace Quarrow::Refiling
