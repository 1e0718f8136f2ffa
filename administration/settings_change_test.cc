// Settings read and changed.
#include "administration/settings_change.h"

#include <base.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "administration/administration_test_support.h"
#include "administration/root_setup.h"

namespace Quarrow::Administration {
namespace {

class Settings : public testing::Test {
 protected:
  Settings() {
    ConfigurationSetup setup;
    EXPECT_EQ("", said(set_up_configuration(root_.path(), {19}, setup)));
  }
  ~Settings() override { cmdb.system = nullptr; }

  std::string checked(const std::string& name, const std::string& value) const {
    SettingChange change;
    return said(check_setting(root_.path(), name, value, change));
  }

  std::uint32_t grade() const {
    Setting setting;
    EXPECT_EQ("", said(read_setting(root_.path(), "grade", setting)));
    return setting.value;
  }

  const TemporaryRoot root_;
  const std::string file_ = configuration_file(root_.path());
};

TEST_F(Settings, AreRead) {
  std::vector<Setting> settings;
  EXPECT_EQ("", said(read_settings(root_.path(), settings)));
  ASSERT_EQ(2U, settings.size());
  EXPECT_EQ("grade", settings.front().name);
  EXPECT_EQ(19U, settings.front().value);
  EXPECT_EQ("hashed-folders", settings.back().name);
  EXPECT_EQ(0U, settings.back().value);
  EXPECT_EQ(19U, grade());
}

TEST_F(Settings, AreChangedOneByOne) {
  EXPECT_EQ("hashed-folders: is a whole number from 0 to 1, not 2", checked("hashed-folders", "2"));
  EXPECT_EQ("", said(change_setting(root_.path(), {"hashed-folders", 1, 0})));
  EXPECT_EQ("", said(change_setting(root_.path(), {"grade", 7, 19})));
  Setting setting;
  EXPECT_EQ("", said(read_setting(root_.path(), "hashed-folders", setting)));
  EXPECT_EQ(1U, setting.value);
  EXPECT_EQ(7U, grade());
}

TEST_F(Settings, AreChanged) {
  SettingChange change;
  EXPECT_EQ("", said(check_setting(root_.path(), "grade", "7", change)));
  EXPECT_EQ(19U, change.before);
  EXPECT_EQ(7U, change.value);
  EXPECT_EQ(19U, grade());
  EXPECT_EQ("", said(change_setting(root_.path(), change)));
  EXPECT_EQ(7U, grade());
}

TEST_F(Settings, KeepTheModeAndLeaveNothingAside) {
  std::filesystem::permissions(file_, std::filesystem::perms(0640));
  write_file(file_ + ".new", "of a change that was cut off");
  EXPECT_EQ("", said(change_setting(root_.path(), {"grade", 7, 19})));
  EXPECT_EQ(std::filesystem::perms(0640), std::filesystem::status(file_).permissions());
  EXPECT_FALSE(std::filesystem::exists(file_ + ".new"));
  EXPECT_EQ(7U, grade());
}

TEST_F(Settings, AreRefusedByNameAndByValue) {
  EXPECT_EQ("grad: no such setting; did you mean grade?", checked("grad", "7"));
  EXPECT_EQ("colour: no such setting", checked("colour", "7"));
  for (const char* value : {"100", "-1", "7x", "", " 7", "99999999999"})
    EXPECT_EQ(std::string("grade: is a whole number from 0 to 99, not ") + value,
              checked("grade", value));
  EXPECT_EQ("", checked("grade", "0"));
  EXPECT_EQ("", checked("grade", "99"));
}

TEST_F(Settings, AreThereOnlyWithAConfiguration) {
  std::filesystem::remove(file_);
  Setting setting;
  EXPECT_EQ(Kind::no_configuration, read_setting(root_.path(), "grade", setting).kind);
  EXPECT_EQ(Kind::no_configuration, change_setting(root_.path(), {"grade", 7, 19}).kind);
  EXPECT_FALSE(std::filesystem::exists(file_));
}

TEST_F(Settings, StayWhenTheNewOnesCantBeWritten) {
  const Refusal refusal = without_writing_in(root_.path(), [this] {
    return change_setting(root_.path(), {"grade", 7, 19});
  });
  EXPECT_EQ(Kind::not_made, refusal.kind);
  EXPECT_EQ(19U, grade());
}

}  // namespace
}  // namespace Quarrow::Administration
