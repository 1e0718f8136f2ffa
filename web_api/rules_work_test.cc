// Changes that meet other changes, damage and a full disk.
#include "web_api/rules_work.h"

#include <fcntl.h>
#include <sys/file.h>

#include "administration/guarded_process.h"
#include "system/descriptor.h"
#include "web_api/web_api_test_support.h"

namespace Quarrow::WebApi {
namespace {

using Administration::GuardedOutcome;

class RulesWork : public WebApiTest {
 protected:
  // The status of adding a filter under this tag, and with this key.
  Http::Response add_under(const std::string& revision, const std::string& name,
                           const char* key = nullptr) const {
    Http::Headers headers = {{"if-match", revision}};
    if (key) headers.emplace_back("idempotency-key", key);
    return ask("POST", "/rules", filter_named(name), headers);
  }

  // The problem of a change that must leave all files as they are.
  std::string refusal_of_change() const {
    const std::string document = content_of(document_);
    const std::string script = content_of(script_);
    const auto response = add_under(tag_, "new");
    EXPECT_EQ(document, content_of(document_));
    EXPECT_EQ(script, content_of(script_));
    return problem_in(response) + ' ' + body_of(response)["detail"].get<std::string>();
  }

  std::string tag_ = "\"0123456789ab\"";
};

TEST_F(RulesWork, NeedsTheRevision) {
  add({"a"});
  const struct {
    const char* method;
    const char* target;
    ordered_json body;
  } rows[] = {{"POST", "/rules", filter_named("b")},
              {"PUT", "/rules", {{"filters", ordered_json::array()}}},
              {"PUT", "/rules/1", filter_named("b")},
              {"PATCH", "/rules/1", {{"enabled", false}}},
              {"DELETE", "/rules/1", nullptr},
              {"POST", "/rules/1/move", {{"first", true}}},
              {"POST", "/history/undo", nullptr},
              {"POST", "/history/redo", nullptr},
              {"POST", "/history/restore", {{"revision", "a"}}},
              {"POST", "/import?from=json&mode=replace", {{"text", "[]"}}}};
  for (const auto& row : rows) {
    EXPECT_EQ("428", problem_in(ask(row.method, row.target, row.body))) << row.target;
    EXPECT_EQ("400", problem_in(ask(row.method, row.target, row.body, {{"if-match", "*"}})));
    EXPECT_EQ("412", problem_in(ask(row.method, row.target, row.body, {{"if-match", tag_}})));
  }
  EXPECT_EQ("a ", names());
}

TEST_F(RulesWork, OfAnotherRevisionGetsBothVersions) {
  add({"a"});
  const std::string known = tag();
  add({"b"});
  const auto response = add_under(known, "c");
  EXPECT_EQ("412", problem_in(response));
  EXPECT_EQ(tag(), header_in(response, "etag"));
  const auto body = body_of(response);
  EXPECT_EQ(ordered_json::array({"filter 2 \"b\": added"}), body["changes"]);
  EXPECT_EQ(filters(), body["current"]["filters"]);
  EXPECT_EQ('"' + body["current"]["revision"].get<std::string>() + '"', tag());
  EXPECT_EQ("a b ", names());
}

TEST_F(RulesWork, OfAnUnknownRevisionGetsThePresentRules) {
  add({"a"});
  const auto body = body_of(add_under(tag_, "b"));
  EXPECT_EQ(filters(), body["current"]["filters"]);
  EXPECT_FALSE(body.contains("changes"));
}

TEST_F(RulesWork, WithAKeyIsDoneOnce) {
  add({"a"});
  const std::string known = tag();
  const auto first = add_under(known, "b", "key");
  const auto second = add_under(known, "b", "key");
  EXPECT_EQ(201, second.status);
  EXPECT_EQ(first.headers, second.headers);
  EXPECT_EQ(first.body, second.body);
  EXPECT_EQ("a b ", names());
  EXPECT_EQ(412, add_under(known, "b").status) << "without a key";
  EXPECT_EQ(412, add_under(known, "c", "key").status) << "another rule";
  add({"d"});
  EXPECT_EQ(412, add_under(known, "b", "key").status) << "other rules now";
  EXPECT_EQ("a b d ", names());
}

// Each change of the rules 1 and 2, which comes once more when its answer was lost.
TEST_F(RulesWork, WithAKeyIsDoneOnceWhateverItIs) {
  add({"a", "b"});
  const std::string start = tag();
  const std::string revision = start.substr(1, start.size() - 2);
  const ordered_json others = {{"filters", {filter_named("x"), filter_named("y")}}};
  const ordered_json text = {
      {"text", R"([{"id":1,"enabled":true,"name":"i","relation":"allof","tests":[
    {"type":"string","field":"subject","comparator":"is","value":"v","negative":false,
     "match_case":false}],"actions":[{"method":"delete"}]}])"}};
  const struct {
    const char* method;
    const char* target;
    ordered_json body;
  } rows[] = {{"PUT", "/rules/1", filter_named("c")},
              {"PATCH", "/rules/1", {{"enabled", false}}},
              {"DELETE", "/rules/1", nullptr},
              {"POST", "/rules/1/move", {{"last", true}}},
              {"PUT", "/rules", others},
              {"POST", "/import?from=json&mode=append", text},
              {"POST", "/import?from=json&mode=replace", text}};
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.method) + ' ' + row.target);
    const std::string known = tag();
    const Http::Headers headers = {{"if-match", known}, {"idempotency-key", "key"}};
    const auto first = ask(row.method, row.target, row.body, headers);
    ASSERT_EQ(200, first.status) << first.body;
    const auto states = body_of(ask("GET", "/history"))["states"].size();
    const auto second = ask(row.method, row.target, row.body, headers);
    EXPECT_EQ(200, second.status) << second.body;
    EXPECT_EQ(first.headers, second.headers);
    EXPECT_EQ(body_of(first), body_of(second));
    EXPECT_EQ(states, body_of(ask("GET", "/history"))["states"].size());
    EXPECT_EQ(412, ask(row.method, row.target, row.body, {{"if-match", known}}).status);
    add({"other"});
    EXPECT_EQ(412, ask(row.method, row.target, row.body, headers).status) << "other rules now";
    ASSERT_EQ(200, change("POST", "/history/restore", {{"revision", revision}}).status);
  }
}

