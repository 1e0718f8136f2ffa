// Rules applied to mail by requests.
#include <fcntl.h>

#include <filesystem>

#include "administration/user_folder.h"
#include "refiling/journal.h"
#include "refiling/refiling_files.h"
#include "system/descriptor.h"
#include "web_api/web_api_test_support.h"

namespace Quarrow::WebApi {
namespace {

namespace fs = std::filesystem;

class ApplicationResource : public WebApiTest {
 protected:
  ApplicationResource() {
    for (const char* const part : {"cur", "new", "tmp"})
      fs::create_directories(folder_ + "/Maildir/" + part);
    put("cur/1700000000.a.mx:2,S", "Subject: a word\n\nx\n");
    put("cur/1700000100.b.mx:2,", "Subject: a word\n\nx\n");
    put("new/1700000200.c.mx", "Subject: other\n\nx\n");
    add({"Words"});
  }

  void put(const std::string& name, const std::string& text) const {
    write_file(folder_ + "/Maildir/" + name, text);
  }

  bool has(const std::string& name) const { return fs::exists(folder_ + "/Maildir/" + name); }

  // Waits until nobody works on the mail.
  void await_end() const {
    const Descriptor file(
        open((folder_ + '/' + Refiling::work_lock_name).c_str(), O_RDWR | O_CLOEXEC));
    struct flock lock {};
    lock.l_type = F_WRLCK;
    ASSERT_EQ(0, fcntl(file.get(), F_OFD_SETLKW, &lock));
  }

  ordered_json state() const {
    const auto response = ask("GET", "/application");
    EXPECT_EQ(200, response.status) << response.body;
    return body_of(response);
  }

  // The state after the work that is asked for.
  ordered_json done(const std::string& target, const ordered_json& body = nullptr) const {
    const auto response = change("POST", target, body);
    EXPECT_EQ(202, response.status) << response.body;
    await_end();
    return state();
  }

  ordered_json counts_of(const ordered_json& state) const { return state["counts"]; }

