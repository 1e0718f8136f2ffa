// The catalogue of fields.
#include <gtest/gtest.h>
#include <zvelluser.h>

#include <locale>

#include "message_filters/private_spool_test_support.h"
#include "message_filters/user_filter_path.h"
#include "message_filters/xml_text.h"
#include "quarrow/user_stores.h"
#include "tests/support/temporary_folder_test_support.h"

namespace Quarrow::MessageFilters {

// Found by gtest through the arguments' namespace.
static bool operator==(const Field& a, const Field& b) {
  return a.type == b.type && a.name == b.name && a.customized == b.customized;
}

static void PrintTo(const Field& field, std::ostream* os) {
  *os << field.type << ' ' << field.name << (field.customized ? " (own)" : "");
}

namespace {

const std::string xml_declaration = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
const EmailAddress bob("bob@example.org");

Field make_field(const std::string& type, const std::string& name, bool customized = true) {
  Field field;
  field.type = type;
  field.name = name;
  field.customized = customized;
  return field;
}

class UserFields : public testing::Test {
 protected:
  UserFields() {
    mailuser_set_root(folder_.path());
    std::filesystem::create_directories(std::filesystem::path(custom_file()).parent_path());
    fields_ = UserFields__::Create(bob);
    fields_->fields.clear();  // whatever this machine's catalogue holds
  }

  static std::string custom_file() { return user_filter_path(bob, CUSTOM_FIELDS_XML); }

  bool load(const std::string& document, bool customized) {
    write_file(folder_.file("fields.xml"), document);
    return fields_->load(folder_.file("fields.xml"), customized);
  }

