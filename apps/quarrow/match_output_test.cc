// Results as they are printed.
#include "apps/quarrow/match_output.h"

#include <gtest/gtest.h>

#include <string>

namespace Quarrow::Command {
namespace {

SieveMatchResult filed(const std::string& folder) {
  SieveAction action;
  action.type = SieveAction::FILEINTO;
  action.mailbox(folder);
  SieveMatchResult result;
  result.add_action(action);
  return result;
}

Delivery::Evaluation evaluated(const SieveMatchResult& result, const std::string& rule = "") {
  Delivery::Evaluation evaluation;
  evaluation.outcome = Delivery::Evaluation::Outcome::done;
  evaluation.result = result;
  evaluation.rule = rule;
  return evaluation;
}

TEST(ResultLine, PutsATabBetweenNameAndResult) {
  EXPECT_EQ("a.eml\tfolder Work", result_line("a.eml", evaluated(filed("Work"))));
  EXPECT_EQ("a.eml\tkept", result_line("a.eml", evaluated({})));
}

TEST(ResultLine, NamesEachPlaceOnce) {
  SieveMatchResult result = filed("Work");
  for (const auto type : {SieveAction::KEEP, SieveAction::FILEINTO, SieveAction::DISCARD,
                          SieveAction::REJECT, SieveAction::KEEP}) {
    SieveAction action;
    action.type = type;
    action.mailbox("Work");
    result.add_action(action);
  }
  EXPECT_EQ("a\tdiscarded, rejected, folder Work, kept", result_line("a", evaluated(result)));
}

TEST(ResultLine, ShowsFoldersAsPeopleReadThem) {
  EXPECT_EQ(
      "a\tfolder Gr\xC3\xB6\xC3\x9F"
      "e",
      result_line("a", evaluated(filed("Gr&APYA3w-e"))));
  EXPECT_EQ("a\tfolder R&D", result_line("a", evaluated(filed("R&D"))));
}

TEST(ResultLine, SaysWhatWasWrong) {
  SieveMatchResult result = filed("Work");
  result.error = SieveMatchResult::PARSE_ADDRESS;
  EXPECT_EQ("a\terror in the evaluation: an address could not be read",
            result_line("a", evaluated(result)));
}

TEST(ResultLine, SaysWhyTheInboxTakesAFoldersPlace) {
  EXPECT_EQ("a\tkept; IMAP can't open folders with a dot in the name, hence the inbox: v1.2",
            result_line("a", evaluated(filed("v1.2"))));
  EXPECT_EQ("a\tfolder v1.2",
            result_line("a", evaluated(filed("v1.2")), Delivery::FolderDots::listescape));
}

TEST(RawResultLine, HasTheTextOfTheLibrary) {
  EXPECT_EQ("a.eml\tMatchResult [action=FILEINTO:Gr&APYA3w-e]",
            raw_result_line("a.eml", filed("Gr&APYA3w-e")));
  EXPECT_EQ("a.eml\tMatchResult []", raw_result_line("a.eml", SieveMatchResult()));
}

TEST(ResultLine, EscapesControlCharacters) {
  EXPECT_EQ("a\\tb\tkept; not a folder name, hence the inbox: x\\ny",
            result_line("a\tb", evaluated(filed("x\ny"))));
}

TEST(ResultJson, ListsActions) {
  EXPECT_EQ(R"({"message":"a\tb","actions":[{"action":"fileinto","mailbox":"Work"}]})",
            result_json("a\tb", evaluated(filed("Work"))));
  EXPECT_EQ(R"({"message":"a","actions":[]})", result_json("a", evaluated({})));
}

TEST(ResultJson, HasFoldersInUtf8) {
  EXPECT_EQ(
      "{\"message\":\"a\",\"actions\":[{\"action\":\"fileinto\",\"mailbox\":\"Gr\xC3\xB6\xC3\x9F"
      "e\"}]}",
      result_json("a", evaluated(filed("Gr&APYA3w-e"))));
}

TEST(ResultJson, GivesTheReasonOfARejection) {
  SieveAction reject;
  reject.type = SieveAction::REJECT;
  reject.message = "no \"more\"";
  SieveMatchResult result;
  result.add_action(reject);
  EXPECT_EQ(R"({"message":"a","actions":[{"action":"reject","reason":"no \"more\""}]})",
            result_json("a", evaluated(result)));
}

TEST(ResultJson, NamesTheRuleThatDecided) {
  EXPECT_EQ(R"({"message":"a","actions":[],"rule":"say \"no\""})",
            result_json("a", evaluated({}, "say \"no\"")));
}

TEST(ResultJson, SaysWhyTheInboxTakesAFoldersPlace) {
  EXPECT_EQ(
      R"({"message":"a","actions":[{"action":"keep"}],"rule":"r","note":"IMAP can't open folders )"
      R"(with a dot in the name, hence the inbox: v1.2"})",
      result_json("a", evaluated(filed("v1.2"), "r")));
  EXPECT_EQ(R"({"message":"a","actions":[{"action":"fileinto","mailbox":"v1.2"}]})",
            result_json("a", evaluated(filed("v1.2")), Delivery::FolderDots::listescape));
}

TEST(ResultJson, GivesOnlyTheErrorOfAFailedEvaluation) {
  SieveMatchResult result = filed("Work");
  result.error = SieveMatchResult::PARSE_ADDRESS;
  EXPECT_EQ(R"({"message":"a","error":"parse_address"})",
            result_json("a", evaluated(result, "Work")));
}

TEST(ResultJson, ReplacesWhatIsNoUtf8) {
  EXPECT_EQ("{\"message\":\"caf\xEF\xBF\xBD\",\"actions\":[]}",
            result_json("caf\xE9", evaluated({})));
}

}  // namespace
}  // namespace Quarrow::Command
