// States shown, and taken up again.
#include "web_api/web_api_test_support.h"

namespace Quarrow::WebApi {
namespace {

class HistoryResource : public WebApiTest {
 protected:
  std::string revision() const { return tag().substr(1, 12); }

  ordered_json states() const { return body_of(ask("GET", "/history"))["states"]; }
};

TEST_F(HistoryResource, TellsWhoChangedWhat) {
  add({"a", "b"});
  const auto all = states();
  ASSERT_EQ(3U, all.size());
  EXPECT_EQ("alice@example.org", all[0]["who"]);
  EXPECT_EQ("change", all[0]["how"]);
  EXPECT_EQ(revision(), all[0]["revision"]);
  EXPECT_EQ(ordered_json::array({"filter 2 \"b\": added"}), all[0]["changes"]);
  EXPECT_EQ("found", all[2]["how"]);
  EXPECT_TRUE(all[2]["time"].is_null());
}

TEST_F(HistoryResource, IsKeptByEveryChange) {
  add({"a", "b"});
  const auto expect_state = [this](const Http::Response& response, const char* how) {
    EXPECT_EQ(200, response.status) << response.body;
    EXPECT_EQ(how, states()[0]["how"]) << response.body;
    EXPECT_EQ("alice@example.org", states()[0]["who"]);
    EXPECT_EQ(body_of(response)["changes"], states()[0]["changes"]);
  };
  expect_state(change("PUT", "/rules/1", filter_named("A")), "change");
  expect_state(change("PATCH", "/rules/1", {{"enabled", false}}), "change");
  expect_state(change("POST", "/rules/1/move", {{"last", true}}), "change");
  expect_state(change("DELETE", "/rules/2"), "change");
  expect_state(change("POST", "/history/undo"), "undo");
  expect_state(change("POST", "/history/redo"), "redo");
  expect_state(change("POST", "/import?from=json&mode=replace", {{"text", "[]"}}), "change");
  expect_state(change("POST", "/history/restore", {{"revision", states()[2]["revision"]}}),
               "restore");
  EXPECT_EQ(11U, states().size()) << "two were added, and one state was there";
}

TEST_F(HistoryResource, ShowsAStateAndWhatBecameOfIt) {
  add({"a"});
  const std::string first = revision();
  add({"b"});
  ASSERT_EQ(200, change("DELETE", "/rules/1").status);
  const auto response = ask("GET", "/history/" + first);
  EXPECT_EQ(200, response.status);
  const auto body = body_of(response);
  EXPECT_EQ(first, body["revision"]);
  EXPECT_EQ("a", body["filters"][0]["name"]);
  EXPECT_EQ("When subject contains \"word\": move to Work", body["filters"][0]["sentence"]);
  EXPECT_EQ(ordered_json({"filter 1 \"a\": removed", "filter 2 \"b\": added"}),
            body["changes_since"]);
  EXPECT_EQ("404", problem_in(ask("GET", "/history/0123456789ab")));
}

TEST_F(HistoryResource, TakesChangesBack) {
  add({"a", "b"});
  EXPECT_EQ(ordered_json::array({"filter 2 \"b\": removed"}),
            body_of(change("POST", "/history/undo"))["changes"]);
  EXPECT_EQ("a ", names());
  EXPECT_EQ(200, change("POST", "/history/redo").status);
  EXPECT_EQ("a b ", names());
  EXPECT_EQ("409", problem_in(change("POST", "/history/redo")));
}

TEST_F(HistoryResource, HasNothingToUndoAtFirst) {
  EXPECT_EQ("409", problem_in(change("POST", "/history/undo")));
}

TEST_F(HistoryResource, RestoresAState) {
  add({"a"});
  const std::string first = revision();
  add({"b", "c"});
  EXPECT_EQ(200, change("POST", "/history/restore", {{"revision", first}}).status);
  EXPECT_EQ("a ", names());
  EXPECT_EQ("404", problem_in(change("POST", "/history/restore", {{"revision", "none"}})));
  for (const char* body : {"{}", "[]", R"({"revision": 1})", R"({"revision": "a", "b": 1})"})
    EXPECT_EQ("422 /revision",
              problem_in(change("POST", "/history/restore", ordered_json::parse(body))))
        << body;
}

TEST_F(HistoryResource, TellsWhereItIsDamaged) {
  add({"a", "b"});
  const std::string history = folder_ + "/.delivery_filter.history";
  write_file(history, content_of(history).substr(0, 300));
  const auto response = ask("GET", "/history");
  EXPECT_EQ(200, response.status);
  ASSERT_EQ(1U, body_of(response)["remarks"].size()) << response.body;
  EXPECT_EQ(0U, body_of(response)["remarks"][0].get<std::string>().find("damaged history"));
  const auto change_of_rest = change("DELETE", "/rules/1");
  EXPECT_EQ(200, change_of_rest.status);
  EXPECT_EQ(1U, body_of(change_of_rest)["remarks"].size()) << "what is lost is told";
}

}  // namespace
}  // namespace Quarrow::WebApi
