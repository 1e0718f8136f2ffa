// The files that all users share: made, kept, and refused.
#include "administration/root_setup.h"

#include <base.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include "administration/administration_test_support.h"

namespace Quarrow::Administration {
namespace {

class RootSetup : public testing::Test {
 protected:
  ~RootSetup() override { cmdb.system = nullptr; }

  Refusal set_up(const std::string& root) const {
    ConfigurationSetup setup;
    const Refusal refusal = set_up_configuration(root, {8}, setup);
    EXPECT_EQ(refusal ? "" : configuration_file(root), setup.path);
    return refusal;
  }

  // The refusal of a catalogue of that name in the folder.
  Refusal set_up_catalogue_file(const std::string& name) const {
    CatalogueSetup setup;
    const Refusal refusal = set_up_catalogue(folder_.file(name), setup);
    EXPECT_EQ(refusal ? "" : folder_.file(name), setup.path);
    return refusal;
  }

  const TemporaryRoot folder_;
  const std::string root_ = folder_.file("new/root");
};

TEST_F(RootSetup, MakesAConfigurationOnce) {
  ConfigurationSetup setup;
  EXPECT_EQ("", said(set_up_configuration(root_, {8}, setup)));
  EXPECT_EQ(root_ + "/quarrow.sqlite", setup.path);
  EXPECT_TRUE(setup.made);
  EXPECT_EQ(8U, setup.settings.capacity_grade);
  EXPECT_EQ("", said(set_up_configuration(root_, {3}, setup)));
  EXPECT_FALSE(setup.made);
  EXPECT_EQ(8U, setup.settings.capacity_grade);
}

TEST_F(RootSetup, OpensTheConfigurationThatItMade) {
  EXPECT_EQ("", said(set_up(root_)));
  EXPECT_EQ("", said(open_configuration(root_)));
  ASSERT_NE(nullptr, cmdb.system);
  EXPECT_EQ(8U, cmdb.system->capacity_grade);
}

TEST_F(RootSetup, RefusesAConfigurationThatIsMissing) {
  expect_refusal(Kind::no_configuration, root_ + "/quarrow.sqlite", "no configuration",
                 open_configuration(root_));
}

TEST_F(RootSetup, RefusesAConfigurationBelowAFile) {
  folder_.write("file", "");
  expect_refusal(Kind::missing, folder_.file("file/quarrow.sqlite"), "Not a directory",
                 open_configuration(folder_.file("file")));
}

TEST_F(RootSetup, RefusesAConfigurationThatMayNotBeRead) {
  EXPECT_EQ("", said(set_up(root_)));
  std::filesystem::permissions(root_, std::filesystem::perms::none);
  expect_refusal(Kind::not_permitted, root_ + "/quarrow.sqlite", "Permission denied",
                 as_nobody([this] { return open_configuration(root_); }));
  std::filesystem::permissions(root_, std::filesystem::perms(0755));
}

TEST_F(RootSetup, RefusesADamagedConfiguration) {
  const std::string path = folder_.write("quarrow.sqlite", std::string(4096, '\0'));
  for (const Refusal& refusal : {open_configuration(folder_.path()), set_up(folder_.path())})
    expect_refusal(Kind::damaged_configuration, "configuration", path + ": file is not a database",
                   refusal);
}

TEST_F(RootSetup, RefusesARootThatCantBeMade) {
  folder_.write("file", "");
  expect_refusal(Kind::not_made, folder_.file("file/below"), "can't be made: Not a directory",
                 set_up(folder_.file("file/below")));
}

TEST_F(RootSetup, RefusesARootThatMayNotBeWritten) {
  expect_refusal(Kind::not_permitted, folder_.file("quarrow.sqlite"),
                 "can't be made: Permission denied",
                 without_writing_in(
                     folder_.path(), [this] { return set_up(folder_.path()); }));
}

TEST_F(RootSetup, RefusesAConfigurationForWhichThereIsNoRoom) {
  const Refusal refusal = in_child([this] {
    limit_file_size(100);
    return set_up(root_);
  });
  EXPECT_EQ(Kind::not_made, refusal.kind);
  EXPECT_EQ("configuration", refusal.object);
  EXPECT_EQ(0U, refusal.reason.find(root_ + "/quarrow.sqlite: ")) << refusal.reason;
  EXPECT_TRUE(std::filesystem::is_empty(root_));
}

TEST_F(RootSetup, MakesACatalogueOnce) {
  CatalogueSetup setup;
  const std::string path = folder_.file("other/fields.xml");
  EXPECT_EQ("", said(set_up_catalogue(path, setup)));
  EXPECT_EQ(path, setup.path);
  EXPECT_TRUE(setup.made);
  EXPECT_EQ(11U, setup.fields);
  EXPECT_EQ(std::filesystem::perms(0644), std::filesystem::status(path).permissions());
  write_file(path, "changed");
  EXPECT_EQ("", said(set_up_catalogue(path, setup)));
  EXPECT_FALSE(setup.made);
  EXPECT_EQ("changed", content_of(path));
}

TEST_F(RootSetup, RefusesACatalogueBelowAFile) {
  folder_.write("file", "");
  expect_refusal(Kind::not_made, folder_.file("file"), "can't be made: Not a directory",
                 set_up_catalogue_file("file/fields.xml"));
}

TEST_F(RootSetup, RefusesACatalogueThatMayNotBeWritten) {
  expect_refusal(Kind::not_permitted, folder_.file("fields.xml"),
                 "can't be made: Permission denied",
                 without_writing_in(
                     folder_.path(), [this] { return set_up_catalogue_file("fields.xml"); }));
}

TEST_F(RootSetup, RefusesACatalogueThatCantTakeItsPlace) {
  expect_refusal(Kind::not_made, folder_.file("folder/"), "can't be made: Not a directory",
                 set_up_catalogue_file("folder/"));
  EXPECT_TRUE(std::filesystem::is_empty(folder_.file("folder")));
}

TEST_F(RootSetup, RefusesACatalogueThatCantBeWritten) {
  std::filesystem::permissions(folder_.path(), std::filesystem::perms(0777));
  const Refusal refusal = as_nobody([this] {
    (void)umask(0777);  // the draft may not be opened again
    return set_up_catalogue_file("fields.xml");
  });
  expect_refusal(Kind::not_permitted, folder_.file("fields.xml"),
                 "can't be written: Permission denied", refusal);
}

TEST_F(RootSetup, RefusesACatalogueThatCantBeWrittenAside) {
  const std::string name(254, 'x');  // the name of the draft would be longer than any
  expect_refusal(Kind::not_made, folder_.file(name), "can't be made: File name too long",
                 set_up_catalogue_file(name));
}

TEST_F(RootSetup, RefusesACatalogueForWhichThereIsNoRoom) {
  const Refusal refusal = in_child([this] {
    limit_file_size(100);
    return set_up_catalogue_file("fields.xml");
  });
  expect_refusal(Kind::no_room, folder_.file("fields.xml"),
                 "can't be written in full: File too large", refusal);
  EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

}  // namespace
}  // namespace Quarrow::Administration