// An undo that came twice would take back one change more.
TEST_F(RulesWork, WithAKeyIsUndoneAndRedoneOnce) {
  add({"a", "b", "c"});
  const auto repeat = [this](const char* target, const std::string& wanted) {
    SCOPED_TRACE(target);
    const Http::Headers headers = {{"if-match", tag()}, {"idempotency-key", "key"}};
    const auto first = ask("POST", target, nullptr, headers);
    ASSERT_EQ(200, first.status) << first.body;
    const auto second = ask("POST", target, nullptr, headers);
    EXPECT_EQ(200, second.status) << second.body;
    EXPECT_EQ(first.headers, second.headers);
    EXPECT_EQ(first.body, second.body);
    EXPECT_EQ(wanted, names());
  };
  repeat("/history/undo", "a b ");
  repeat("/history/undo", "a ");
  repeat("/history/redo", "a b ");
  repeat("/history/redo", "a b c ");
}

// The rules of If-Match and the present ones would do, but another change led there.
TEST_F(RulesWork, WithAKeyTakesNoOtherChangeForAnUndo) {
  add({"a", "b"});
  const std::string known = tag();
  const Http::Headers headers = {{"if-match", known}, {"idempotency-key", "key"}};
  ASSERT_EQ(200, change("DELETE", "/rules/2").status);
  for (const char* const target : {"/history/undo", "/history/redo"})
    EXPECT_EQ("412", problem_in(ask("POST", target, nullptr, headers))) << target;
}

