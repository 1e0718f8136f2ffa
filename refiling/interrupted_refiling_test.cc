// Refiling that is killed at each of its system calls.
#include <gtest/gtest.h>
#include <sys/syscall.h>

#include <algorithm>
#include <functional>
#include <set>
#include <string>

#include "refiling/refiling_test_support.h"
#include "system/traced_process_test_support.h"

namespace Quarrow::Refiling {
namespace {

const std::vector<Refiled> all_moves = {{"a", {".A"}}, {"b", {".A", ".B"}}, {"c", {".B"}, true}};
const Lines untouched = {"/cur/a:2,S", "/new/b", "/new/c"};
const Lines after = {".A/cur/a:2,S", ".A/new/b", ".B/new/b", ".B/new/c", "/new/c"};

// With keywords, so that these are killed as well.
class InterruptedRefiling : public testing::Test {
 protected:
  static void fill(const TemporaryMaildir& maildir) {
    for (const std::string& path : untouched) maildir.put(path.substr(1));
    maildir.put("cur/k:2,a");
    write_file(maildir.folder("dovecot-keywords"), "0 Work\n");
    maildir.make(".B");
    write_file(maildir.folder(".B/dovecot-keywords"), "0 Home\n");
  }

  static std::vector<Refiled> wish_with_keyword() {
    std::vector<Refiled> all = all_moves;
    all.push_back({"k", {".B"}});
    return all;
  }

  static Lines with(Lines lines, const std::string& line) {
    lines.push_back(line);
    std::sort(lines.begin(), lines.end());
    return lines;
  }

  // Each message is there, and in each folder once at most.
  static void expect_nothing_lost(const TemporaryMaildir& maildir, const std::string& when) {
    std::set<std::string> in_folders;
    std::set<std::string> seen;
    for (const std::string& path : maildir.messages()) {
      const std::string unique = unique_part(path.substr(path.rfind('/') + 1));
      EXPECT_EQ(unique, content_of(maildir.folder(path))) << when;
      EXPECT_TRUE(in_folders.insert(path.substr(0, path.find('/')) + '/' + unique).second)
          << path << " is there twice, " << when;
      seen.insert(unique);
    }
    EXPECT_EQ(std::set<std::string>({"a", "b", "c", "k"}), seen) << when;
  }

  // Kills `work` at each of its stops, and has `afterwards` look at what is there then.
  static void kill_at_each_stop(const std::function<void(const TemporaryMaildir&)>& prepare,
                                const std::function<void(const TemporaryMaildir&)>& work,
                                const std::function<void(const TemporaryMaildir&)>& afterwards) {
    bool is_done = false;
    for (int stops = 0; !is_done; stops += 2) {  // where calls begin: nothing happens in between
      const TemporaryMaildir maildir;
      fill(maildir);
      prepare(maildir);
      TracedProcess process([&] { work(maildir); });
      if (!process.is_running()) GTEST_SKIP() << "processes can't be traced here";
      for (int stop = 0; stop < stops && !is_done; ++stop) is_done = !process.step();
      process.kill();
      const std::string when = "killed at stop " + std::to_string(stops);
      SCOPED_TRACE(when);
      expect_nothing_lost(maildir, when);
      afterwards(maildir);
      expect_nothing_lost(maildir, when);
      if (HasFailure()) return;
    }
  }

  static void nothing(const TemporaryMaildir& /*maildir*/) {}
  static void apply(const TemporaryMaildir& maildir) { maildir.apply(wish_with_keyword()); }
  static void undo(const TemporaryMaildir& maildir) { maildir.undo(); }
};

TEST_F(InterruptedRefiling, IsCompletedByTheNextOne) {
  kill_at_each_stop(
      nothing, apply,
      [](const TemporaryMaildir& maildir) {
        // what was moved is not looked at once more
        std::vector<Refiled> rest;
        for (const auto& message : wish_with_keyword())
          for (const auto& path : maildir.messages())
            if (path.front() == '/' && unique_part(path.substr(5)) == message.unique)
              rest.push_back(message);
        EXPECT_EQ(Lines(), maildir.apply(rest));
        EXPECT_EQ(with(after, ".B/cur/k:2,b"), maildir.messages());
      });
}

TEST_F(InterruptedRefiling, IsUndone) {
  kill_at_each_stop(
      nothing, apply,
      [](const TemporaryMaildir& maildir) {
        const Lines failures = maildir.undo();
        EXPECT_TRUE(failures.empty() || failures == Lines({"nothing to undo"})) << failures[0];
        EXPECT_EQ(with(untouched, "/cur/k:2,a"), maildir.messages());
      });
}

TEST_F(InterruptedRefiling, AnUndoIsCompletedByTheNextOne) {
  kill_at_each_stop(
      apply, undo,
      [](const TemporaryMaildir& maildir) {
        const Lines failures = maildir.undo();
        EXPECT_TRUE(failures.empty() || failures == Lines({"nothing to undo"})) << failures[0];
        EXPECT_EQ(with(untouched, "/cur/k:2,a"), maildir.messages());
      });
}

// The journal is on the disk before a message moves, and the folder that takes it before that which
// it leaves.
TEST_F(InterruptedRefiling, SynchronisesInOrder) {
  const TemporaryMaildir maildir;
  maildir.make(".A");
  maildir.put("cur/a:2,S");
  TracedProcess process([&] { maildir.apply({{"a", {".A"}}}); });
  if (!process.is_running()) GTEST_SKIP() << "processes can't be traced here";
  Lines steps;
  while (process.step()) {
    const long call = process.beginning_call();
    if (call == SYS_fdatasync || call == SYS_fsync)
      steps.push_back(process.file_of_call().substr(maildir.path().size()));
    if (call == SYS_renameat2) steps.emplace_back("rename");
  }
  EXPECT_EQ(Lines({"", "/.refiling_journal", "rename", "/Maildir/.A/cur", "/Maildir/cur"}), steps);
}

}  // namespace
}  // namespace Quarrow::Refiling
