// A repair that is killed at each of its system calls.
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <map>
#include <set>

#include "administration/administration_test_support.h"
#include "doctor/examination_test_support.h"
#include "doctor/repair.h"
#include "doctor/user_examination.h"
#include "system/traced_process_test_support.h"

namespace Quarrow::Doctor {
namespace {

namespace fs = std::filesystem;
using Files = std::map<std::string, std::string>;

class InterruptedRepair : public testing::Test {
 protected:
  // Leaves the user with a script of other rules, and with what a stopped change left.
  void put_broken_files() const {
    fs::remove_all(folder_);
    (void)add_user(alice);
    for (const auto& [name, text] : broken_) write_private(folder_ + '/' + name, text);
  }

  Files files() const {
    Files found;
    for (const auto& entry : fs::directory_iterator(folder_))
      found[entry.path().filename().string()] = content_of(entry.path().string());
    return found;
  }

  static void mend() { (void)repair(alice, examine_user(alice, {})); }

  // What was there before is there, or a whole copy of it.
  static void expect_all_kept(const Files& before, const Files& now) {
    for (const auto& [name, text] : before) {
      const auto same = now.find(name);
      if (same != now.end() && same->second == text) continue;
      const auto copy = now.find(name + ".before-repair");
      ASSERT_NE(now.end(), copy) << name << " has no copy";
      EXPECT_EQ(text, copy->second) << name;
    }
  }

  // Each copy is whole from the moment on when it has its name.
  static void expect_whole_copies(const Files& before, const Files& now) {
    for (const auto& [name, text] : now) {
      const std::size_t end = name.find(".before-repair");
      if (end == std::string::npos) continue;
      const auto original = before.find(name.substr(0, end));
      ASSERT_NE(before.end(), original) << name;
      EXPECT_EQ(original->second, text) << name;
    }
  }

  const Administration::TemporaryRoot root_;
  const std::string folder_ = add_user(alice);
  const std::string document_ = content_of(folder_ + "/.delivery_filter.xml");
  const std::string script_ = content_of(folder_ + "/.delivery_filter");
  const std::string other_script_ =
      Administration::script_text(MessageFilters::FilterList__::Create(), false);
  const Files broken_ = {{".delivery_filter", other_script_},
                         {".delivery_filter.new", "draft of a script"},
                         {".delivery_filter.history", "no history"},
                         {".delivery_filter.history.new", "draft of a history"}};
};

TEST_F(InterruptedRepair, LeavesTheOldFilesOrTheMendedOnesAndLosesNone) {
  bool was_old = false;
  bool was_mended = false;
  for (int stops = 0, done = 0; done == 0; stops += 2) {  // where calls begin
    put_broken_files();
    const Files before = files();
    const Findings findings = examine_user(alice, {});
    TracedProcess process([&findings] { (void)repair(alice, findings); });
    if (!process.is_running()) GTEST_SKIP() << "processes can't be traced here";
    for (int stop = 0; stop < stops && done == 0; ++stop) done = process.step() ? 0 : 1;
    process.kill();
    SCOPED_TRACE("killed at stop " + std::to_string(stops));
    const Files now = files();
    expect_all_kept(before, now);
    expect_whole_copies(before, now);
    EXPECT_EQ(document_, now.at(".delivery_filter.xml"));
    const std::string script = now.at(".delivery_filter");
    EXPECT_TRUE(script == other_script_ || script == script_) << script;
    was_old = was_old || script == other_script_;
    was_mended = script == script_;
    mend();
    EXPECT_EQ("", told(examine_user(alice, {}), folder_));
    expect_all_kept(before, files());
    EXPECT_EQ(script_, files().at(".delivery_filter"));
    if (HasFailure()) return;
  }
  EXPECT_TRUE(was_old);
  EXPECT_TRUE(was_mended);  // when nothing killed it
}

// A machine that stops keeps what was synchronised: all copies, before something goes.
TEST_F(InterruptedRepair, SynchronisesCopiesBeforeItTouchesAnything) {
  put_broken_files();
  const Findings findings = examine_user(alice, {});
  TracedProcess process([&findings] { (void)repair(alice, findings); });
  if (!process.is_running()) GTEST_SKIP() << "processes can't be traced here";
  const Files before = files();
  bool is_synchronised = false;
  while (process.step()) {
    const long call = process.beginning_call();
    if (call == SYS_fsync && process.file_of_call() == folder_)
      is_synchronised = files().count(".delivery_filter.history.before-repair") > 0;
    if (is_synchronised) continue;
    const Files now = files();
    for (const auto& [name, text] : before) {
      ASSERT_EQ(1U, now.count(name)) << name << " went before its copy was on the disk";
      EXPECT_EQ(text, now.at(name)) << name;
    }
  }
  EXPECT_TRUE(is_synchronised);
}

}  // namespace
}  // namespace Quarrow::Doctor