  const TemporaryFolder folder_;
  boost::shared_ptr<UserFields__> fields_;
};

using Fields = std::list<Field>;

TEST_F(UserFields, NullAddressHasNoCatalogue) {
  EXPECT_FALSE(UserFields__::Create(EmailAddress()));
  EXPECT_FALSE(UserFields__::Create(EmailAddress("nobody")));
}

TEST_F(UserFields, KeepTheAddress) { EXPECT_EQ("bob@example.org", fields_->owner.address()); }

TEST_F(UserFields, LoadAppendsInOrder) {
  EXPECT_TRUE(
      load("<fields version=\"1.0\"><field type=\"address\">From</field>"
           "<field type=\"date\">zvx-received-date</field></fields>",
           false));
  EXPECT_TRUE(
      load("<fields><field type=\"size\">size</field><field type=\"string\">From</field>"
           "<field type=\"string\">From</field></fields>",
           true));
  EXPECT_EQ((Fields{make_field("address", "From", false),
                    make_field("date", "zvx-received-date", false), make_field("size", "size"),
                    make_field("string", "From"), make_field("string", "From")}),
            fields_->fields);
}

TEST_F(UserFields, LoadTakesWhatItCan) {
  EXPECT_TRUE(
      load("<anything version=\"9\"><field>plain</field><field type=\"STRING\">upper</field>"
           "<field type=\"\">empty</field><field type=\"size\"></field><x>other</x>"
           "<field type=\"size\"/><field type=\"size\"> &lt;a&gt;\n</field></anything>",
           true));
  EXPECT_EQ((Fields{make_field("string", "plain"), make_field("string", "upper"),
                    make_field("string", "empty"), make_field("size", " <a>\n")}),
            fields_->fields);
}

TEST_F(UserFields, LoadOfNoFieldSucceeds) {
  EXPECT_TRUE(load("<fields version=\"1.0\"></fields>", true));
  EXPECT_TRUE(fields_->fields.empty());
}

TEST_F(UserFields, LoadOfNoDocumentFails) {
  fields_->fields = {make_field("string", "a")};
  EXPECT_FALSE(fields_->load(folder_.file("missing.xml"), true));
  EXPECT_FALSE(fields_->load(folder_.path(), true));
  EXPECT_FALSE(load("<fields><field>x</field>", true));
  EXPECT_FALSE(load("", true));
  EXPECT_EQ((Fields{make_field("string", "a")}), fields_->fields);
}

TEST_F(UserFields, AddChecksTypeNameAndDuplicates) {
  fields_->fields = {make_field("string", "Subject", false), make_field("address", "X-From")};
  const Fields before = fields_->fields;
  for (const auto& field :
       {make_field("", "X-Tag"), make_field("number", "X-Tag"), make_field("String", "X-Tag"),
        make_field("string", ""), make_field("string", "subject"), make_field("size", "SUBJECT"),
        make_field("string", "x-fROM"), make_field("string", "Subject", false)})
    EXPECT_FALSE(fields_->add_field(field)) << field.type << ' ' << field.name;
  EXPECT_EQ(before, fields_->fields);
  for (const auto& field : {make_field("string", "X-Tag"), make_field("size", "Subjec"),
                            make_field("date", "Subject "), make_field("string", "y", false)}) {
    EXPECT_TRUE(fields_->add_field(field)) << field.type << ' ' << field.name;
    EXPECT_EQ(field, fields_->fields.back());
  }
}

// A locale in which "1" and "2" are one letter.
class OddLetters : public std::ctype<char> {
  char do_toupper(char c) const override { return c == '1' ? '2' : c; }
};

TEST_F(UserFields, AddComparesAsTheGlobalLocaleDoes) {
  const std::locale before = std::locale::global(std::locale(std::locale(), new OddLetters));
  EXPECT_TRUE(fields_->add_field(make_field("string", "a1")));
  EXPECT_FALSE(fields_->add_field(make_field("string", "a2")));
  EXPECT_TRUE(fields_->add_field(make_field("string", "A1")));
  std::locale::global(before);
}

TEST_F(UserFields, RemoveTakesTheFirstCustomizedOfExactlyThatName) {
  fields_->fields = {make_field("string", "Subject", false), make_field("string", "Subject"),
                     make_field("size", "Subject"), make_field("string", "To", false)};
  EXPECT_FALSE(fields_->remove_field("subject"));
  EXPECT_FALSE(fields_->remove_field("To"));
  EXPECT_FALSE(fields_->remove_field("Cc"));
  EXPECT_FALSE(fields_->remove_field(""));
  EXPECT_TRUE(fields_->remove_field("Subject"));
  EXPECT_EQ((Fields{make_field("string", "Subject", false), make_field("size", "Subject"),
                    make_field("string", "To", false)}),
            fields_->fields);
  EXPECT_TRUE(fields_->remove_field("Subject"));
  EXPECT_FALSE(fields_->remove_field("Subject"));
  EXPECT_EQ(2u, fields_->fields.size());
}

TEST_F(UserFields, ClearKeepsTheSystemsFieldsInOrder) {
  fields_->fields = {make_field("string", "b", false), make_field("string", "x"),
                     make_field("string", "a", false), make_field("string", "y")};
  fields_->clear_customized_fields();
  EXPECT_EQ((Fields{make_field("string", "b", false), make_field("string", "a", false)}),
            fields_->fields);
  EXPECT_EQ("(no file)", content_of(custom_file()));
}

TEST_F(UserFields, PersistWritesTheCustomizedFields) {
  fields_->fields = {make_field("string", "Subject", false), make_field("string", "X-Project"),
                     make_field("address", "Reply-To"), make_field("bad", "", false)};
  ASSERT_TRUE(fields_->persist());
  EXPECT_EQ(xml_declaration +
                "<fields version=\"1.0\"><field type=\"string\">X-Project</field>"
                "<field type=\"address\">Reply-To</field></fields>",
            content_of(custom_file()));
  EXPECT_EQ("(no file)", content_of(custom_file() + ".tmp"));
}

TEST_F(UserFields, PersistOfNoFieldReplacesTheOldFile) {
  write_file(custom_file(), std::string(1000, 'x'));
  ASSERT_TRUE(fields_->persist());
  EXPECT_EQ(xml_declaration + "<fields version=\"1.0\"></fields>", content_of(custom_file()));
}

TEST_F(UserFields, PersistEscapesAndLoadReadsItBack) {
  fields_->fields = {make_field("date", "<&\"'>\r\n\t \x01\xC3\xA9")};
  const Fields before = fields_->fields;
  ASSERT_TRUE(fields_->persist(folder_.file("f")));
  fields_->fields.clear();
  ASSERT_TRUE(fields_->load(folder_.file("f"), true));
  EXPECT_EQ(before, fields_->fields);
}

TEST_F(UserFields, PersistOfAnInvalidFieldLeavesTheFilesAlone) {
  for (const auto& invalid : {make_field("string", ""), make_field("", "a"), make_field("x", "a"),
                              make_field("string", std::string("a\0b", 3))}) {
    write_file(custom_file(), "old");
    write_file(custom_file() + ".tmp", "older");
    fields_->fields = {make_field("string", "X-Project"), invalid};
    EXPECT_FALSE(fields_->persist());
    EXPECT_FALSE(fields_->persist(custom_file()));
    EXPECT_EQ("old", content_of(custom_file()));
    EXPECT_EQ("older", content_of(custom_file() + ".tmp"));
  }
}

TEST_F(UserFields, PersistOfMoreFieldsThanCanBeReadFails) {
  fields_->fields.assign(most_xml_children + 1, make_field("string", "a"));
  write_file(custom_file(), "old");
  EXPECT_FALSE(fields_->persist(custom_file()));
  EXPECT_EQ("old", content_of(custom_file()));
}

TEST_F(UserFields, PersistNeedsAFolder) {
  EXPECT_FALSE(fields_->persist(folder_.file("missing/f")));
  EXPECT_FALSE(fields_->persist(folder_.path()));
  std::filesystem::remove_all(folder_.path());
  EXPECT_FALSE(fields_->persist());
}

TEST_F(UserFields, PersistThatCannotWriteAsideKeepsTheOldFile) {
  write_file(custom_file(), "old");
  std::filesystem::create_directory(custom_file() + ".tmp");
  EXPECT_FALSE(fields_->persist());
  EXPECT_EQ("old", content_of(custom_file()));
}

TEST_F(UserFields, PersistDoesNotNoticeFailuresBehindTheOpening) {
  EXPECT_TRUE(fields_->persist("/dev/full"));
  std::filesystem::create_directories(custom_file() + "/x");  // neither removed nor replaced
  EXPECT_TRUE(fields_->persist());
  EXPECT_TRUE(std::filesystem::is_directory(custom_file()));
  EXPECT_EQ(xml_declaration + "<fields version=\"1.0\"></fields>",
            content_of(custom_file() + ".tmp"));
}

// With a system catalogue of the test's own.
class Catalogues : public UserFields {
 protected:
  void SetUp() override {
    const std::string obstacle = enter_private_spool();
    if (!obstacle.empty()) GTEST_SKIP() << obstacle;
    write_system_catalogue("<fields><field type=\"string\">Subject</field></fields>");
    write_file(custom_file(), "<fields><field type=\"size\">Mine</field></fields>");
  }

