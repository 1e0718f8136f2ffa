// Each row of the table of what an evaluation means.
#include "quarrow/delivery/delivery_plan.h"

#include <gtest/gtest.h>

#include "delivery/delivery_test_support.h"

namespace Quarrow::Delivery {
namespace {

using Names = std::vector<std::string>;
using Outcome = Evaluation::Outcome;
using Refusal = Plan::Refusal;

TEST(PlanFor, DeliversEveryFileintoAndKeepOnce) {
  const struct {
    std::vector<SieveAction> actions;
    Names want;
  } cases[] = {
      {{keep()}, {""}},
      {{keep(), keep()}, {""}},
      {{file_into("Work")}, {"Work"}},
      {{file_into("Work"), keep()}, {"Work", ""}},
      {{file_into("B"), file_into("A")}, {"B", "A"}},
      {{file_into("A"), file_into("A")}, {"A"}},
      {{file_into("A"), file_into("Inbox/A"), file_into("inbox/A")}, {"A"}},
      {{file_into("INBOX"), keep()}, {""}},
      {{file_into("a"), file_into("A")}, {"a", "A"}},  // folders differ by case
      {{file_into("A"), reject("no")}, {"A"}},
      {{file_into("A"), discard()}, {"A"}},
      {{keep(), reject("no"), discard()}, {""}},
      {{file_into("A"), keep(), reject("no"), discard()}, {"A", ""}},
  };
  for (const auto& c : cases) {
    const Evaluation evaluation = evaluation_of(c.actions);
    const Plan plan = plan_for(evaluation);
    const auto row = testing::Message() << evaluation.result;
    EXPECT_EQ(c.want, plan.mailboxes) << row;
    EXPECT_EQ(Refusal::none, plan.refusal) << row;
    EXPECT_EQ("", plan.note) << row;
    EXPECT_EQ("", plan.reject_text) << row;
  }
}

TEST(PlanFor, RefusesOnlyWhatNothingElseDelivers) {
  const struct {
    std::vector<SieveAction> actions;
    Refusal want;
    std::string text;
  } cases[] = {{{reject("no")}, Refusal::reject, "no"},
               {{reject("")}, Refusal::reject, ""},
               {{reject("first"), reject("second")}, Refusal::reject, "first"},
               {{discard()}, Refusal::discard, ""},
               {{discard(), discard()}, Refusal::discard, ""},
               {{reject("no"), discard()}, Refusal::reject, "no"}};
  for (const auto& c : cases) {
    const Evaluation evaluation = evaluation_of(c.actions);
    const Plan plan = plan_for(evaluation);
    const auto row = testing::Message() << evaluation.result;
    EXPECT_EQ(c.want, plan.refusal) << row;
    EXPECT_EQ(c.text, plan.reject_text) << row;
    EXPECT_EQ(Names{}, plan.mailboxes) << row;
    EXPECT_EQ("", plan.note) << row;
  }
}

TEST(PlanFor, LeavesInTheInboxWhatCouldNotBeEvaluated) {
  const struct {
    Evaluation evaluation;
    std::string note;
  } cases[] = {
      {evaluation_without_result(Outcome::no_script), "no script"},
      {evaluation_without_result(Outcome::bad_script, "line 3"), "damaged script: line 3"},
      {evaluation_without_result(Outcome::failed, "timed out"), "evaluation failed: timed out"},
      {evaluation_of({}), "no rule matched"},
      {evaluation_of({make_action(SieveAction::REDIRECT), make_action(SieveAction::VACATION),
                      make_action(SieveAction::NOTIFY)}),
       "no action that delivery knows"},
  };
  for (const auto& c : cases) {
    const Plan plan = plan_for(c.evaluation);
    EXPECT_EQ(Names{""}, plan.mailboxes) << c.note;
    EXPECT_EQ(Refusal::none, plan.refusal) << c.note;
    EXPECT_EQ(c.note, plan.note);
  }
}

TEST(PlanFor, TakesNoActionFromAnEvaluationThatIsNotDone) {
  for (const auto outcome : {Outcome::no_script, Outcome::bad_script, Outcome::failed}) {
    Evaluation evaluation = evaluation_of({discard(), file_into("A")});
    evaluation.outcome = outcome;
    EXPECT_EQ(Names{""}, plan_for(evaluation).mailboxes);
    EXPECT_EQ(Refusal::none, plan_for(evaluation).refusal);
  }
}

TEST(PlanFor, LeavesInTheInboxWhatGaveAnError) {
  const struct {
    int error;
    std::string note;
  } cases[] = {{SieveMatchResult::PARSE_SCRIPT, "evaluation: the script is not valid"},
               {SieveMatchResult::PARSE_HEADER, "evaluation: a header could not be read"},
               {SieveMatchResult::PARSE_ADDRESS, "evaluation: an address could not be read"},
               {SieveMatchResult::INVALID_MESSAGE, "evaluation: no message"},
               {SieveMatchResult::UNKNOWN, "evaluation: unknown error"},
               {-1, "evaluation: unknown error"},
               {1000, "evaluation: unknown error"}};
  for (const auto& c : cases) {
    Evaluation evaluation = evaluation_of({discard(), file_into("A")});
    evaluation.result.error = c.error;
    const Plan plan = plan_for(evaluation);
    EXPECT_EQ(Names{""}, plan.mailboxes) << c.error;
    EXPECT_EQ(Refusal::none, plan.refusal) << c.error;
    EXPECT_EQ(c.note, plan.note);
  }
}

TEST(PlanFor, TakesTheInboxForANameThatCanBeNoFolder) {
  const Plan plan = plan_for(evaluation_of({file_into("A//B"), file_into("C"), keep()}));
  EXPECT_EQ((Names{"", "C"}), plan.mailboxes);
  EXPECT_EQ("not a folder name, hence the inbox: A//B", plan.note);
}

}  // namespace
}  // namespace Quarrow::Delivery
