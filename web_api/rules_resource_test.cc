// Rules looked at, added, changed, moved and removed.
#include "web_api/web_api_test_support.h"

namespace Quarrow::WebApi {
namespace {

using RulesResource = WebApiTest;

TEST_F(RulesResource, IsAnEmptyListAtFirst) {
  const auto response = ask("GET", "/rules");
  EXPECT_EQ(200, response.status);
  EXPECT_EQ("application/json", header_in(response, "content-type"));
  const auto body = body_of(response);
  EXPECT_EQ('"' + body["revision"].get<std::string>() + '"', header_in(response, "etag"));
  EXPECT_EQ(ordered_json::array(), body["filters"]);
  EXPECT_EQ(ordered_json::array(), body["remarks"]);
  EXPECT_EQ(32768, body["script"]["most_bytes"]);
}

TEST_F(RulesResource, ShowsARuleWithItsSentence) {
  const auto response = change("POST", "/rules", filter_named("Reports", "quarterly"));
  EXPECT_EQ(201, response.status);
  EXPECT_EQ("/api/v1/rules/1", header_in(response, "location"));
  EXPECT_EQ(header_in(response, "etag"), tag());
  EXPECT_EQ(ordered_json::array({"filter 1 \"Reports\": added"}), body_of(response)["changes"]);
  ordered_json wanted = {{"id", 1}};
  wanted.update(filter_named("Reports", "quarterly"));
  wanted["sentence"] = "When subject contains \"quarterly\": move to Work";
  wanted["warnings"] = ordered_json::array();
  EXPECT_EQ(wanted, filters()[0]);
  const auto one = ask("GET", "/rules/1");
  EXPECT_EQ(wanted, body_of(one));
  EXPECT_EQ(tag(), header_in(one, "etag"));
}

TEST_F(RulesResource, StaysAsItIsWhileTheUserIsMoved) {
  add({"a"});
  write_file(folder_ + "/.quarrow_lock", "");
  const auto response = change("POST", "/rules", filter_named("b"));
  EXPECT_EQ(503, response.status);
  EXPECT_EQ("urn:quarrow:problem:being-moved", body_of(response)["type"]);
  EXPECT_EQ(
      "nothing was changed, since the user is being moved to another machine; try again later",
      body_of(response)["detail"]);
  EXPECT_EQ("a ", names());
}

TEST_F(RulesResource, CountsTheBytesOfTheScript) {
  add({"a", "b"});
  ASSERT_EQ(200, change("PATCH", "/rules/2", {{"enabled", false}}).status);
  const std::size_t enabled = content_of(script_).size();
  const std::size_t all = body_of(ask("GET", "/rules"))["script"]["bytes"];
  EXPECT_LT(enabled, all) << "a disabled filter counts, too";
  ASSERT_EQ(200, change("PATCH", "/rules/2", {{"enabled", true}}).status);
  EXPECT_EQ(content_of(script_).size(), all);
}

TEST_F(RulesResource, HasAnItemForEachNumber) {
  add({"a"});
  for (const char* target : {"/rules/0", "/rules/2", "/rules/-1", "/rules/a", "/rules/1a",
                             "/rules/%31%20", "/rules/99999999999999999999"}) {
    EXPECT_EQ("404", problem_in(ask("GET", target))) << target;
    EXPECT_EQ("404", problem_in(change("DELETE", target))) << target;
  }
}

TEST_F(RulesResource, AddsARuleBeforeAnother) {
  add({"a", "b"});
  ordered_json filter = filter_named("c");
  filter["before"] = 2;
  EXPECT_EQ("/api/v1/rules/3", header_in(change("POST", "/rules", filter), "location"));
  EXPECT_EQ("a c b ", names());
  filter["before"] = 9;
  EXPECT_EQ("422 /before", problem_in(change("POST", "/rules", filter)));
  for (const ordered_json& wrong : {ordered_json("a"), ordered_json(0), ordered_json(1.5),
                                    ordered_json(4294967297), ordered_json(nullptr)}) {
    filter["before"] = wrong;
    EXPECT_EQ("422 /before", problem_in(change("POST", "/rules", filter))) << wrong;
  }
  EXPECT_EQ("a c b ", names());
}

TEST_F(RulesResource, GivesTheNumberOfANewRule) {
  ordered_json filter = filter_named("a");
  filter["id"] = 5;
  EXPECT_EQ("422 /id", problem_in(change("POST", "/rules", filter)));
}

TEST_F(RulesResource, RefusesARuleWithAllItsMistakes) {
  ordered_json filter = filter_named("");
  filter["tests"][0]["value"] = "a\"b";
  EXPECT_EQ("422 /tests/0/value /name", problem_in(change("POST", "/rules", filter)));
  EXPECT_EQ("", names());
}

TEST_F(RulesResource, PutsARuleInPlaceOfAnother) {
  add({"a", "b", "c"});
  ordered_json shown = body_of(ask("GET", "/rules/2"));
  shown["name"] = "B";
  shown["relation"] = "anyof";
  shown["tests"][0]["value"] = "other";
  EXPECT_EQ(200, change("PUT", "/rules/2", shown).status) << "what was shown can be sent back";
  EXPECT_EQ("a B c ", names()) << "the place stays";
  EXPECT_EQ("anyof", filters()[1]["relation"]);
  EXPECT_EQ("other", filters()[1]["tests"][0]["value"]);
  EXPECT_EQ(2, filters()[1]["id"]);
  shown["id"] = 3;
  EXPECT_EQ("422 /id", problem_in(change("PUT", "/rules/2", shown)));
  EXPECT_EQ("404", problem_in(change("PUT", "/rules/9", filter_named("x"))));
}

TEST_F(RulesResource, SwitchesARule) {
  add({"a"});
  EXPECT_EQ(200, change("PATCH", "/rules/1", {{"enabled", false}}).status);
  EXPECT_EQ(false, filters()[0]["enabled"]);
  EXPECT_EQ(200, change("PATCH", "/rules/1", {{"enabled", true}}).status);
  EXPECT_EQ(true, filters()[0]["enabled"]);
  for (const char* body : {"{}", "[]", R"({"enabled": 1})", R"({"enabled": true, "name": "b"})"})
    EXPECT_EQ("422 /enabled", problem_in(change("PATCH", "/rules/1", ordered_json::parse(body))));
}

TEST_F(RulesResource, MovesARule) {
  add({"a", "b", "c", "d"});
  const struct {
    const char* target;
    const char* body;
    const char* names;
  } rows[] = {{"/rules/4/move", R"({"first": true})", "d a b c "},
              {"/rules/4/move", R"({"last": true})", "a b c d "},
              {"/rules/4/move", R"({"before": 2})", "a d b c "},
              {"/rules/4/move", R"({"after": 3})", "a b c d "},
              {"/rules/4/move", R"({"after": 4})", "a b c d "}};
  for (const auto& row : rows) {
    EXPECT_EQ(200, change("POST", row.target, ordered_json::parse(row.body)).status) << row.body;
    EXPECT_EQ(row.names, names()) << row.body;
  }
  for (const char* body : {"{}", "[]", "[1]", R"({"first": false})", R"({"before": "a"})",
                           R"({"up": 1})", R"({"before": 1, "first": true})", R"({"first": 1})"})
    EXPECT_EQ("422 ", problem_in(change("POST", "/rules/4/move", ordered_json::parse(body))))
        << body;
  EXPECT_EQ("422 /before", problem_in(change("POST", "/rules/4/move", {{"before", 9}})));
  EXPECT_EQ("422 /after", problem_in(change("POST", "/rules/4/move", {{"after", 9}})));
  EXPECT_EQ("404", problem_in(change("POST", "/rules/9/move", {{"first", true}})));
  EXPECT_EQ("a b c d ", names());
}

TEST_F(RulesResource, RemovesARule) {
  add({"a", "b"});
  EXPECT_EQ(200, change("DELETE", "/rules/1").status);
  EXPECT_EQ("b ", names());
  EXPECT_EQ("404", problem_in(change("DELETE", "/rules/1")));
}

TEST_F(RulesResource, ReplacesTheWholeList) {
  add({"a", "b"});
  ordered_json list = body_of(ask("GET", "/rules"));
  std::swap(list["filters"][0], list["filters"][1]);
  list["filters"].push_back(filter_named("c"));
  EXPECT_EQ(200, change("PUT", "/rules", list).status) << "what was shown can be sent back";
  EXPECT_EQ("b a c ", names());
  EXPECT_EQ(3, filters()[2]["id"]) << "a new filter gets a number of its own";
  EXPECT_EQ(200, change("PUT", "/rules", {{"filters", ordered_json::array()}}).status);
  EXPECT_EQ("", names());
}

TEST_F(RulesResource, RefusesAListWithAMistake) {
  add({"a"});
  ordered_json twins = {filters()[0], filters()[0]};
  EXPECT_EQ("422 /filters/1/id", problem_in(change("PUT", "/rules", {{"filters", twins}})));
  twins[1]["actions"][0]["target"] = "";
  EXPECT_EQ("422 /filters/1/actions/0/target",
            problem_in(change("PUT", "/rules", {{"filters", twins}})));
  EXPECT_EQ("422 /filters", problem_in(change("PUT", "/rules", {{"filters", 1}})));
  EXPECT_EQ("422 /filters", problem_in(change("PUT", "/rules", ordered_json::array())));
  EXPECT_EQ("422 /rules",
            problem_in(
                change("PUT", "/rules", {{"filters", ordered_json::array()}, {"rules", nullptr}})));
  EXPECT_EQ("a ", names());
}

TEST_F(RulesResource, HoldsAsManyRulesAsAUserMayHave) {
  ordered_json list = ordered_json::array();
  while (list.size() < MessageFilters::UserMessageFilters__::max_filters())
    list.push_back(filter_named("a" + std::to_string(list.size())));
  EXPECT_EQ(200, change("PUT", "/rules", {{"filters", list}}).status);
  EXPECT_EQ("409", problem_in(change("POST", "/rules", filter_named("b"))));
  list.push_back(filter_named("b"));
  EXPECT_EQ("409", problem_in(change("PUT", "/rules", {{"filters", list}})));
}

TEST_F(RulesResource, RefusesMoreThanAScriptHolds) {
  ordered_json list = ordered_json::array({filter_named("a", std::string(20000, 'x'))});
  list.push_back(filter_named("b", std::string(20000, 'y')));
  const auto response = change("PUT", "/rules", {{"filters", list}});
  EXPECT_EQ("422", problem_in(response));
  EXPECT_EQ("urn:quarrow:problem:script-too-long", body_of(response)["type"]);
  EXPECT_EQ("", names());
}

TEST_F(RulesResource, WarnsOfRulesThatDoNotDoWhatTheySay) {
  std::filesystem::create_directories(folder_ + "/Maildir/.Wrok");
  add({"a", "b"});
  const auto warnings = filters()[1]["warnings"];
  ASSERT_EQ(2U, warnings.size()) << warnings;
  EXPECT_EQ("shadowed", warnings[0]["kind"]);
  EXPECT_EQ(ordered_json::array({1}), warnings[0]["earlier"]);
  EXPECT_EQ("missing_folder", warnings[1]["kind"]);
  EXPECT_EQ("the folder Work does not exist yet; it is made at delivery; did you mean Wrok?",
            warnings[1]["detail"]);
}

}  // namespace
}  // namespace Quarrow::WebApi
