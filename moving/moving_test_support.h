// A user on one machine, and the machine where they go: two roots.
#ifndef QUARROW_MOVING_MOVING_TEST_SUPPORT_H_
#define QUARROW_MOVING_MOVING_TEST_SUPPORT_H_

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <map>
#include <string>

#include "administration/administration_test_support.h"
#include "administration/rules_transaction.h"
#include "moving/user_export.h"
#include "moving/user_import.h"
#include "moving/user_locking.h"
#include "system/descriptor.h"
#include "tests/support/rules_test_support.h"

namespace Quarrow::Moving {

using Administration::alice;
using Administration::Kind;
using Administration::Refusal;
using Administration::said;

// What is in a folder: "mode time content" for each file, by its path.
using Tree = std::map<std::string, std::string>;

inline Tree tree_of(const std::string& folder) {
  Tree tree;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    struct stat status {};
    EXPECT_EQ(0, lstat(entry.path().c_str(), &status));
    std::string text = std::to_string(status.st_mode);
    if (entry.is_regular_file())
      text += ' ' + std::to_string(status.st_mtim.tv_sec) + '.' +
              std::to_string(status.st_mtim.tv_nsec) + ' ' + content_of(entry.path());
    tree[entry.path().string().substr(folder.size())] = text;
  }
  return tree;
}

// Writes a message, received long ago.
inline void write_message(const std::string& path, const std::string& text) {
  write_file(path, text);
  std::filesystem::permissions(path, std::filesystem::perms(0600));
  const timespec times[] = {{1777896000, 123456789}, {1777896000, 123456789}};
  EXPECT_EQ(0, utimensat(AT_FDCWD, path.c_str(), times, 0));
}

class MovingTest : public testing::Test {
 protected:
  MovingTest() {
    mailuser_set_root(old_.path());
    for (const char* const folder : {"cur", "new", "tmp"})
      std::filesystem::create_directories(old_folder_ + "/Maildir/" + folder);
    Administration::RulesTransaction rules(alice);
    EXPECT_EQ("", said(rules.open()));
    EXPECT_EQ(
        "", said(rules.add(MessageFilters::make_rule("Rule", MessageFilters::subject_test()), 0)));
    EXPECT_EQ("", said(rules.commit()));
    write_message(old_folder_ + "/Maildir/cur/1.M1P1.mx,S=8:2,FS", "A: b\n\nc\n");
    write_message(old_folder_ + "/Maildir/new/2.M1P1.mx", "A: unread\n\nc\n");
    write_message(old_folder_ + "/Maildir/dovecot-uidlist", "3 V1 N2\n");
  }

  // Locks the user, and gives the archive.
  std::string archive() {
    EXPECT_EQ("", said(lock_user(alice, "")));
    EXPECT_EQ("", said(export_to(file_).refusal));
    return content_of(file_);
  }

  UserExport export_to(const std::string& path) {
    const Descriptor target(
        open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR));
    return export_user(alice, target.get());
  }

  UserImport import_bytes(const std::string& bytes, const EmailAddress& user = alice) const {
    write_file(file_, bytes);
    mailuser_set_root(new_.path());
    const Descriptor source(open(file_.c_str(), O_RDONLY | O_CLOEXEC));
    return import_user(new_.path(), user, source.get());
  }

  bool is_there() const { return std::filesystem::exists(new_folder_); }

  // What belongs to one machine alone.
  static Tree without_locks(Tree tree) {
    tree.erase("/.quarrow_lock");
    tree.erase("/.delivery_filter.lock");
    return tree;
  }

  const TemporaryFolder old_;
  const TemporaryFolder new_;
  const std::string old_folder_ = old_.file("example.org/alice");
  const std::string new_folder_ = new_.file("example.org/alice");
  const std::string file_ = old_.file("archive");
};

}  // namespace Quarrow::Moving

#endif  // QUARROW_MOVING_MOVING_TEST_SUPPORT_H_