  static Fields loaded() { return UserFields__::Create(bob)->fields; }

  const Field subject_ = make_field("string", "Subject", false);
};

TEST_F(Catalogues, SystemFieldsComeBeforeTheUsersOwn) {
  EXPECT_EQ((Fields{subject_, make_field("size", "Mine")}), loaded());
}

TEST_F(Catalogues, WithoutTheSystemsNothingIsLoaded) {
  remove_system_catalogue();
  EXPECT_EQ(Fields{}, loaded());
  write_system_catalogue("<fields>");
  EXPECT_EQ(Fields{}, loaded());
}

TEST_F(Catalogues, AnEmptySystemCatalogueIsOne) {
  write_system_catalogue("<fields/>");
  EXPECT_EQ((Fields{make_field("size", "Mine")}), loaded());
}

TEST_F(Catalogues, UserNeedsNone) {
  write_file(custom_file(), "<fields");
  EXPECT_EQ(Fields{subject_}, loaded());
  std::filesystem::remove(custom_file());
  EXPECT_EQ(Fields{subject_}, loaded());
}

TEST_F(Catalogues, AddedFieldsAreThereTheNextTime) {
  const auto fields = UserFields__::Create(bob);
  EXPECT_FALSE(fields->add_field(make_field("string", "subject")));
  EXPECT_TRUE(fields->add_field(make_field("string", "X-Tag")));
  EXPECT_TRUE(fields->persist());
  EXPECT_EQ((Fields{subject_, make_field("size", "Mine"), make_field("string", "X-Tag")}),
            loaded());
}

TEST_F(Catalogues, ClearedFieldsAreGoneTheNextTime) {
  const auto fields = UserFields__::Create(bob);
  fields->clear_customized_fields();
  EXPECT_TRUE(fields->persist());
  EXPECT_EQ(xml_declaration + "<fields version=\"1.0\"></fields>", content_of(custom_file()));
  EXPECT_EQ(Fields{subject_}, loaded());
}

}  // namespace
}  // namespace Quarrow::MessageFilters
