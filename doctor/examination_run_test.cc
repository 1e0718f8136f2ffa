// Many users of whom some end the process that looks at them, and users of several owners.
#include "doctor/examination_run.h"

#include <sys/stat.h>
#include <unistd.h>
#include <zvelluser.h>

#include <filesystem>

#include "doctor/examination_test_support.h"

namespace Quarrow::Doctor {
namespace {

constexpr char damaged[] = R"(<filters><filter name="a"></filter></filters>)";

class ExaminationRun : public testing::Test {
 protected:
  ExaminationRun() {
    mailuser_set_root(root_.path());
    std::filesystem::permissions(root_.path(), std::filesystem::perms(0755));
  }

  // Gives the user's folder.
  std::string add_next_user(bool with_script) {
    users_.emplace_back("u" + std::to_string(users_.size()) + "@example.org");
    return add_user(users_.back(), with_script);
  }

  // The codes that are told, a word for each user in the order in which they are told.
  std::string told(std::size_t jobs) {
    std::string text;
    std::size_t next = 0;
    examine_users(users_, {}, jobs, [&](std::size_t user, const Findings& findings) {
      EXPECT_EQ(next++, user);
      for (const Finding& finding : findings) text += finding.code + ' ';
      text += "/ ";
    });
    EXPECT_EQ(users_.size(), next);
    return text;
  }

  const TemporaryFolder root_;
  std::vector<EmailAddress> users_;
};

TEST_F(ExaminationRun, TellsOfNobodyWithoutUsers) { EXPECT_EQ("", told(2)); }

TEST_F(ExaminationRun, GoesOnBehindUsersWhoseRulesEndTheProcess) {
  std::string wanted;
  for (int i = 0; i < 40; ++i) {
    const bool is_damaged = i % 7 == 3 || i == 4 || i == 39;
    const std::string folder = add_next_user(i % 2 == 0);
    if (is_damaged) write_private(folder + "/.delivery_filter.xml", damaged);
    wanted += is_damaged ? "damaged_document / " : i % 2 == 0 ? "/ " : "no_script / ";
  }
  for (const std::size_t jobs : {1U, 2U, 5U}) EXPECT_EQ(wanted, told(jobs)) << jobs;
}

TEST_F(ExaminationRun, HasTheRightsOfTheOwnerOfEachFolder) {
  if (geteuid() != 0) GTEST_SKIP() << "only the superuser becomes somebody else";
  std::string wanted;
  for (int i = 0; i < 30; ++i) {
    const uid_t owner = i % 3 == 0 ? 0 : 65000 + static_cast<uid_t>(i % 5);
    const std::string folder = add_next_user(true);
    const std::string script = folder + "/.delivery_filter";
    for (const std::string& path : {folder, script, script + ".xml"})
      ASSERT_EQ(0, chown(path.c_str(), owner, owner));
    const bool is_unreadable = i == 13;  // the script is root's, and its owner's alone
    ASSERT_EQ(0, is_unreadable ? chown(script.c_str(), 0, 0) : 0);
    wanted += is_unreadable ? "foreign_owner unreadable / " : "/ ";
  }
  for (const std::size_t jobs : {1U, 3U}) EXPECT_EQ(wanted, told(jobs)) << jobs;
}

}  // namespace
}  // namespace Quarrow::Doctor