  const ordered_json all_ = ordered_json::object();
};

TEST_F(ApplicationResource, IsNoneAtFirst) {
  const ordered_json state = this->state();
  EXPECT_EQ("none", state["state"]);
  EXPECT_EQ(false, state["undoable"]);
  EXPECT_EQ(nullptr, state["ended"]);
}

TEST_F(ApplicationResource, PlansFilesAndUndoes) {
  const ordered_json counts = {
      {{"rule", ""}, {"fate", "no_rule"}, {"folder", ""}, {"count", 1}},
      {{"rule", "Words"}, {"fate", "move"}, {"folder", "Work"}, {"count", 2}}};
  const ordered_json plan = done("/application/plan", all_);
  EXPECT_EQ("planned", plan["state"]);
  EXPECT_EQ(counts, plan["counts"]);
  EXPECT_EQ(3, plan["total"]);
  EXPECT_EQ(false, plan["undoable"]);
  EXPECT_TRUE(has("cur/1700000000.a.mx:2,S"));

  const ordered_json filed = done("/application", {{"folder", "INBOX"}});
  EXPECT_EQ("filed", filed["state"]);
  EXPECT_EQ(counts, filed["counts"]);
  EXPECT_EQ(true, filed["undoable"]);
  EXPECT_EQ('"' + filed["revision"].get<std::string>() + '"', tag());
  EXPECT_TRUE(has(".Work/cur/1700000000.a.mx:2,S"));
  EXPECT_TRUE(has("new/1700000200.c.mx"));

  const ordered_json undone = done("/application/undo");
  EXPECT_EQ("undone", undone["state"]);
  EXPECT_EQ(2, undone["done"]);
  EXPECT_EQ(false, undone["undoable"]);
  EXPECT_TRUE(has("cur/1700000000.a.mx:2,S"));
  EXPECT_EQ("409", problem_in(ask("POST", "/application/undo")));
}

TEST_F(ApplicationResource, TakesOneRuleOrATime) {
  ASSERT_EQ(201, change("POST", "/rules", filter_named("Others", "other")).status);
  const ordered_json one = done("/application/plan", {{"rule", 2}});
  EXPECT_EQ("Others", one["rule"]);
  EXPECT_EQ(ordered_json::array(
                {{{"rule", "Others"}, {"fate", "move"}, {"folder", "Work"}, {"count", 1}}}),
            one["counts"]);
  EXPECT_EQ(1, done("/application/plan", {{"since", 1700000200}})["total"]);
}

TEST_F(ApplicationResource, UsesTheRulesOfTheRevision) {
  const std::string known = tag();
  ASSERT_EQ(200, change("PATCH", "/rules/1", {{"enabled", false}}).status);
  EXPECT_EQ("428", problem_in(ask("POST", "/application", all_)));
  for (const char* const target : {"/application", "/application/plan"}) {
    const auto response = ask("POST", target, all_, {{"if-match", known}});
    EXPECT_EQ("412", problem_in(response)) << target;
    EXPECT_EQ(filters(), body_of(response)["current"]["filters"]);
  }
  EXPECT_EQ("none", state()["state"]);
  EXPECT_EQ(202, ask("POST", "/application/plan", all_).status);
  await_end();
  EXPECT_EQ('"' + state()["revision"].get<std::string>() + '"', tag());
}

TEST_F(ApplicationResource, RefusesWhatItCannotDo) {
  ASSERT_EQ(201, change("POST", "/rules", filter_named("Words")).status);
  ASSERT_EQ(201, change("POST", "/rules", filter_named("Off")).status);
  ASSERT_EQ(200, change("PATCH", "/rules/3", {{"enabled", false}}).status);
  const struct {
    ordered_json body;
    const char* problem;
  } rows[] = {{ordered_json::array(), "422 "},
              {{{"other", 1}}, "422 /other"},
              {{{"folder", 1}}, "422 /folder"},
              {{{"folder", "a//b"}}, "422 /folder"},
              {{{"folder", "None"}}, "422 /folder"},
              {{{"discard_to", "../x"}}, "422 /discard_to"},
              {{{"since", -1}}, "422 /since"},
              {{{"since", 1e30}}, "422 /since"},
              {{{"since", 18446744073709551615ULL}}, "422 /since"},
              {{{"since", "now"}}, "422 /since"},
              {{{"rule", 0}}, "422 /rule"},
              {{{"rule", "Words"}}, "422 /rule"},
              {{{"rule", 4294967297}}, "422 /rule"},
              {{{"rule", 9}}, "422 /rule"},
              {{{"rule", 1}}, "422 /rule"},  // 2 has its name, too
              {{{"rule", 3}}, "422 /rule"},  // disabled
              {{{"rule", nullptr}}, "422 /rule"}};
  for (const auto& row : rows)
    for (const char* const target : {"/application", "/application/plan"})
      EXPECT_EQ(row.problem, problem_in(change("POST", target, row.body))) << row.body;
  EXPECT_EQ("none", state()["state"]);
}

TEST_F(ApplicationResource, NeedsAScript) {
  fs::remove(script_);
  fs::remove(document_);
  EXPECT_EQ("422 ", problem_in(change("POST", "/application", all_)));
  write_file(script_, "if {");
  EXPECT_EQ("failed", done("/application/plan", all_)["state"]);
  EXPECT_EQ("the rules can't be run", state()["reason"]);
}

TEST_F(ApplicationResource, IsOneAtATime) {
  Administration::UserFolder folder(folder_);
  EXPECT_EQ("", said(folder.open()));
  Refiling::RefilingFiles files(folder);
  EXPECT_EQ("", said(files.lock()));
  Refiling::RefilingState going_on;
  going_on.stage = Refiling::Stage::filing;
  EXPECT_EQ("", said(files.write(going_on)));
  for (const char* const target : {"/application", "/application/plan", "/application/undo"}) {
    const bool is_undo = std::string(target) == "/application/undo";
    const auto response = change("POST", target, is_undo ? nullptr : all_);
    EXPECT_EQ("409", problem_in(response)) << target;
    EXPECT_EQ("filing", body_of(response)["application"]["state"]);
    EXPECT_EQ(false, body_of(response)["application"]["undoable"]);
  }
  EXPECT_EQ("filing", state()["state"]);
}

TEST_F(ApplicationResource, LeavesMailToQuarrowApply) {
  Refiling::Journal journal;
  EXPECT_EQ("", said(journal.open(folder_)));
  const auto response = change("POST", "/application", all_);
  EXPECT_EQ("409", problem_in(response));
  EXPECT_EQ("none", body_of(response)["application"]["state"]);
}

TEST_F(ApplicationResource, IsAskedToStopWhileItGoesOn) {
  EXPECT_EQ(202, ask("POST", "/application/stop").status);
  EXPECT_FALSE(fs::exists(folder_ + '/' + Refiling::stop_name));
  Administration::UserFolder folder(folder_);
  EXPECT_EQ("", said(folder.open()));
  Refiling::RefilingFiles files(folder);
  EXPECT_EQ("", said(files.lock()));
  Refiling::RefilingState going_on;
  going_on.stage = Refiling::Stage::planning;
  EXPECT_EQ("", said(files.write(going_on)));
  const auto response = ask("POST", "/application/stop");
  EXPECT_EQ(202, response.status);
  EXPECT_EQ("planning", body_of(response)["state"]);
  EXPECT_TRUE(files.is_asked_to_stop());
}

TEST_F(ApplicationResource, WithAKeyIsDoneOnce) {
  const Http::Headers once = {{"if-match", tag()}, {"idempotency-key", "k1"}};
  const Http::Headers twice = {{"if-match", tag()}, {"idempotency-key", "k2"}};
  ASSERT_EQ(202, ask("POST", "/application", all_, once).status);
  await_end();
  const ordered_json state = this->state();
  EXPECT_FALSE(state.contains("key"));
  ASSERT_EQ(200, change("PATCH", "/rules/1", {{"enabled", false}}).status);
  const auto response = ask("POST", "/application", all_, once);
  EXPECT_EQ(202, response.status) << "also with other rules";
  EXPECT_EQ(state, body_of(response));
  EXPECT_EQ(412, ask("POST", "/application", all_, twice).status);

  ASSERT_EQ(202, ask("POST", "/application/undo", nullptr, {{"idempotency-key", "k3"}}).status);
  await_end();
  EXPECT_EQ(202, ask("POST", "/application/undo", nullptr, {{"idempotency-key", "k3"}}).status);
  EXPECT_EQ("undone", this->state()["state"]);
  EXPECT_EQ(400, ask("POST", "/application", all_, {{"idempotency-key", ""}}).status);
  EXPECT_EQ(400,
            ask("POST", "/application", all_, {{"idempotency-key", std::string(256, 'k')}}).status);
}

}  // namespace
}  // namespace Quarrow::WebApi
