// What is mended, what is kept of it, and what is left alone.
#include "doctor/repair.h"

#include <sys/stat.h>

#include <set>

#include "administration/administration_test_support.h"
#include "administration/rules_history.h"
#include "doctor/examination_test_support.h"
#include "doctor/user_examination.h"

namespace Quarrow::Doctor {
namespace {

namespace fs = std::filesystem;
using Administration::TemporaryRoot;

class RepairTest : public testing::Test {
 protected:
  std::string path(const std::string& name) const { return folder_ + '/' + name; }
  std::string content(const std::string& name) const { return content_of(path(name)); }
  void write(const std::string& name, const std::string& text) const {
    write_private(path(name), text);
  }

  // The reason why it stopped.
  static std::string repaired() { return repair(alice, examine_user(alice, {})); }

  std::string found() const { return told(examine_user(alice, {}), folder_); }

  // Without the lock, which is an empty file.
  std::string copies() const {
    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_)) {
      const std::string name = entry.path().filename().string();
      if (name.find(".before-repair") != std::string::npos) names.insert(name);
    }
    std::string text;
    for (const auto& name : names) text += name + ' ';
    return text;
  }

  const TemporaryRoot root_;
  const std::string folder_ = add_user(alice);
  const std::string script_ = content(".delivery_filter");
  const std::string document_ = content(".delivery_filter.xml");
};

TEST_F(RepairTest, ChangesNothingOfWhatIsInOrder) {
  EXPECT_EQ("", repaired());
  EXPECT_EQ(2, std::distance(fs::directory_iterator(folder_), fs::directory_iterator()));
}

TEST_F(RepairTest, MendsNothingOfAUserWhoIsMoved) {
  fs::remove(path(".delivery_filter"));
  write(".quarrow_lock", "");
  EXPECT_NE(std::string::npos, repaired().find("is being moved"));
  EXPECT_FALSE(fs::exists(path(".delivery_filter")));
  EXPECT_EQ("", copies());
}

TEST_F(RepairTest, MakesAScriptThatIsMissing) {
  fs::remove(path(".delivery_filter"));
  EXPECT_EQ("", repaired());
  EXPECT_EQ(script_, content(".delivery_filter"));
  EXPECT_EQ(document_, content(".delivery_filter.xml"));
  EXPECT_EQ(document_, content(".delivery_filter.xml.before-repair"));
  EXPECT_EQ(".delivery_filter.xml.before-repair ", copies());
}

TEST_F(RepairTest, KeepsAScriptOfOtherRules) {
  const std::string other =
      Administration::script_text(MessageFilters::FilterList__::Create(), false);
  write(".delivery_filter", other);
  write(".delivery_filter.before-repair", "an earlier one");
  EXPECT_EQ("", repaired());
  EXPECT_EQ(script_, content(".delivery_filter"));
  EXPECT_EQ(other, content(".delivery_filter.before-repair-2"));
  EXPECT_EQ("an earlier one", content(".delivery_filter.before-repair"));
}

TEST_F(RepairTest, KeepsEachLeftover) {
  const char* const leftovers[] = {".delivery_filter.history.new", ".delivery_filter.new",
                                   ".delivery_filter.xml.kept", ".delivery_filter.xml.new",
                                   ".delivery_filter.custom.xml.tmp"};
  for (const char* name : leftovers) write(name, name);
  EXPECT_EQ("", repaired());
  for (const char* name : leftovers) {
    EXPECT_FALSE(fs::exists(path(name))) << name;
    EXPECT_EQ(name, content(std::string(name) + ".before-repair"));
  }
  EXPECT_EQ("", found());
}

