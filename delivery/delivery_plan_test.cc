// The meaning of each evaluation.
#include "quarrow/delivery/delivery_plan.h"

#include <gtest/gtest.h>

#include "delivery/delivery_test_support.h"

namespace Quarrow::Delivery {
namespace {

using Names = std::vector<std::string>;
using Outcome = Evaluation::Outcome;
using Refusal = Plan::Refusal;

const struct {
  std::vector<SieveAction> actions;
  Names want;
  InboxReason reason;
} deliveries[] = {
    {{keep()}, {""}, InboxReason::asked},
    {{keep(), keep()}, {""}, InboxReason::asked},
    {{file_into("Work")}, {"Work"}, InboxReason::none},
    {{file_into("Work"), keep()}, {"Work", ""}, InboxReason::asked},
    {{file_into("B"), file_into("A")}, {"B", "A"}, InboxReason::none},
    {{file_into("A"), file_into("A")}, {"A"}, InboxReason::none},
    {{file_into("A"), file_into("Inbox/A"), file_into("inbox/A")}, {"A"}, InboxReason::none},
    {{file_into("INBOX"), keep()}, {""}, InboxReason::asked},
    {{file_into("a"), file_into("A")}, {"a", "A"}, InboxReason::none},  // folders differ by case
    {{file_into("A"), reject("no")}, {"A"}, InboxReason::none},
    {{file_into("A"), discard()}, {"A"}, InboxReason::none},
    {{keep(), reject("no"), discard()}, {""}, InboxReason::asked},
    {{file_into("A"), keep(), reject("no"), discard()}, {"A", ""}, InboxReason::asked},
};

const struct {
  int error;
  std::string note;
} errors[] = {{SieveMatchResult::PARSE_SCRIPT, "evaluation: the script is not valid"},
              {SieveMatchResult::PARSE_HEADER, "evaluation: a header could not be read"},
              {SieveMatchResult::PARSE_ADDRESS, "evaluation: an address could not be read"},
              {SieveMatchResult::INVALID_MESSAGE, "evaluation: no message"},
              {SieveMatchResult::UNKNOWN, "evaluation: unknown error"},
              {-1, "evaluation: unknown error"},
              {1000, "evaluation: unknown error"}};

TEST(PlanFor, DeliversEveryFileintoAndKeepOnce) {
  for (const auto& c : deliveries) {
    const Evaluation evaluation = evaluation_of(c.actions);
    const Plan plan = plan_for(evaluation);
    const auto row = testing::Message() << evaluation.result;
    EXPECT_EQ(c.want, plan.mailboxes) << row;
    EXPECT_EQ(c.reason, plan.inbox_reason) << row;
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
    EXPECT_EQ(InboxReason::none, plan.inbox_reason) << row;
    EXPECT_EQ("", plan.note) << row;
  }
}

TEST(PlanFor, LeavesInTheInboxWhatCouldNotBeEvaluated) {
  const struct {
    Evaluation evaluation;
    InboxReason reason;
    std::string note;
  } cases[] = {
      {evaluation_without_result(Outcome::no_script), InboxReason::no_script, "no script"},
      {evaluation_without_result(Outcome::bad_script, "line 3"), InboxReason::failure,
       "damaged script: line 3"},
      {evaluation_without_result(Outcome::failed, "timed out"), InboxReason::failure,
       "evaluation failed: timed out"},
      {evaluation_of({}), InboxReason::no_rule, "no rule matched"},
      {evaluation_of({make_action(SieveAction::REDIRECT), make_action(SieveAction::VACATION),
                      make_action(SieveAction::NOTIFY)}),
       InboxReason::failure, "no action that delivery knows"},
  };
  for (const auto& c : cases) {
    const Plan plan = plan_for(c.evaluation);
    EXPECT_EQ(Names{""}, plan.mailboxes) << c.note;
    EXPECT_EQ(c.reason, plan.inbox_reason) << c.note;
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
  for (const auto& c : errors) {
    Evaluation evaluation = evaluation_of({discard(), file_into("A")});
    evaluation.result.error = c.error;
    const Plan plan = plan_for(evaluation);
    EXPECT_EQ(Names{""}, plan.mailboxes) << c.error;
    EXPECT_EQ(InboxReason::failure, plan.inbox_reason) << c.error;
    EXPECT_EQ(Refusal::none, plan.refusal) << c.error;
    EXPECT_EQ(c.note, plan.note);
  }
}

TEST(PlanFor, TakesTheInboxForANameThatCanBeNoFolder) {
  const Plan plan = plan_for(evaluation_of({file_into("A//B"), file_into("C"), keep()}));
  EXPECT_EQ((Names{"", "C"}), plan.mailboxes);
  EXPECT_EQ(InboxReason::failure, plan.inbox_reason);
  EXPECT_EQ("not a folder name, hence the inbox: A//B", plan.note);
}

// An evaluation that files into F1 to F<count>, in this order.
Evaluation filing_into_folders(int count) {
  Evaluation evaluation = evaluation_of({});
  for (int i = 1; i <= count; ++i)
    evaluation.result.actions.push_back(file_into("F" + std::to_string(i)));
  return evaluation;
}

TEST(PlanFor, TakesTheInboxForADotInAFoldersName) {
  const Evaluation evaluation = evaluation_of({file_into("v1.2"), file_into("Work")});
  const Plan plan = plan_for(evaluation);
  EXPECT_EQ((Names{"", "Work"}), plan.mailboxes);
  EXPECT_EQ(InboxReason::failure, plan.inbox_reason);
  EXPECT_EQ("IMAP can't open folders with a dot in the name, hence the inbox: v1.2", plan.note);
}

TEST(PlanFor, DeliversToADottedFolderThatIsSpelledForAPlugin) {
  const Evaluation evaluation = evaluation_of({file_into("v1.2"), file_into("Inbox/v1.2")});
  const Plan plan = plan_for(evaluation, FolderDots::listescape);
  EXPECT_EQ(Names{"v1.2"}, plan.mailboxes);
  EXPECT_EQ(InboxReason::none, plan.inbox_reason);
  EXPECT_EQ("", plan.note);
}

TEST(AsDelivered, KeepsWhatHasNoFolder) {
  SieveMatchResult result;
  result.actions = {discard(), file_into("Work"), file_into("v1.2"), file_into("A//B")};
  const auto kept = as_delivered(result, FolderDots::inbox);
  ASSERT_EQ(4U, kept.actions.size());
  EXPECT_EQ(SieveAction::DISCARD, kept.actions[0].type);
  EXPECT_EQ(SieveAction::FILEINTO, kept.actions[1].type);
  EXPECT_EQ("Work", std::string(kept.actions[1].mailbox));
  EXPECT_EQ(SieveAction::KEEP, kept.actions[2].type);
  EXPECT_EQ("", std::string(kept.actions[2].mailbox));
  EXPECT_EQ(SieveAction::KEEP, kept.actions[3].type);
  const auto filed = as_delivered(result, FolderDots::listescape);
  EXPECT_EQ("v1.2", std::string(filed.actions[2].mailbox));
  EXPECT_EQ(SieveAction::KEEP, filed.actions[3].type);
}

TEST(PlanFor, TakesTheInboxForFoldersBeyondTheMost) {
  Evaluation evaluation = filing_into_folders(32);
  evaluation.result.actions.push_back(file_into("F1"));
  EXPECT_EQ("", plan_for(evaluation).note);
  EXPECT_EQ(32U, plan_for(evaluation).mailboxes.size());
  const Plan plan = plan_for(filing_into_folders(1627));
  ASSERT_EQ(33U, plan.mailboxes.size());
  EXPECT_EQ("F32", plan.mailboxes[31]);
  EXPECT_EQ("", plan.mailboxes[32]);
  EXPECT_EQ(InboxReason::failure, plan.inbox_reason);
  EXPECT_EQ("more than 32 folders, hence the inbox: F33", plan.note);
}

TEST(PlanFor, CountsNoInboxAmongTheMostFolders) {
  Evaluation evaluation = filing_into_folders(33);
  evaluation.result.actions.insert(evaluation.result.actions.begin(), keep());
  const Plan plan = plan_for(evaluation);
  ASSERT_EQ(33U, plan.mailboxes.size());
  EXPECT_EQ("", plan.mailboxes.front());
  EXPECT_EQ("F32", plan.mailboxes.back());
  EXPECT_EQ("more than 32 folders, hence the inbox: F33", plan.note);
}

TEST(PlanFor, AFailureIsTheReasonWhicheverActionComesFirst) {
  EXPECT_EQ(InboxReason::failure,
            plan_for(evaluation_of({keep(), file_into("A//B")})).inbox_reason);
}

}  // namespace
}  // namespace Quarrow::Delivery
