// A change of a folder's form that is looked at, and killed, at each of its system calls.
#include <gtest/gtest.h>

#include "administration/administration_test_support.h"
#include "administration/folder_form.h"
#include "administration/users.h"
#include "system/traced_process_test_support.h"

namespace Quarrow::Administration {
namespace {

namespace fs = std::filesystem;

class InterruptedFormChange : public testing::TestWithParam<FolderForm> {
 protected:
  // Leaves the user in the other form, and no folder else.
  void put_old_form() const {
    fs::remove_all(root_.file("example.org"));
    const bool was_flat = GetParam() == FolderForm::hashed;
    fs::create_directories(was_flat ? flat_ : hashed_);
    write_file((was_flat ? flat_ : hashed_) + "/letter", "here");
  }

  void change() const {
    FormChange change;
    ASSERT_EQ("", said(change_form(root_.path(), alice, GetParam(), change)));
  }

  void expect_one_whole_folder(const std::string& moment) const {
    EXPECT_NE(fs::exists(flat_), fs::exists(hashed_)) << moment;
    EXPECT_EQ("", said(check_known(alice))) << moment;
    EXPECT_EQ("here", content_of(user_folder(alice) + "/letter")) << moment;
  }

  const TemporaryRoot root_;
  const std::string flat_ = root_.file("example.org/alice");
  const std::string hashed_ = root_.file("example.org/%/63/84/alice");
  const std::string new_ = GetParam() == FolderForm::hashed ? hashed_ : flat_;
};

TEST_P(InterruptedFormChange, LeavesTheUserThereAtEachMoment) {
  put_old_form();
  TracedProcess process([this] { change(); });
  if (!process.is_running()) GTEST_SKIP() << "processes can't be traced here";
  while (process.step()) expect_one_whole_folder("");
  EXPECT_EQ(new_, user_folder(alice));
}

TEST_P(InterruptedFormChange, IsDoneByTheNextRunWheneverItIsKilled) {
  bool was_old = false;
  bool was_new = false;
  for (int stops = 0, done = 0; done == 0; ++stops) {
    put_old_form();
    TracedProcess process([this] { change(); });
    if (!process.is_running()) GTEST_SKIP() << "processes can't be traced here";
    for (int stop = 0; stop < stops && done == 0; ++stop) done = process.step() ? 0 : 1;
    process.kill();
    expect_one_whole_folder("killed at stop " + std::to_string(stops));
    was_old |= user_folder(alice) != new_;
    was_new |= user_folder(alice) == new_;
    change();
    EXPECT_EQ(new_, user_folder(alice)) << "killed at stop " << stops;
  }
  EXPECT_TRUE(was_old);
  EXPECT_TRUE(was_new);
}

// The look-up goes through all places while the folder is renamed between any two of its looks.
TEST_P(InterruptedFormChange, HidesTheUserFromNoLookUp) {
  for (int stops = 0, done = 0; done == 0; ++stops) {
    put_old_form();
    TracedProcess process([] { _exit(check_known(alice) ? 1 : 0); });
    if (!process.is_running()) GTEST_SKIP() << "processes can't be traced here";
    for (int stop = 0; stop < stops && done == 0; ++stop) done = process.step() ? 0 : 1;
    change();
    EXPECT_EQ(0, done != 0 ? 0 : process.finish()) << "moved at stop " << stops;
  }
}

std::string form_name(const testing::TestParamInfo<FolderForm>& row) {
  return row.param == FolderForm::flat ? "Flat" : "Hashed";
}

INSTANTIATE_TEST_SUITE_P(To, InterruptedFormChange,
                         testing::Values(FolderForm::flat, FolderForm::hashed), form_name);

}  // namespace
}  // namespace Quarrow::Administration
