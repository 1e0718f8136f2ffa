// A user's own fields, changed on disk.
#include "administration/fields_transaction.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "administration/administration_test_support.h"
#include "administration/folder_form.h"
#include "administration/root_setup.h"

namespace Quarrow::Administration {
namespace {

class Fields : public testing::Test {
 protected:
  Fields() {
    std::filesystem::create_directories(folder_);
    CatalogueSetup setup;
    EXPECT_EQ("", said(set_up_catalogue(catalogue_, setup)));
  }

  // What is said of a change.
  std::string change(const std::function<Refusal(FieldsTransaction&)>& edit) const {
    FieldsTransaction fields(alice, catalogue_);
    Refusal refusal = fields.open();
    if (!refusal) refusal = edit(fields);
    if (!refusal) refusal = fields.commit();
    return said(refusal);
  }

  std::string add(const std::string& type, const std::string& name) const {
    return change([&](FieldsTransaction& fields) { return fields.add(type, name); });
  }

  // The user's own fields.
  std::string own() const {
    FieldsTransaction fields(alice, catalogue_);
    EXPECT_EQ("", said(fields.open()));
    std::string all;
    for (const auto& field : fields.fields())
      if (field.customized) all += field.type + ' ' + field.name + '\n';
    return all;
  }

  const TemporaryRoot root_;
  const std::string folder_ = root_.file("example.org/alice");
  const std::string own_ = folder_ + "/.delivery_filter.custom.xml";
  const std::string catalogue_ = root_.file("fields.xml");
};

TEST_F(Fields, StayWhileTheUserIsMoved) {
  write_file(folder_ + "/.quarrow_lock", "");
  EXPECT_EQ(folder_ +
                ": nothing was changed, since the user is being moved to another machine; try "
                "again later",
            add("string", "X-Project"));
  EXPECT_EQ("", own());
}

TEST_F(Fields, AreAddedAndRemoved) {
  EXPECT_EQ("", add("string", "X-Project"));
  EXPECT_EQ("", add("address", "Resent-To"));
  EXPECT_EQ("string X-Project\naddress Resent-To\n", own());
  EXPECT_EQ("", change([](FieldsTransaction& fields) { return fields.remove("X-Project"); }));
  EXPECT_EQ("address Resent-To\n", own());
  EXPECT_EQ("", change([](FieldsTransaction& fields) {
              fields.clear();
              return Refusal();
            }));
  EXPECT_EQ("", own());
  EXPECT_FALSE(std::filesystem::exists(own_ + ".new"));
}

TEST_F(Fields, FollowAFolderThatChangesItsForm) {
  {
    FieldsTransaction fields(alice, catalogue_);
    FormChange change;
    EXPECT_EQ("", said(change_form(root_.path(), alice, FolderForm::hashed, change)));
    EXPECT_EQ("", said(fields.open()));
    EXPECT_EQ("", said(fields.add("string", "X-Project")));
    EXPECT_EQ("", said(fields.commit()));
  }
  EXPECT_EQ("string X-Project\n", own());
  EXPECT_FALSE(std::filesystem::exists(folder_));
}

TEST_F(Fields, AreThoseOfTheSystemToo) {
  FieldsTransaction fields(alice, catalogue_);
  EXPECT_EQ("", said(fields.open()));
  ASSERT_FALSE(fields.fields().empty());
  EXPECT_EQ("subject", fields.fields().front().name);
  EXPECT_FALSE(fields.fields().front().customized);
}

TEST_F(Fields, AreRefusedWhenNoTestCanNameThem) {
  EXPECT_EQ("type: unknown type \"text\"; the types are string, address, size, date",
            add("text", "X-Project"));
  EXPECT_EQ("name: a field needs a name", add("string", ""));
  EXPECT_NE("", add("string", "X Project"));
  EXPECT_NE("", add("string", "X\"Project"));
  EXPECT_EQ("field: \"X-Project\" does not hold addresses", add("address", "X-Project"));
  EXPECT_FALSE(std::filesystem::exists(own_));
}

TEST_F(Fields, AreThereOnce) {
  EXPECT_EQ("", add("string", "X-Project"));
  EXPECT_EQ("alice@example.org: has a field \"x-project\" already", add("string", "x-project"));
  EXPECT_EQ("alice@example.org: has a field \"Subject\" already", add("string", "Subject"));
}

TEST_F(Fields, AreRefusedWhenThereAreNone) {
  EXPECT_EQ("", add("string", "X-Project"));
  const auto remove = [this](const std::string& name) {
    return change([&name](FieldsTransaction& fields) { return fields.remove(name); });
  };
  EXPECT_EQ("alice@example.org: no field \"x-project\"; did you mean X-Project?",
            remove("x-project"));
  EXPECT_EQ("alice@example.org: no field \"zzz\"", remove("zzz"));
  EXPECT_EQ("alice@example.org: \"subject\" is the system's field, which stays", remove("subject"));
  EXPECT_EQ("string X-Project\n", own());
}

TEST_F(Fields, AreNotOverwrittenWhenTheyCantBeRead) {
  write_file(own_, "<fields");
  EXPECT_EQ(
      own_ + ": damaged catalogue of fields; restore it from a copy, or remove it to start anew",
      add("string", "X-Project"));
  EXPECT_EQ("<fields", content_of(own_));
  std::filesystem::remove(own_);
  std::filesystem::create_symlink(catalogue_, own_);
  EXPECT_NE("", add("string", "X-Project"));
  EXPECT_TRUE(std::filesystem::is_symlink(own_));
}

TEST_F(Fields, NeedTheUsersFolder) {
  std::filesystem::remove_all(folder_);
  EXPECT_EQ(folder_ + ": nothing was changed: No such file or directory",
            add("string", "X-Project"));
  EXPECT_FALSE(std::filesystem::exists(folder_));
  write_file(folder_, "no folder");
  EXPECT_EQ(folder_ + ": Not a directory", add("string", "X-Project"));
}

TEST_F(Fields, NeedTheSystemsCatalogue) {
  std::filesystem::remove(catalogue_);
  EXPECT_EQ(catalogue_ + ": the system's catalogue of fields: No such file or directory",
            add("string", "X-Project"));
  write_file(catalogue_, "<fields");
  EXPECT_EQ(catalogue_ + ": damaged catalogue of fields", add("string", "X-Project"));
}

}  // namespace
}  // namespace Quarrow::Administration