// A history that is whole, but was not put in place: a commit was stopped right before that.
TEST_F(RepairTest, FinishesAHistoryAndKeepsTheOldOne) {
  write(".delivery_filter.history", "old");
  const Administration::RulesState state =
      Administration::make_state(document_, Administration::Origin::found, 0, "");
  Administration::RulesHistory history;
  history.add(state);
  write(".delivery_filter.history.new", history.text(10));
  EXPECT_EQ("warning leftover .delivery_filter.history.new, ", found());
  EXPECT_EQ("", repaired());
  EXPECT_EQ(history.text(10), content(".delivery_filter.history"));
  EXPECT_EQ("old", content(".delivery_filter.history.before-repair"));
  EXPECT_EQ("", found());
}

TEST_F(RepairTest, RemovesACopyThatWasNotMadeInFull) {
  write(".delivery_filter.copy.new", "par");
  EXPECT_EQ("", repaired());
  EXPECT_EQ("", found());
  EXPECT_EQ("", copies());
}

TEST_F(RepairTest, ClosesFilesToOthers) {
  ASSERT_EQ(0, chmod(path(".delivery_filter").c_str(), 0666));
  ASSERT_EQ(0, chmod(folder_.c_str(), 0777));
  EXPECT_EQ("", repaired());
  EXPECT_EQ(fs::perms(0644), fs::status(path(".delivery_filter")).permissions());
  EXPECT_EQ(fs::perms(0755), fs::status(folder_).permissions());
  EXPECT_EQ("", copies());
}

TEST_F(RepairTest, LeavesFilesAloneBesideADocumentThatIsNotWhole) {
  fs::remove(path(".delivery_filter.xml"));
  write(".delivery_filter.xml.kept", document_);
  const std::string before = found();
  EXPECT_EQ("warning leftover .delivery_filter.xml.kept, error lost_document .delivery_filter, ",
            before);
  EXPECT_EQ("", repaired());
  EXPECT_EQ(before, found());
  EXPECT_EQ("", copies());
}

TEST_F(RepairTest, LeavesAHandWrittenScriptAlone) {
  write(".delivery_filter", "keep;");
  EXPECT_EQ("", repaired());
  EXPECT_EQ("keep;", content(".delivery_filter"));
  EXPECT_EQ("", copies());
}

TEST_F(RepairTest, TouchesNothingWhenACopyCannotBeMade) {
  if (geteuid() != 0) GTEST_SKIP() << "only the superuser gives folders away";
  write(".delivery_filter.new", "draft");
  fs::remove(path(".delivery_filter"));
  const Findings before = examine_user(alice, {});
  for (const auto& entry : fs::directory_iterator(folder_))
    ASSERT_EQ(0, chown(entry.path().c_str(), 65534, 65534));
  ASSERT_EQ(0, chown(folder_.c_str(), 65534, 65534));
  fs::permissions(folder_, fs::perms(0500));
  const auto refusal = Administration::as_nobody([&]() -> Administration::Refusal {
    return {Administration::Kind::not_written, "repair", repair(alice, before)};
  });
  EXPECT_EQ(path(".delivery_filter.new.before-repair") + ": Permission denied", refusal.reason);
  EXPECT_EQ("draft", content(".delivery_filter.new"));
  EXPECT_FALSE(fs::exists(path(".delivery_filter")));
}

TEST_F(RepairTest, SaysWhatItWouldMend) {
  fs::remove(path(".delivery_filter"));
  ASSERT_EQ(0, chmod(folder_.c_str(), 0720));
  const Findings all = examine_user(alice, {});
  EXPECT_EQ("error open_mode ., error no_script .delivery_filter, ", told(all, folder_));
  for (const Finding& finding : all) EXPECT_TRUE(can_be_mended(finding, all)) << finding.code;
  Findings with_damage = all;
  with_damage.push_back({Severity::error, Code::unreadable_part, "", "", ""});
  EXPECT_TRUE(can_be_mended(with_damage[0], with_damage));
  EXPECT_FALSE(can_be_mended(with_damage[1], with_damage));
  EXPECT_FALSE(
      can_be_mended({Severity::error, Code::open_mode, folder_ + "/Maildir/.Work", "", ""}, all));
}

}  // namespace
}  // namespace Quarrow::Doctor
