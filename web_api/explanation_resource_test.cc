// Messages explained.
#include "delivery/delivery_journal.h"
#include "web_api/mail_test_support.h"

namespace Quarrow::WebApi {
namespace {

class ExplanationResource : public MailTest {
 protected:
  ExplanationResource() { put("cur/1777896000.a.mx:2,S", mail_about("report")); }

  ordered_json explained() const {
    const auto response = ask("GET", "/messages/" + id() + "/explanation");
    EXPECT_EQ(200, response.status) << response.body;
    return body_of(response);
  }

  std::string id() const { return listed()["messages"][0]["id"]; }
};

TEST_F(ExplanationResource, TellsEachRuleAndTest) {
  ordered_json two = filter_named("b", "report");
  two["tests"].push_back(two["tests"][0]);
  two["tests"][1]["field"] = "from";
  two["tests"][1]["value"] = "bob";
  ordered_json off = filter_named("off");
  off["enabled"] = false;
  for (const auto& filter : {filter_named("a", "other"), off, two, filter_named("d")})
    ASSERT_EQ(201, change("POST", "/rules", filter).status);
  const auto body = explained();
  EXPECT_EQ("report", body["message"]["subject"]);
  EXPECT_EQ(3, body["decided_by"]);
  EXPECT_EQ("folder Work", body["place"]["text"]);
  EXPECT_EQ(true, body["agrees"]);
  ASSERT_EQ(3U, body["rules"].size()) << "up to the one that decides";
  EXPECT_EQ("does_not_match", body["rules"][0]["result"]);
  EXPECT_EQ("disabled", body["rules"][1]["result"]);
  const auto rule = body["rules"][2];
  EXPECT_EQ(3, rule["id"]);
  EXPECT_EQ("b", rule["name"]);
  EXPECT_EQ("allof", rule["relation"]);
  EXPECT_EQ("matches", rule["result"]);
  EXPECT_EQ("", rule["reason"]);
  ASSERT_EQ(2U, rule["tests"].size());
  EXPECT_EQ(two["tests"][1], rule["tests"][1]["test"]) << "as in a filter";
  EXPECT_EQ("subject contains \"report\"", rule["tests"][0]["sentence"]);
  EXPECT_EQ("holds", rule["tests"][0]["result"]);
  EXPECT_EQ(ordered_json::array({ordered_json{{"field", "subject"}, {"value", "report"}}}),
            rule["tests"][0]["values"]);
  EXPECT_EQ("does_not_hold", body["rules"][0]["tests"][0]["result"]);
}

TEST_F(ExplanationResource, NeedsNoRules) {
  const auto body = explained();
  EXPECT_EQ(nullptr, body["decided_by"]);
  EXPECT_EQ(true, body["agrees"]);
  EXPECT_EQ("folders", body["place"]["kind"]);
  EXPECT_EQ(ordered_json({"INBOX"}), body["place"]["folders"]);
  EXPECT_EQ("inbox (there are no rules)", body["place"]["text"]);
  EXPECT_EQ(ordered_json::array(), body["rules"]);
}

TEST_F(ExplanationResource, TellsAScriptThatIsNotOfTheseRules) {
  add({"a"});
  write_file(script_, "require \"fileinto\";\nfileinto \"Other\";\n");
  auto body = explained();
  EXPECT_EQ(false, body["agrees"]);
  EXPECT_EQ(ordered_json({"Other"}), body["place"]["folders"]) << "what delivery does";
  EXPECT_EQ(nullptr, body["decided_by"]);
  std::filesystem::remove(script_);
  body = explained();
  EXPECT_EQ(false, body["agrees"]) << "the script is gone";
}

TEST_F(ExplanationResource, TellsWhatTheJournalHolds) {
  add({"a"});
  Delivery::JournalRecord record;
  record.time = std::time(nullptr) - 100;
  record.message_id = "<report@example.org>";
  record.rule = "a";
  record.folders = {"Work"};
  record.status = Delivery::Report::Status::delivered;
  record.revision = tag().substr(1, 12);
  ASSERT_EQ("", Delivery::append_to_journal(folder_, record));
  record.message_id = "<other@example.org>";
  ASSERT_EQ("", Delivery::append_to_journal(folder_, record));
  record.message_id = "<report@example.org>";
  record.rule = "";
  record.revision = "";
  record.folders = {"Inbox"};
  ASSERT_EQ("", Delivery::append_to_journal(folder_, record));
  const auto body = explained();
  ASSERT_EQ(2U, body["deliveries"].size());
  EXPECT_EQ(
      ordered_json(
          {{"time", record.time}, {"rule", "a"}, {"place", "folder Work"}, {"other_rules", false}}),
      body["deliveries"][0]);
  EXPECT_EQ(nullptr, body["deliveries"][1]["rule"]);
  EXPECT_EQ(true, body["deliveries"][1]["other_rules"]);
  EXPECT_EQ(ordered_json::array(), body["remarks"]);
}

TEST_F(ExplanationResource, RemarksOnAJournalThatCantBeRead) {
  std::filesystem::create_directory(folder_ + "/.delivery_journal");
  const auto body = explained();
  EXPECT_EQ(ordered_json::array(), body["deliveries"]);
  EXPECT_EQ(ordered_json::array({"the journal of deliveries can't be read: Is a directory"}),
            body["remarks"]);
}

TEST_F(ExplanationResource, NeedsTheMessage) {
  const std::string gone = id();
  std::filesystem::remove(path("cur/1777896000.a.mx:2,S"));
  EXPECT_EQ("404", problem_in(ask("GET", "/messages/" + gone + "/explanation")));
  EXPECT_EQ("404", problem_in(ask("GET", "/messages/x/explanation")));
  EXPECT_EQ("404 folder", problem_in(ask("GET", "/messages/" + gone + "/explanation?folder=No")));
  put("cur/1777896000.a.mx:2,S", "");
  EXPECT_EQ("500", problem_in(ask("GET", "/messages/" + gone + "/explanation")));
}

}  // namespace
}  // namespace Quarrow::WebApi