TEST_F(RulesWork, WithAKeyIsNoUndoTwoStatesLater) {
  add({"a", "b", "c"});
  const Http::Headers headers = {{"if-match", tag()}, {"idempotency-key", "key"}};
  for (int times = 0; times < 2; ++times) ASSERT_EQ(200, change("POST", "/history/undo").status);
  EXPECT_EQ("412", problem_in(ask("POST", "/history/undo", nullptr, headers)));
  EXPECT_EQ("a ", names());
}

TEST_F(RulesWork, WithAKeyIsRestoredOnce) {
  add({"a"});
  const std::string known = tag();
  add({"b"});
  const Http::Headers headers = {{"if-match", tag()}, {"idempotency-key", "key"}};
  const ordered_json body = {{"revision", known.substr(1, known.size() - 2)}};
  const auto first = ask("POST", "/history/restore", body, headers);
  ASSERT_EQ(200, first.status);
  const auto second = ask("POST", "/history/restore", body, headers);
  EXPECT_EQ(200, second.status) << second.body;
  EXPECT_EQ(first.body, second.body);
  EXPECT_EQ("a ", names());
}

TEST_F(RulesWork, LosesNoPartThatCannotBeRead) {
  add({"a"});
  std::string document = content_of(document_);
  const std::size_t test = document.find("<test");
  ASSERT_NE(std::string::npos, test);
  document.insert(test, "<test><comparator>resembles</comparator></test>");
  write_file(document_, document);
  const auto list = ask("GET", "/rules");
  EXPECT_EQ(200, list.status) << "what can be read is shown";
  ASSERT_EQ(1U, body_of(list)["remarks"].size());
  tag_ = header_in(list, "etag");
  EXPECT_EQ("409 can't be read in full, and a change would lose a part of filter 1",
            refusal_of_change());
  EXPECT_EQ("409", problem_in(ask("GET", "/export"))) << "a part would pass for all";
}

TEST_F(RulesWork, RefusesADamagedDocument) {
  add({"a"});
  tag_ = tag();
  for (const char* text : {"", "<filters", "<filters><filter/></filters>"}) {
    write_file(document_, text);
    EXPECT_EQ(0U, refusal_of_change().find("409 damaged filter document: ")) << text;
    EXPECT_EQ("409", problem_in(ask("GET", "/rules"))) << text;
  }
}

TEST_F(RulesWork, ReplacesNoScriptFromElsewhere) {
  add({"a"});
  tag_ = tag();
  write_file(script_, "keep;\n");
  EXPECT_EQ("409 was not made from filters, and a change would replace it", refusal_of_change());
}

TEST_F(RulesWork, WaitsNoLongerThanItsPatience) {
  add({"a"});
  tag_ = tag();
  context_.patience = std::chrono::milliseconds(0);
  const Descriptor folder(open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  ASSERT_EQ(0, flock(folder.get(), LOCK_EX));
  const auto response = add_under(tag_, "b");
  EXPECT_EQ("503", problem_in(response));
  EXPECT_EQ("2", header_in(response, "retry-after"));
  ASSERT_EQ(0, flock(folder.get(), LOCK_UN));
  EXPECT_EQ("a ", names());
}

TEST_F(RulesWork, LeavesTheRulesAsTheyAreOnAFullDisk) {
  add({"a"});
  tag_ = tag();
  const auto outcome = Administration::run_guarded("child", [this]() -> GuardedOutcome {
    // room for the script in memory, and not for a longer history
    Administration::limit_file_size(content_of(folder_ + "/.delivery_filter.history").size());
    return {{}, problem_in(add_under(tag_, "b"))};
  });
  EXPECT_EQ("507", outcome.answer);
  EXPECT_EQ("a ", names());
}

}  // namespace
}  // namespace Quarrow::WebApi
