// Rules and tests tried out.
#include "web_api/web_api_test_support.h"

namespace Quarrow::WebApi {
namespace {

using CheckResource = WebApiTest;

TEST_F(CheckResource, ShowsWhatARuleMeans) {
  const auto response = ask("POST", "/rules/check", {{"filter", filter_named("a", "x")}});
  EXPECT_EQ(200, response.status);
  const auto body = body_of(response);
  EXPECT_EQ(true, body["valid"]);
  EXPECT_EQ("When subject contains \"x\": move to Work", body["sentence"]);
  EXPECT_NE(std::string::npos, body["script"].get<std::string>().find("fileinto \"Work\""));
  EXPECT_EQ(ordered_json::array(), body["warnings"]);
}

TEST_F(CheckResource, ShowsTheScriptOfADisabledRule) {
  ordered_json filter = filter_named("a");
  filter["enabled"] = false;
  const auto body = body_of(ask("POST", "/rules/check", {{"filter", filter}}));
  EXPECT_NE(std::string::npos, body["script"].get<std::string>().find("fileinto \"Work\""));
}

TEST_F(CheckResource, TellsAllMistakesOfARule) {
  ordered_json filter = filter_named("");
  filter["tests"][0]["comparator"] = "resembles";
  const auto response = ask("POST", "/rules/check", {{"filter", filter}});
  EXPECT_EQ(200, response.status) << "the question was answered";
  const auto body = body_of(response);
  EXPECT_EQ(false, body["valid"]);
  ASSERT_EQ(2U, body["errors"].size());
  EXPECT_EQ("/filter/tests/0/comparator", body["errors"][0]["pointer"]);
  EXPECT_EQ("/filter/name", body["errors"][1]["pointer"]);
}

TEST_F(CheckResource, WarnsOfARuleAlone) {
  ordered_json filter = filter_named("a");
  filter["tests"].push_back(filter["tests"][0]);
  filter["tests"][1]["negative"] = true;
  const auto body = body_of(ask("POST", "/rules/check", {{"filter", filter}}));
  ASSERT_EQ(1U, body["warnings"].size());
  EXPECT_EQ("contradiction", body["warnings"][0]["kind"]);
}

TEST_F(CheckResource, ChecksOneTest) {
  ordered_json test = filter_named("a", "x")["tests"][0];
  const auto right = body_of(ask("POST", "/rules/check", {{"test", test}}));
  EXPECT_EQ(true, right["valid"]);
  EXPECT_EQ("subject contains \"x\"", right["sentence"]);
  test["type"] = "date";
  const auto wrong = body_of(ask("POST", "/rules/check", {{"test", test}}));
  EXPECT_EQ(false, wrong["valid"]);
  EXPECT_EQ("/test/comparator", wrong["errors"][0]["pointer"]);
}

TEST_F(CheckResource, IsForOneOfThem) {
  for (const char* body : {"{}", "[]", "1", R"({"rule": {}})", R"({"test": {}, "filter": {}})"})
    EXPECT_EQ("422 ", problem_in(ask("POST", "/rules/check", ordered_json::parse(body)))) << body;
}

TEST_F(CheckResource, ChangesNothing) {
  add({"a"});
  const std::string before = content_of(document_);
  (void)ask("POST", "/rules/check", {{"filter", filter_named("b")}});
  EXPECT_EQ(before, content_of(document_));
}

}  // namespace
}  // namespace Quarrow::WebApi
