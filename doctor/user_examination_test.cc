// One user as a whole: looked at, mended, and told of.
#include "doctor/user_examination.h"

#include <sys/stat.h>

#include "administration/administration_test_support.h"
#include "doctor/examination_test_support.h"

namespace Quarrow::Doctor {
namespace {

namespace fs = std::filesystem;

class UserExamination : public testing::Test {
 protected:
  static Examination repairing(bool dry_run) {
    Examination examination;
    examination.repair = true;
    examination.dry_run = dry_run;
    return examination;
  }

  std::string found(const Examination& examination = {}) const {
    return told(examine_user(alice, examination), folder_);
  }

  const Administration::TemporaryRoot root_;
  const std::string folder_ = add_user(alice);
};

TEST_F(UserExamination, HasNothingToSayOfASoundUser) {
  EXPECT_EQ("", found());
  EXPECT_EQ("", found(repairing(false)));
}

TEST_F(UserExamination, FindsFilesMailAndRules) {
  ASSERT_EQ(0, mkfifo((folder_ + "/Maildir").c_str(), 0600));
  write_private(folder_ + "/.delivery_filter.new", "draft");
  fs::remove(folder_ + "/.delivery_filter");
  EXPECT_EQ(
      "warning leftover .delivery_filter.new, error not_folder Maildir, "
      "error no_script .delivery_filter, ",
      found());
}

TEST_F(UserExamination, FindsAFolderThatIsNotInUse) {
  const std::string hashed = root_.file("example.org/%/63/84/alice");
  fs::create_directories(hashed);
  EXPECT_EQ("warning second_folder " + hashed + ", ", found());
  EXPECT_EQ("warning second_folder " + hashed + ", ", found(repairing(false)));
  fs::remove(hashed);
  fs::rename(folder_, hashed);
  EXPECT_EQ("", found());
}

TEST_F(UserExamination, LeavesTheRulesOutWhereTheyEndedTheProcess) {
  write_private(folder_ + "/.delivery_filter.new", "draft");
  fs::remove(folder_ + "/.delivery_filter");
  EXPECT_EQ("warning leftover .delivery_filter.new, ",
            told(examine_user_without_rules(alice, {}), folder_));
}

TEST_F(UserExamination, SaysNothingOfAUserWhoIsGone) {
  fs::remove_all(folder_);
  EXPECT_EQ("", found());
}

TEST_F(UserExamination, TellsOfAFolderThatIsNone) {
  fs::remove_all(folder_);
  write_private(folder_, "");
  EXPECT_EQ("error unreachable ., ", found());
}

TEST_F(UserExamination, TellsWhatWasMendedAndWhatWasNot) {
  fs::remove(folder_ + "/.delivery_filter");
  ASSERT_EQ(0, mkdir((folder_ + "/.delivery_filter.tmp").c_str(), 0700));
  const Findings findings = examine_user(alice, repairing(false));
  EXPECT_EQ("error not_regular .delivery_filter.tmp, error no_script .delivery_filter, ",
            told(findings, folder_));  // beside something strange, only modes are mended
  fs::remove(folder_ + "/.delivery_filter.tmp");
  EXPECT_EQ("mended no_script .delivery_filter, ", found(repairing(false)));
  EXPECT_EQ("", found());
}

TEST_F(UserExamination, OnlySaysWhatItWouldMend) {
  fs::remove(folder_ + "/.delivery_filter");
  const Findings findings = examine_user(alice, repairing(true));
  EXPECT_EQ("error no_script .delivery_filter, ", told(findings, folder_));
  EXPECT_EQ("--repair mends it", findings[0].advice);
  EXPECT_EQ("error no_script .delivery_filter, ", found());
}

}  // namespace
}  // namespace Quarrow::Doctor
