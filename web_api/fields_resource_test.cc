// Fields and folders.
#include <algorithm>

#include "administration/fields_transaction.h"
#include "web_api/web_api_test_support.h"

namespace Quarrow::WebApi {
namespace {

class FieldsResource : public WebApiTest {
 protected:
  // The field of that name; null without one.
  ordered_json field(const std::string& name) const {
    const ordered_json body = body_of(ask("GET", "/fields"));
    for (const auto& each : body["fields"])
      if (each["field"] == name) return each;
    return nullptr;
  }
};

TEST_F(FieldsResource, AreTheSystemsAndTheUsersOwn) {
  {
    Administration::FieldsTransaction fields(context_.user, context_.catalogue);
    ASSERT_EQ("", said(fields.open()));
    ASSERT_EQ("", said(fields.add("string", "x-own")));
    ASSERT_EQ("", said(fields.commit()));
    context_.patience = std::chrono::milliseconds(0);
    EXPECT_EQ("503", problem_in(ask("GET", "/fields"))) << "while they are changed";
  }
  EXPECT_EQ(true, field("x-own")["own"]);
  const auto subject = field("subject");
  EXPECT_EQ(false, subject["own"]);
  EXPECT_EQ("string", subject["type"]);
  EXPECT_EQ(ordered_json({"is", "contains", "begin_with", "end_with"}), subject["comparators"]);
  EXPECT_EQ("to or cc", field("to_cc")["words"]);
}

TEST_F(FieldsResource, AreThoseOfEverySystemWithoutACatalogue) {
  context_.catalogue = root_.file("none.xml");
  EXPECT_EQ("string", field("subject")["type"]);
}

TEST_F(FieldsResource, AreRefusedWhereACatalogueIsDamaged) {
  root_.write("fields.xml", "<fields");
  EXPECT_EQ("409", problem_in(ask("GET", "/fields")));
}

TEST_F(FieldsResource, HasTheFoldersOfTheMaildir) {
  EXPECT_EQ(ordered_json::array(), body_of(ask("GET", "/folders"))["folders"]);
  for (const char* name : {".Work", ".Work.Reports", ".Gr&APwA3w-e", "cur"})
    std::filesystem::create_directories(folder_ + "/Maildir/" + name);
  const ordered_json all = {"INBOX", "Grüße", "Work", "Work/Reports"};
  EXPECT_EQ(all, body_of(ask("GET", "/folders"))["folders"]);
}

TEST_F(FieldsResource, FollowsNoLinkToAMaildir) {
  std::filesystem::create_directories(root_.file("elsewhere/.Secret"));
  std::filesystem::create_directory_symlink(root_.file("elsewhere"), folder_ + "/Maildir");
  EXPECT_EQ(ordered_json::array(), body_of(ask("GET", "/folders"))["folders"]);
}

}  // namespace
}  // namespace Quarrow::WebApi
