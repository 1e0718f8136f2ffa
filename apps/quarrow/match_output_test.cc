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

TEST(ResultLine, PutsATabBetweenNameAndResult) {
  EXPECT_EQ("a.eml\tMatchResult [action=FILEINTO:Work]", result_line("a.eml", filed("Work")));
  EXPECT_EQ("a.eml\tMatchResult []", result_line("a.eml", SieveMatchResult()));
}

TEST(ResultLine, EscapesControlCharacters) {
  EXPECT_EQ("a\\tb\tMatchResult [action=FILEINTO:x\\ny]", result_line("a\tb", filed("x\ny")));
}

TEST(ResultJson, ListsActions) {
  EXPECT_EQ(R"({"message":"a\tb","actions":[{"action":"fileinto","mailbox":"Work"}]})",
            result_json("a\tb", filed("Work"), ""));
  EXPECT_EQ(R"({"message":"a","actions":[]})", result_json("a", SieveMatchResult(), ""));
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
