// Changes that are made, and changes that are only told.
#include "administration/rules_change.h"

#include "administration/rules_transaction_test_support.h"

namespace Quarrow::Administration {
namespace {

using RulesChange = RulesTransactionTest;

GuardedOutcome changed(const ChangeMode& mode,
                       const std::function<GuardedOutcome(RulesTransaction&)>& edit) {
  RulesTransaction rules(alice);
  EXPECT_EQ("", said(rules.open()));
  return change_rules(rules, mode, edit);
}

GuardedOutcome remove_first(RulesTransaction& rules) { return {rules.remove(1), "removed"}; }

ChangeMode dry_run() {
  ChangeMode mode;
  mode.dry_run = true;
  return mode;
}

TEST_F(RulesChange, IsCommitted) {
  commit_one_rule();
  const GuardedOutcome outcome = changed({}, remove_first);
  EXPECT_EQ("", said(outcome.refusal));
  EXPECT_EQ("removed", outcome.answer);
  EXPECT_EQ("", names());
}

TEST_F(RulesChange, IsToldInADryRun) {
  commit_one_rule();
  const GuardedOutcome outcome = changed(dry_run(), remove_first);
  EXPECT_EQ("", said(outcome.refusal));
  EXPECT_EQ("filter 1 \"Rule\": removed\n", outcome.answer);
  EXPECT_EQ("Rule ", names());
}

TEST_F(RulesChange, MayBeNone) {
  commit_one_rule();
  EXPECT_EQ("nothing would change\n",
            changed(dry_run(), [](RulesTransaction&) { return GuardedOutcome(); }).answer);
}

TEST_F(RulesChange, IsNotCommittedWhenItIsRefused) {
  commit_one_rule();
  const auto edit = [](RulesTransaction& rules) -> GuardedOutcome {
    (void)rules.remove(1);
    return {{Kind::wrong_rule, "this", "that"}, "removed"};
  };
  for (const ChangeMode& mode : {ChangeMode(), dry_run()}) {
    const GuardedOutcome outcome = changed(mode, edit);
    EXPECT_EQ("this: that", said(outcome.refusal));
    EXPECT_EQ("", outcome.answer);
    EXPECT_EQ("Rule ", names());
  }
}

TEST_F(RulesChange, IsCheckedInADryRunAsInACommit) {
  commit_one_rule();
  write_file(script_, "discard;");
  const Refusal committed = changed({}, remove_first).refusal;
  const GuardedOutcome told = changed(dry_run(), remove_first);
  EXPECT_EQ(Kind::foreign_script, committed.kind);
  EXPECT_EQ(said(committed), said(told.refusal));
  EXPECT_EQ("", told.answer);
}

}  // namespace
}  // namespace Quarrow::Administration
