// Requests that lead to no resource, and those that no resource takes.
#include "web_api/api.h"

#include "web_api/web_api_test_support.h"

namespace Quarrow::WebApi {
namespace {

class ApiTest : public WebApiTest {
 protected:
  // The status of a POST of this text to the rules.
  int status_of_body(const std::string& body, const std::string& type = "application/json") const {
    return answer(context_, {"POST", "/api/v1/rules", {{"content-type", type}}, body}).status;
  }
};

TEST_F(ApiTest, KnowsItsResourcesAlone) {
  for (const char* target :
       {"/", "", "/rule", "/rules/", "/rules/1/2", "/rules/1/move/2", "/import/x"})
    EXPECT_EQ("404", problem_in(ask("GET", target))) << target;
  EXPECT_EQ("404", problem_in(answer(context_, {"GET", "/api/v2/rules", {}, ""})));
  EXPECT_EQ("404", problem_in(answer(context_, {"GET", "/rules", {}, ""})));
  for (const char* target : {"rules", "*", "/api/v1/../rules", "/api/v1/rules/%2e%2e", "http://a/"})
    EXPECT_EQ("400", problem_in(answer(context_, {"GET", target, {}, ""}))) << target;
}

TEST_F(ApiTest, TellsTheMethodsOfAResource) {
  const struct {
    const char* target;
    const char* allowed;
  } rows[] = {{"/rules", "GET, POST, PUT"}, {"/rules/1", "GET, PUT, PATCH, DELETE"},
              {"/rules/check", "POST"},     {"/rules/1/move", "POST"},
              {"/history/undo", "POST"},    {"/history/0123", "GET"},
              {"/import", "POST"}};
  for (const auto& row : rows) {
    const auto response = ask("TRACE", row.target);
    EXPECT_EQ("405", problem_in(response)) << row.target;
    EXPECT_EQ(row.allowed, header_in(response, "allow"));
  }
  EXPECT_EQ(405, ask("get", "/rules").status);
}

TEST_F(ApiTest, TakesJsonAlone) {
  for (const char* type : {"", "text/plain", "application/jsonx", "multipart/form-data",
                           "application/x-www-form-urlencoded", "text/json"})
    EXPECT_EQ(415, status_of_body("{}", type)) << type;
  EXPECT_EQ(415, answer(context_, {"POST", "/api/v1/rules", {}, "{}"}).status);
  for (const char* type : {"application/json", "Application/JSON; charset=utf-8"})
    EXPECT_EQ(422, status_of_body("{}", type)) << type;
}

TEST_F(ApiTest, RefusesBodiesThatAreNoJson) {
  const std::string bodies[] = {"",
                                "{",
                                "{\"name\": \"\xff\"}",
                                "{\"name\": \"\xed\xa0\x80\"}",
                                "{\"a\": 1, \"a\": 2}",
                                "{\"id\": 1e999}",
                                "NaN",
                                std::string(200000, '['),
                                std::string(200000, '{'),
                                "[[[[[[[[[[1]]]]]]]]]]",
                                std::string("{}\0", 3)};
  for (const std::string& body : bodies) EXPECT_EQ(400, status_of_body(body)) << body.substr(0, 40);
  const auto response =
      answer(context_, {"POST", "/api/v1/rules", {{"content-type", "application/json"}}, "[1,]"});
  EXPECT_EQ("no JSON from byte 4 on", body_of(response)["detail"]);
}

TEST_F(ApiTest, RefusesParametersThatItDoesNotKnow) {
  EXPECT_EQ("400 form", problem_in(ask("GET", "/rules?form=json")));
  EXPECT_EQ("400 dryrun", problem_in(ask("POST", "/import?dryrun=true", {{"text", "[]"}})));
  EXPECT_EQ("400 form", problem_in(ask("GET", "/export?form=json&form=xml")));
}

TEST_F(ApiTest, TellsAUserWithoutAFolder) {
  context_.user = EmailAddress("carol@example.org");
  EXPECT_EQ("404", problem_in(ask("GET", "/rules")));
  EXPECT_EQ("404", problem_in(ask("POST", "/rules", filter_named("a"), {{"if-match", "\"a\""}})));
  EXPECT_FALSE(std::filesystem::exists(root_.file("example.org/carol")));
}

TEST(Api, TellsWhichRequestsHaveMailEvaluated) {
  for (const char* const target :
       {"/api/v1/preview", "/api/v1/messages?folder=INBOX", "/api/v1/messages/a/explanation"})
    EXPECT_TRUE(evaluates_mail({"GET", target, {}, ""})) << target;
  for (const char* const target : {"/api/v1/rules", "/api/v1/rules/1", "/api/v1/folders", "/", ""})
    EXPECT_FALSE(evaluates_mail({"GET", target, {}, ""})) << target;
}

TEST_F(ApiTest, ReachesNoOtherUser) {
  std::filesystem::create_directories(root_.file("example.org/bob"));
  add({"Hers"});
  const std::string document = content_of(document_);
  const std::string hers = tag();
  context_.user = EmailAddress("bob@example.org");
  EXPECT_EQ("", names());
  for (const char* target : {"/rules/1", "/rules/../alice@example.org", "/rules/alice@example.org",
                             "/history/alice", "/rules?user=alice@example.org"})
    EXPECT_LE(400, ask("GET", target, nullptr, {{"x-user", "alice@example.org"}}).status) << target;
  EXPECT_EQ(404, ask("GET", "/history/" + hers.substr(1, 12)).status);
  EXPECT_EQ(412, ask("DELETE", "/rules/1", nullptr, {{"if-match", hers}}).status);
  EXPECT_EQ(404, change("DELETE", "/rules/1").status);
  EXPECT_EQ(404, change("POST", "/history/restore", {{"revision", hers.substr(1, 12)}}).status);
  EXPECT_EQ(document, content_of(document_));
}

}  // namespace
}  // namespace Quarrow::WebApi
