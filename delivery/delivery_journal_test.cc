// Journals in a folder: added to, put aside, read, and in the way of each other.
#include "delivery/delivery_journal.h"

#include <gtest/gtest.h>
#include <sys/file.h>
#include <sys/stat.h>

#include <sys/resource.h>
#include <csignal>
#include <set>

#include "delivery/delivery_test_support.h"
#include "message_filters/rules_revision.h"
#include "system/child_process_test_support.h"

namespace Quarrow::Delivery {
namespace {

constexpr std::time_t now = 1777896000;
constexpr std::time_t day = 24 * 60 * 60;

JournalRecord record_at(std::time_t time, const std::string& id) {
  JournalRecord record;
  record.time = time;
  record.message_id = id;
  record.status = Report::Status::delivered;
  record.folders = {"Inbox"};
  return record;
}

using Ids = std::vector<std::string>;

class DeliveryJournal : public testing::Test {
 protected:
  std::string add(const std::string& id, std::time_t time = now) const {
    return append_to_journal(folder_.path(), record_at(time, id));
  }
  Ids ids(std::time_t time = now) const {
    Ids ids;
    for (const auto& record : read_journal(folder_.path(), time).records)
      ids.push_back(record.message_id);
    return ids;
  }
  // As long as a journal may be, without a record that counts.
  void fill(std::size_t bytes = journal_bytes) const {
    write_file(journal_, journal_text(record_at(now, "<first>")) + std::string(bytes, '\n'));
  }

