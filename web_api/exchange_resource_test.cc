// Rules that go out and come in.
#include "web_api/web_api_test_support.h"

namespace Quarrow::WebApi {
namespace {

using ExchangeResource = WebApiTest;

const char script[] =
    "require \"fileinto\";\n"
    "if header :contains \"subject\" \"invoice\" { fileinto \"Money\"; stop; }\n";
const char lossy_script[] =
    "require \"fileinto\";\n"
    "if header :contains \"subject\" \"invoice\" { fileinto \"Money\"; stop; }\n"
    "if header :contains \"subject\" \"spam\" { redirect \"a@example.org\"; stop; }\n";

TEST_F(ExchangeResource, GivesTheRulesInThreeForms) {
  add({"a"});
  const struct {
    const char* form;
    const char* type;
    const char* part;
  } rows[] = {{"", "application/json", "\"name\": \"a\""},
              {"?form=json", "application/json", "\"name\": \"a\""},
              {"?form=xml", "application/xml", "<filter"},
              {"?form=sieve", "application/sieve", "fileinto \"Work\""}};
  for (const auto& row : rows) {
    const auto response = ask("GET", std::string("/export") + row.form);
    EXPECT_EQ(200, response.status);
    EXPECT_EQ(row.type, header_in(response, "content-type"));
    EXPECT_EQ(0U, header_in(response, "content-disposition").find("attachment; "));
    EXPECT_EQ(tag(), header_in(response, "etag"));
    EXPECT_NE(std::string::npos, response.body.find(row.part)) << row.form;
  }
  EXPECT_EQ("400 form", problem_in(ask("GET", "/export?form=text")));
  EXPECT_EQ("400 form", problem_in(ask("GET", "/export?form=")));
}

TEST_F(ExchangeResource, TakesItsOwnExport) {
  add({"a", "b"});
  const std::string text = ask("GET", "/export").body;
  const auto before = filters();
  ASSERT_EQ(200, change("PUT", "/rules", {{"filters", ordered_json::array()}}).status);
  EXPECT_EQ(200, change("POST", "/import", {{"text", text}}).status)
      << "the form is told by the text";
  EXPECT_EQ(before, filters());
}

TEST_F(ExchangeResource, SaysWhatAnImportWouldDo) {
  add({"a"});
  const std::string document = content_of(document_);
  const auto response =
      ask("POST", "/import?from=sieve&mode=append&dry_run=true", {{"text", lossy_script}});
  EXPECT_EQ(200, response.status) << response.body;
  const auto report = body_of(response)["report"];
  ASSERT_EQ(3U, report.size()) << report;
  EXPECT_EQ("adds", report[0]["change"]);
  EXPECT_EQ(2, report[0]["line"]);
  EXPECT_EQ("loses", report[2]["change"]);
  EXPECT_TRUE(report[2]["id"].is_null());
  EXPECT_EQ(2U, body_of(response)["changes"].size());
  EXPECT_EQ(document, content_of(document_));
  EXPECT_EQ("412", problem_in(ask("POST", "/import?mode=append&dry_run=true&from=sieve",
                                  {{"text", script}}, {{"if-match", "\"0123456789ab\""}})));
}

TEST_F(ExchangeResource, AppendsAndReplaces) {
  add({"a"});
  EXPECT_EQ("409", problem_in(change("POST", "/import?from=sieve", {{"text", script}})));
  EXPECT_EQ("409", problem_in(change("POST", "/import?from=sieve", {{"text", lossy_script}})));
  EXPECT_EQ(1U, filters().size());
  EXPECT_EQ(200, change("POST", "/import?from=sieve&mode=append", {{"text", script}}).status);
  EXPECT_EQ(2U, filters().size());
  const auto response = change("POST", "/import?from=sieve&mode=replace", {{"text", script}});
  EXPECT_EQ(200, response.status);
  EXPECT_EQ(1U, filters().size());
  EXPECT_EQ("removes", body_of(response)["report"][0]["change"]);
}

TEST_F(ExchangeResource, LosesNothingWithoutConsent) {
  const auto refused = change("POST", "/import?from=sieve", {{"text", lossy_script}});
  EXPECT_EQ("422", problem_in(refused));
  EXPECT_EQ("urn:quarrow:problem:lossy-rules", body_of(refused)["type"]);
  EXPECT_EQ(3U, body_of(refused)["report"].size());
  EXPECT_EQ("", names());
  EXPECT_EQ(200,
            change("POST", "/import?from=sieve&accept_loss=true", {{"text", lossy_script}}).status);
  EXPECT_EQ(2U, filters().size());
}

TEST_F(ExchangeResource, NamesTheWrongParameter) {
  const ordered_json text = {{"text", "# nothing"}};
  EXPECT_EQ("400 from", problem_in(change("POST", "/import", text)));
  EXPECT_EQ("400 from", problem_in(change("POST", "/import?from=word", text)));
  EXPECT_EQ("400 mode", problem_in(change("POST", "/import?from=sieve&mode=merge", text)));
  EXPECT_EQ("400 dry_run", problem_in(change("POST", "/import?from=sieve&dry_run=1", text)));
  EXPECT_EQ("400 accept_loss", problem_in(change("POST", "/import?from=sieve&accept_loss=", text)));
  for (const char* body : {"{}", "[]", R"({"text": 1})", R"({"text": "a", "b": 1})"})
    EXPECT_EQ("422 /text", problem_in(change("POST", "/import", ordered_json::parse(body))))
        << body;
}

TEST_F(ExchangeResource, RefusesATextThatIsNotOfTheFormat) {
  for (const char* target : {"/import?from=json", "/import?from=xml", "/import?from=sieve"})
    EXPECT_EQ("422 /text", problem_in(change("POST", target, {{"text", "{{{"}}))) << target;
}

}  // namespace
}  // namespace Quarrow::WebApi
