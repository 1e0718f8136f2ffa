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

Delivery::Evaluation evaluated(const SieveMatchResult& result) {
  Delivery::Evaluation evaluation;
  evaluation.outcome = Delivery::Evaluation::Outcome::done;
  evaluation.result = result;
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

TEST(RawResultLine, HasTheTextOfTheLibrary) {
  EXPECT_EQ("a.eml\tMatchResult [action=FILEINTO:Gr&APYA3w-e]",
            raw_result_line("a.eml", filed("Gr&APYA3w-e")));
  EXPECT_EQ("a.eml\tMatchResult []", raw_result_line("a.eml", SieveMatchResult()));
}

TEST(ResultLine, EscapesControlCharacters) {
  EXPECT_EQ("a\\tb\tfolder x\\ny", result_line("a\tb", evaluated(filed("x\ny"))));
}

TEST(ResultJson, ListsActions) {
  EXPECT_EQ(R"({"message":"a\tb","actions":[{"action":"fileinto","mailbox":"Work"}]})",
            result_json("a\tb", filed("Work"), ""));
  EXPECT_EQ(R"({"message":"a","actions":[]})", result_json("a", SieveMatchResult(), ""));
}

TEST(ResultJson, HasFoldersInUtf8) {
  EXPECT_EQ(
      "{\"message\":\"a\",\"actions\":[{\"action\":\"fileinto\",\"mailbox\":\"Gr\xC3\xB6\xC3\x9F"
      "e\"}]}",
      result_json("a", filed("Gr&APYA3w-e"), ""));
}

TEST(ResultJson, GivesTheReasonOfARejection) {
  SieveAction reject;
  reject.type = SieveAction::REJECT;
  reject.message = "no \"more\"";
  SieveMatchResult result;
  result.add_action(reject);
  EXPECT_EQ(R"({"message":"a","actions":[{"action":"reject","reason":"no \"more\""}]})",
            result_json("a", result, ""));
}

TEST(ResultJson, NamesTheRuleThatDecided) {
  EXPECT_EQ(R"({"message":"a","actions":[],"rule":"say \"no\""})",
            result_json("a", SieveMatchResult(), "say \"no\""));
}

TEST(ResultJson, GivesOnlyTheErrorOfAFailedEvaluation) {
  SieveMatchResult result = filed("Work");
  result.error = SieveMatchResult::PARSE_ADDRESS;
  EXPECT_EQ(R"({"message":"a","error":"parse_address"})", result_json("a", result, "Work"));
}

TEST(ResultJson, ReplacesWhatIsNoUtf8) {
  EXPECT_EQ("{\"message\":\"caf\xEF\xBF\xBD\",\"actions\":[]}",
            result_json("caf\xE9", SieveMatchResult(), ""));
}

}  // namespace
}  // namespace Quarrow::Command