  const TemporaryFolder folder_;
  const std::string journal_ = folder_.file(".delivery_journal");
  const std::string old_ = folder_.file(".delivery_journal.old");
};

TEST_F(DeliveryJournal, HasNothingAtFirst) {
  const Journal journal = read_journal(folder_.path(), now);
  EXPECT_EQ(0U, journal.records.size());
  EXPECT_EQ("", journal.fault);
  EXPECT_EQ(Ids{}, names_in(folder_.path()));
}

TEST_F(DeliveryJournal, HasOneRecordBehindTheOtherForItsOwnerAlone) {
  const mode_t mask = umask(0);
  EXPECT_EQ("", add("<1>"));
  (void)umask(mask);
  EXPECT_EQ("", add("<2>"));
  EXPECT_EQ((Ids{"<1>", "<2>"}), ids());
  struct stat status {};
  ASSERT_EQ(0, stat(journal_.c_str(), &status));
  EXPECT_EQ(0600U, status.st_mode & 07777U);
  EXPECT_EQ(journal_text(record_at(now, "<1>")) + journal_text(record_at(now, "<2>")),
            content_of(journal_));
}

TEST_F(DeliveryJournal, LosesNoRecordBehindOneThatIsCutOff) {
  const std::string whole = journal_text(record_at(now, "<cut>"));
  write_file(journal_, whole.substr(0, whole.size() - 5));
  EXPECT_EQ("", add("<1>"));
  EXPECT_EQ(Ids{"<1>"}, ids());
}

TEST_F(DeliveryJournal, IsPutAsideOnceItIsLong) {
  fill();
  EXPECT_EQ("", add("<2>"));
  EXPECT_EQ((Ids{".delivery_journal", ".delivery_journal.old"}), names_in(folder_.path()));
  EXPECT_EQ(journal_text(record_at(now, "<2>")), content_of(journal_));
  EXPECT_EQ((Ids{"<first>", "<2>"}), ids());
  fill();
  EXPECT_EQ("", add("<3>"));
  EXPECT_EQ((Ids{"<first>", "<3>"}), ids());
}

TEST_F(DeliveryJournal, IsPutAsideOnceItIsOld) {
  EXPECT_EQ("", add("<1>", now));
  EXPECT_EQ("", add("<2>", now + 30 * day - 1));
  EXPECT_EQ(Ids{".delivery_journal"}, names_in(folder_.path()));
  EXPECT_EQ("", add("<3>", now + 30 * day));
  EXPECT_EQ(journal_text(record_at(now + 30 * day, "<3>")), content_of(journal_));
  EXPECT_EQ((Ids{"<1>", "<2>", "<3>"}), ids(now + 60 * day));
  EXPECT_EQ((Ids{"<2>", "<3>"}), ids(now + 60 * day + 1));
}

TEST_F(DeliveryJournal, IsReadOnceWhileItIsPutAside) {
  EXPECT_EQ("", add("<1>"));
  std::filesystem::create_hard_link(journal_, old_);
  EXPECT_EQ(Ids{"<1>"}, ids());
  std::filesystem::remove(journal_);
  EXPECT_EQ(Ids{"<1>"}, ids());
}

TEST_F(DeliveryJournal, StaysWhereItIsWhileAnotherDeliveryPutsItAside) {
  fill();
  const Descriptor other(open(journal_.c_str(), O_RDONLY | O_CLOEXEC));
  ASSERT_EQ(0, flock(other.get(), LOCK_EX));
  EXPECT_EQ("", add("<2>"));
  EXPECT_EQ(Ids{".delivery_journal"}, names_in(folder_.path()));
  EXPECT_EQ((Ids{"<first>", "<2>"}), ids());
}

TEST_F(DeliveryJournal, GrowsNoFurtherWhereItCannotBePutAside) {
  std::filesystem::create_directory(old_);
  fill();
  EXPECT_EQ("", add("<2>"));
  fill(2 * journal_bytes);
  EXPECT_EQ(journal_ + ": Is full, and can't be put aside", add("<3>"));
  EXPECT_EQ(Ids{"<first>"}, ids());
}

TEST_F(DeliveryJournal, FollowsAndWaitsForNothing) {
  const std::string other = folder_.write("other", "other\n");
  std::filesystem::create_symlink(other, journal_);
  EXPECT_EQ(journal_ + ": Is a symbolic link", add("<1>"));
  EXPECT_EQ("Is a symbolic link", read_journal(folder_.path(), now).fault);
  std::filesystem::remove(journal_);
  std::filesystem::create_hard_link(other, journal_);
  EXPECT_EQ(journal_ + ": Has a second name", add("<1>"));
  std::filesystem::remove(journal_);
  std::filesystem::create_directory(journal_);
  EXPECT_EQ(journal_ + ": Is a directory", add("<1>"));
  std::filesystem::remove(journal_);
  ASSERT_EQ(0, mkfifo(journal_.c_str(), 0600));
  EXPECT_EQ(journal_ + ": Is not a regular file", add("<1>"));
  EXPECT_EQ("Is not a regular file", read_journal(folder_.path(), now).fault);
  EXPECT_EQ("other\n", content_of(other));
}

TEST_F(DeliveryJournal, LeavesAFileOfAnotherUserAlone) {
  if (geteuid() != 0) GTEST_SKIP() << "only the superuser can give a file away";
  write_file(journal_, "");
  ASSERT_EQ(0, chown(journal_.c_str(), 65534, 65534));
  EXPECT_EQ(journal_ + ": Belongs to another user", add("<1>"));
  EXPECT_EQ("", content_of(journal_));
}

TEST_F(DeliveryJournal, TellsOfARecordThatIsCutOff) {
  const auto end = end_of_child([this] {
    (void)std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{10, 10};
    if (setrlimit(RLIMIT_FSIZE, &limit) != 0) return 1;
    return add("<1>") == journal_ + ": No space left on device" ? 0 : 2;
  });
  EXPECT_EQ(0, end.status);
  EXPECT_EQ(10U, content_of(journal_).size());
  EXPECT_EQ("", add("<2>"));
  EXPECT_EQ(Ids{"<2>"}, ids());
}

// The journal is put aside once meanwhile: no record may be lost by that.
TEST_F(DeliveryJournal, LosesNoRecordOfDeliveriesAtATime) {
  constexpr int processes = 8;
  constexpr int records = 200;
  write_file(old_, "");
  write_file(journal_, std::string(journal_bytes - 40000, '\n'));
  std::vector<pid_t> children;
  for (int process = 0; process < processes; ++process)
    children.push_back(start_child([this, process] {
      for (int i = 0; i < records; ++i)
        if (!add('<' + std::to_string(process) + '.' + std::to_string(i) + '>').empty()) return 1;
      return 0;
    }));
  for (const pid_t child : children) EXPECT_EQ(0, wait_for(child).status);
  const Ids all = ids();
  EXPECT_EQ(std::size_t{processes * records}, all.size());
  EXPECT_EQ(all.size(), std::set<std::string>(all.begin(), all.end()).size());
  EXPECT_LT(content_of(journal_).size(), journal_bytes / 2);  // it was put aside
}

TEST_F(DeliveryJournal, NamesTheRulesByTheirDocument) {
  EXPECT_EQ("", document_revision(folder_.path()));
  const std::string document = folder_.write(".delivery_filter.xml", "<filters/>");
  EXPECT_EQ(rules_revision("<filters/>"), document_revision(folder_.path()));
  std::filesystem::rename(document, folder_.file("elsewhere"));
  std::filesystem::create_symlink(folder_.file("elsewhere"), document);
  EXPECT_EQ("", document_revision(folder_.path()));
  std::filesystem::remove(document);
  std::filesystem::resize_file(folder_.write(".delivery_filter.xml", ""), 4 << 20);
  EXPECT_EQ("", document_revision(folder_.path()));  // too long to be people's rules
}

}  // namespace
}  // namespace Quarrow::Delivery
