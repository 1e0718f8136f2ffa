// A user who is exported on one machine and imported on another, by archives of all kinds.
#include "moving/user_import.h"

#include <algorithm>
#include <functional>
#include <future>

#include "moving/archive_writer.h"
#include "moving/moving_test_support.h"
#include "system/file_io.h"

namespace Quarrow::Moving {
namespace {

class UserMove : public MovingTest {
 protected:
  // What is in the way beside the new user's folder.
  std::string left_over() const {
    const std::string path = new_.file("example.org/.importing-alice");
    return std::filesystem::exists(path) ? path : "";
  }

  // An archive of the test's own: what `add` adds between the description and the end.
  std::string archive_with(const std::function<void(ArchiveWriter&)>& add, const Counts& counts) {
    {
      const Descriptor target(open(file_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
      ArchiveWriter writer(target.get());
      EXPECT_TRUE(writer.add_text("quarrow-user", description_text("alice@example.org")));
      add(writer);
      EXPECT_TRUE(writer.add_text("quarrow-end", end_text(counts, writer.sum())));
      EXPECT_TRUE(writer.finish());
    }
    return content_of(file_);
  }

  void expect_refused(const std::string& bytes) const {
    EXPECT_EQ(Kind::wrong_archive, import_bytes(bytes).refusal.kind);
    EXPECT_FALSE(is_there());
    EXPECT_EQ("", left_over());
  }
};

TEST_F(UserMove, TakesAllOfTheUserAlong) {
  std::filesystem::create_directories(old_folder_ + "/Maildir/.A.B/cur");
  std::filesystem::permissions(old_folder_ + "/Maildir/.A.B", std::filesystem::perms(0750));
  write_message(old_folder_ + "/Maildir/.A.B/cur/\xc3\xa4 \xff", std::string(300000, 'x'));
  const UserImport done = import_bytes(archive());
  EXPECT_EQ("", said(done.refusal));
  EXPECT_EQ("", said(done.remark));
  EXPECT_EQ(without_locks(tree_of(old_folder_)), without_locks(tree_of(new_folder_)));
  EXPECT_EQ(std::nullopt, lock_reason(new_folder_));
  EXPECT_EQ("", left_over());
  EXPECT_EQ(7U, done.counts.files);  // three of the rules, four of the mail
  EXPECT_EQ(7U, done.counts.folders);
}

TEST_F(UserMove, LeavesOutWhatIsNoFileAndMessagesThatAreNotWhole) {
  std::filesystem::create_symlink("/etc/passwd", old_folder_ + "/Maildir/link");
  write_file(old_folder_ + "/Maildir/tmp/half", "half");
  EXPECT_EQ("", said(lock_user(alice, "")));
  const UserExport done = export_to(file_);
  EXPECT_EQ(std::vector<std::string>{"Maildir/link"}, done.left_out);
  EXPECT_EQ("", said(import_bytes(content_of(file_)).refusal));
  EXPECT_FALSE(
      std::filesystem::exists(std::filesystem::symlink_status(new_folder_ + "/Maildir/link")));
  EXPECT_TRUE(std::filesystem::is_empty(new_folder_ + "/Maildir/tmp"));
}

TEST_F(UserMove, ExportsNobodyWhoIsNotLocked) {
  EXPECT_EQ(Kind::not_locked, export_to(file_).refusal.kind);
}

TEST_F(UserMove, ExportsNoRulesThatCanNotBeLoaded) {
  EXPECT_EQ("", said(lock_user(alice, "")));
  write_file(old_folder_ + "/.delivery_filter.xml", "<damaged");
  EXPECT_EQ(Kind::damaged_document, export_to(file_).refusal.kind);
}

// An export that waits until its pipe is read: it has seen the names in new/, where the message
// that is looked at comes behind a long one.
class UserMoveMeanwhile : public UserMove {
 protected:
  UserMoveMeanwhile() {
    write_message(new_mail_ + "/a", "the message");
    write_message(new_mail_ + "/b", std::string(2000000, 'x'));
    EXPECT_EQ("", said(lock_user(alice, "")));
  }

  Refusal export_with(const std::function<void()>& meanwhile) {
    int ends[2];
    EXPECT_EQ(0, pipe2(ends, O_CLOEXEC));
    const Descriptor reading(ends[0]);
    auto refusal = std::async(std::launch::async, [&ends] {
      const Descriptor writing(ends[1]);
      return export_user(alice, writing.get()).refusal;
    });
    const std::string long_message(1000, 'x');
    while (archive_.find(long_message) == std::string::npos &&
           append_from(reading.get(), archive_) > 0)
      continue;
    meanwhile();
    while (append_from(reading.get(), archive_) > 0) continue;
    return refusal.get();
  }

  const std::string new_mail_ = old_folder_ + "/Maildir/new";
  std::string archive_;
};

TEST_F(UserMoveMeanwhile, MissesAMessageThatADeliveryTookBack) {
  EXPECT_EQ("", said(export_with([this] { std::filesystem::remove(new_mail_ + "/a"); })));
  EXPECT_EQ(std::string::npos, archive_.find("the message"));
}

TEST_F(UserMoveMeanwhile, IsRefusedWhereAMessageWasRenamed) {
  EXPECT_EQ(Kind::try_again, export_with([this] {
                               std::filesystem::rename(new_mail_ + "/a",
                                                       old_folder_ + "/Maildir/cur/a:2,S");
                             }).kind);
}

TEST_F(UserMove, RefusesAnArchiveThatWasChangedAnywhere) {
  const std::string good = archive();
  const std::size_t end = good.rfind("quarrow-end");
  ASSERT_LT(10U * 512, end);
  for (std::size_t block = 0; block * 512 < good.size(); ++block) {
    std::string bad = good;
    const std::size_t place = block * 512 + block * 37 % 512;
    bad[place] = static_cast<char>(bad[place] ^ 0x20);
    const UserImport done = import_bytes(bad);
    if (place < end || done.refusal) {
      EXPECT_EQ(Kind::wrong_archive, done.refusal.kind) << place << ' ' << said(done.refusal);
      EXPECT_FALSE(is_there()) << place;
    } else {  // blanks behind the last text
      EXPECT_EQ(without_locks(tree_of(old_folder_)), without_locks(tree_of(new_folder_))) << place;
      std::filesystem::remove_all(new_folder_);
    }
    EXPECT_EQ("", left_over());
  }
}

TEST_F(UserMove, RefusesAnArchiveThatIsCutOff) {
  const std::string good = archive();
  const std::size_t last_text = good.rfind("sha256 ");
  for (std::size_t size = 0; size < last_text; size += 512) expect_refused(good.substr(0, size));
  expect_refused(good.substr(0, last_text));
}

TEST_F(UserMove, RefusesAnArchiveOfSomebodyElse) {
  const UserImport done = import_bytes(archive(), EmailAddress("bob@example.org"));
  EXPECT_EQ(Kind::wrong_archive, done.refusal.kind);
  EXPECT_FALSE(std::filesystem::exists(new_.file("example.org/bob")));
}

TEST_F(UserMove, RefusesWrongCountsAndASumOfOtherBytes) {
  const auto add = [](ArchiveWriter& writer) {
    EXPECT_TRUE(writer.begin({"user/", true, 0700, {}, 0}) && writer.end_member());
    EXPECT_TRUE(writer.add_text("user/a", "12345"));
  };
  expect_refused(archive_with(add, {2, 1, 5}));
  expect_refused(archive_with(add, {1, 2, 5}));
  expect_refused(archive_with(add, {1, 1, 6}));
  EXPECT_EQ("", said(import_bytes(archive_with(add, {1, 1, 5})).refusal));
}

TEST_F(UserMove, RefusesRulesThatCanNotBeLoaded) {
  expect_refused(archive_with(
      [](ArchiveWriter& writer) {
        EXPECT_TRUE(writer.begin({"user/", true, 0700, {}, 0}) && writer.end_member());
        EXPECT_TRUE(writer.add_text("user/.delivery_filter.xml", "<damaged"));
      },
      {1, 1, 8}));
}

TEST_F(UserMove, RemarksOnAScriptOfOtherRules) {
  const std::string document = content_of(old_folder_ + "/.delivery_filter.xml");
  const UserImport done = import_bytes(archive_with(
      [&document](ArchiveWriter& writer) {
        EXPECT_TRUE(writer.begin({"user/", true, 0700, {}, 0}) && writer.end_member());
        EXPECT_TRUE(writer.add_text("user/.delivery_filter.xml", document));
      },
      {1, 1, document.size()}));
  EXPECT_EQ("", said(done.refusal));
  EXPECT_TRUE(done.remark);
}

TEST_F(UserMove, RefusesAUserWhoIsThere) {
  const std::string bytes = archive();
  std::filesystem::create_directories(new_folder_);
  EXPECT_EQ(Kind::user_exists, import_bytes(bytes).refusal.kind);
  write_file(new_folder_ + "/.quarrow_lock", "");
  write_file(new_folder_ + "/other", "");
  EXPECT_EQ(Kind::user_exists, import_bytes(bytes).refusal.kind);
  EXPECT_EQ("", content_of(new_folder_ + "/other"));
}

TEST_F(UserMove, ReplacesAnEmptiedUser) {
  const std::string bytes = archive();
  std::filesystem::create_directories(new_folder_);
  write_file(new_folder_ + "/.quarrow_lock", "");
  EXPECT_EQ("", said(import_bytes(bytes).refusal));
  EXPECT_EQ(without_locks(tree_of(old_folder_)), tree_of(new_folder_));
}

TEST_F(UserMove, ClearsAwayWhatAnImportLeftThatWasCutOff) {
  const std::string bytes = archive();
  std::filesystem::create_directories(new_.file("example.org/.importing-alice/user/Maildir"));
  write_file(new_.file("example.org/.importing-alice/user/Maildir/a"), "old");
  EXPECT_EQ("", said(import_bytes(bytes).refusal));
  EXPECT_EQ(without_locks(tree_of(old_folder_)), tree_of(new_folder_));
  EXPECT_EQ("", left_over());
}

TEST_F(UserMove, WaitsForNoImportOfTheSameUser) {
  const std::string bytes = archive();
  std::filesystem::create_directories(new_.file("example.org/.importing-alice"));
  const Descriptor other(open(new_.file("example.org/.importing-alice/lock").c_str(),
                              O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  struct flock whole {};
  whole.l_type = F_WRLCK;
  ASSERT_EQ(0, fcntl(other.get(), F_OFD_SETLK, &whole));  // as if by another process
  EXPECT_EQ(Kind::try_again, import_bytes(bytes).refusal.kind);
  EXPECT_NE("", left_over());
}

}  // namespace
}  // namespace Quarrow::Moving
