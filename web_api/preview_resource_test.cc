// Filters tried over the mail that is there.
#include <sys/resource.h>

#include "web_api/mail_test_support.h"

namespace Quarrow::WebApi {
namespace {

// A filter that moves what has `word` in its subject to `target`.
ordered_json moving(const std::string& name, const std::string& word, const std::string& target) {
  ordered_json filter = filter_named(name, word);
  filter["actions"][0]["target"] = target;
  return filter;
}

class PreviewResource : public MailTest {
 protected:
  // On a busy machine, too, an answer is about all messages.
  PreviewResource() { context_.preview.time = std::chrono::minutes(1); }

  void save(const std::vector<ordered_json>& filters) const {
    for (const auto& filter : filters) ASSERT_EQ(201, change("POST", "/rules", filter).status);
  }

  ordered_json preview(const ordered_json& body) const {
    const auto response = ask("POST", "/preview", body);
    EXPECT_EQ(200, response.status) << response.body;
    return body_of(response);
  }
};

TEST_F(PreviewResource, CountsWhatAFilterCatches) {
  put_all({"report 1", "other", "report 2"});
  const std::string before = content_of(document_);
  const auto body = preview({{"filter", moving("a", "report", "Work")}});
  EXPECT_EQ("INBOX", body["folder"]);
  EXPECT_EQ(3, body["total"]);
  EXPECT_EQ(3, body["examined"]);
  EXPECT_EQ(5000, body["limit"]);
  EXPECT_EQ(2, body["caught"]);
  EXPECT_EQ(2, body["changed"]);
  EXPECT_EQ(0, body["failed"]);
  EXPECT_EQ(ordered_json::array(), body["taken_earlier"]);
  EXPECT_EQ(nullptr, body["cursor"]);
  ASSERT_EQ("report 1 report 2", subjects_of(body["examples"]));
  const auto example = body["examples"][0];
  EXPECT_EQ(nullptr, example["taken_by"]);
  EXPECT_EQ(ordered_json(
                {{"kind", "folders"}, {"folders", {"INBOX"}}, {"text", "inbox (no rule matched)"}}),
            example["now"]);
  EXPECT_EQ(ordered_json({{"kind", "folders"}, {"folders", {"Work"}}, {"text", "folder Work"}}),
            example["then"]);
  EXPECT_EQ(before, content_of(document_));
}

TEST_F(PreviewResource, TellsWhatEarlierFiltersTake) {
  save({moving("same", "boss", "Work"), moving("same", "list", "Lists")});
  put_all({"boss report", "list report", "report", "boss"});
  auto body = preview({{"filter", moving("same", "report", "Reports")}});
  EXPECT_EQ(3, body["caught"]);
  EXPECT_EQ(1, body["changed"]);
  EXPECT_EQ(ordered_json({{{"id", 1}, {"name", "same"}, {"count", 1}},
                          {{"id", 2}, {"name", "same"}, {"count", 1}}}),
            body["taken_earlier"]);
  EXPECT_EQ(ordered_json({{"id", 2}, {"name", "same"}}), body["examples"][1]["taken_by"]);
  EXPECT_EQ("Lists", body["examples"][1]["then"]["folders"][0]);
  body = preview({{"filter", moving("same", "report", "Reports")}, {"before", 2}});
  EXPECT_EQ(2, body["changed"]);
  EXPECT_EQ(1U, body["taken_earlier"].size());
  EXPECT_EQ("Lists", body["examples"][1]["now"]["folders"][0]);
  EXPECT_EQ("Reports", body["examples"][1]["then"]["folders"][0]);
}

TEST_F(PreviewResource, CountsWhatAReplacedFilterLetsGo) {
  save({moving("a", "report", "Work"), moving("b", "old", "Old")});
  put_all({"report", "old report", "new", "other"});
  const auto body = preview({{"filter", moving("a", "new", "Work")}, {"id", 1}});
  EXPECT_EQ(1, body["caught"]);
  EXPECT_EQ(3, body["changed"]) << "one comes, and two leave";
  EXPECT_EQ(1U, body["examples"].size());
}

TEST_F(PreviewResource, MovesAFilter) {
  save({moving("a", "x", "A"), moving("b", "y", "B")});
  put_all({"x y", "y", "x"});
  const auto filter = moving("b", "y", "B");
  EXPECT_EQ(0, preview({{"filter", filter}, {"id", 2}})["changed"]) << "it keeps its place";
  const auto body = preview({{"filter", filter}, {"id", 2}, {"before", 1}});
  EXPECT_EQ(2, body["caught"]);
  EXPECT_EQ(1, body["changed"]);
  EXPECT_EQ(ordered_json::array(), body["taken_earlier"]);
}

TEST_F(PreviewResource, LetsADisabledFilterDoNothing) {
  save({moving("a", "report", "Work")});
  put_all({"report", "other"});
  ordered_json filter = moving("a", "report", "Work");
  filter["enabled"] = false;
  const auto switched_off = preview({{"filter", filter}, {"id", 1}});
  EXPECT_EQ(0, switched_off["caught"]);
  EXPECT_EQ(1, switched_off["changed"]) << "what it took comes to the inbox";
  const auto added = preview({{"filter", filter}});
  EXPECT_EQ(0, added["caught"]);
  EXPECT_EQ(0, added["changed"]);
  EXPECT_EQ(2, added["examined"]);
  EXPECT_EQ(nullptr, added["cursor"]);
}

TEST_F(PreviewResource, CountsMessagesThatCantBeRead) {
  put_all({"a"});
  put("new/1777894000.a.mx", "");
  const auto body = preview({{"filter", filter_named("a")}});
  EXPECT_EQ(2, body["examined"]);
  EXPECT_EQ(1, body["failed"]);
  EXPECT_EQ(0, body["caught"]);
}

TEST_F(PreviewResource, AnswersInParts) {
  context_.preview.time = std::chrono::milliseconds(0);  // one message each
  save({moving("first", "3", "Work")});
  put_all({"report 5", "report 4", "report 3", "report 2"});
  ordered_json question = {{"filter", moving("a", "report", "Reports")}};
  auto body = preview(question);
  EXPECT_EQ(1, body["examined"]);
  EXPECT_EQ("report 5", subjects_of(body["examples"]));
  put("new/1777897000.a.mx", mail_about("report 6"));       // comes
  std::filesystem::remove(path("cur/1777896000.a.mx:2,"));  // goes: the last one examined
  std::filesystem::rename(path("cur/1777895999.a.mx:2,"), path("cur/1777895999.a.mx:2,S"));
  for (const char* next : {"report 4", "report 3", "report 2"}) {
    ASSERT_TRUE(body["cursor"].is_string());
    question["cursor"] = body["cursor"];
    body = preview(question);
    EXPECT_EQ(next, subjects_of(body["examples"]));
  }
  EXPECT_EQ(nullptr, body["cursor"]);
  EXPECT_EQ(4, body["examined"]);
  EXPECT_EQ(4, body["caught"]);
  EXPECT_EQ(3, body["changed"]);
  EXPECT_EQ(1, body["taken_earlier"][0]["count"]);
}

TEST_F(PreviewResource, LooksAtTheNewestOnly) {
  context_.preview.messages = 2;
  put_all({"report 3", "report 2", "report 1"});
  const auto body = preview({{"filter", moving("a", "report", "Reports")}});
  EXPECT_EQ(3, body["total"]);
  EXPECT_EQ(2, body["examined"]);
  EXPECT_EQ(2, body["limit"]);
  EXPECT_EQ(nullptr, body["cursor"]);
  EXPECT_EQ("report 3 report 2", subjects_of(body["examples"]));
}

TEST_F(PreviewResource, ShowsTenExamplesAltogether) {
  put_all(std::vector<std::string>(12, "report"));
  const auto filter = moving("a", "report", "Reports");
  EXPECT_EQ(10U, preview({{"filter", filter}})["examples"].size());
  context_.preview.time = std::chrono::milliseconds(0);
  ordered_json question = {{"filter", filter}};
  std::size_t examples = 0;
  for (int answers = 0; answers < 12; ++answers) {
    const auto body = preview(question);
    examples += body["examples"].size();
    question["cursor"] = body["cursor"];
  }
  EXPECT_EQ(10U, examples);
}

TEST_F(PreviewResource, TakesNoOtherCursor) {
  context_.preview.time = std::chrono::milliseconds(0);
  put_all({"a", "b", "c"});
  const ordered_json question = {{"filter", filter_named("a")}};
  const ordered_json cursor = preview(question)["cursor"];
  ordered_json other = question;
  for (const char* text : {"a", "00", "zz"}) {
    other["cursor"] = text;
    EXPECT_EQ("400 /cursor", problem_in(ask("POST", "/preview", other))) << text;
  }
  other = {{"filter", filter_named("a", "other")}, {"cursor", cursor}};
  EXPECT_EQ("409", problem_in(ask("POST", "/preview", other)));
  other = {{"filter", filter_named("a")}, {"cursor", cursor}, {"folder", "Work"}};
  EXPECT_EQ("409", problem_in(ask("POST", "/preview", other)));
  save({filter_named("b")});
  other = {{"filter", filter_named("a")}, {"cursor", cursor}};
  EXPECT_EQ("409", problem_in(ask("POST", "/preview", other))) << "the filters are others now";
}

TEST_F(PreviewResource, TellsAllMistakes) {
  save({filter_named("a")});
  ordered_json filter = filter_named("");
  filter["tests"][0]["comparator"] = "resembles";
  EXPECT_EQ("422 /filter/tests/0/comparator /filter/name /id /before /folder /cursor /other",
            problem_in(ask("POST", "/preview",
                           {{"filter", filter},
                            {"id", "1"},
                            {"before", 0},
                            {"folder", 1},
                            {"cursor", nullptr},
                            {"other", 1}})));
  EXPECT_EQ("422 /filter", problem_in(ask("POST", "/preview", ordered_json::object())));
  EXPECT_EQ("422 /filter", problem_in(ask("POST", "/preview", ordered_json::array())));
  filter = filter_named("b");
  EXPECT_EQ("422 /id", problem_in(ask("POST", "/preview", {{"filter", filter}, {"id", 7}})));
  EXPECT_EQ("422 /before",
            problem_in(ask("POST", "/preview", {{"filter", filter}, {"before", 7}})));
  EXPECT_EQ("404 folder",
            problem_in(ask("POST", "/preview", {{"filter", filter}, {"folder", "None"}})));
}

TEST_F(PreviewResource, RefusesAFilterThatMakesTheScriptTooLong) {
  const std::string word(30000, 'a');
  save({filter_named("a", word)});
  EXPECT_EQ("422 /filter",
            problem_in(ask("POST", "/preview", {{"filter", filter_named("b", word)}})));
}

TEST_F(PreviewResource, KeepsTheServersPriority) {
  put_all({"a"});
  const int before = getpriority(PRIO_PROCESS, 0);
  (void)preview({{"filter", filter_named("a")}});
  EXPECT_EQ(before, getpriority(PRIO_PROCESS, 0));
}

}  // namespace
}  // namespace Quarrow::WebApi
