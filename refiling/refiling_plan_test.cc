// What becomes of messages by what their evaluation came to.
#include "refiling/refiling_plan.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>

#include "refiling/refiling_test_support.h"

namespace Quarrow::Refiling {
namespace {

using Delivery::Evaluation;
using Trial::MailSource;
using Trial::SourceFailure;

namespace fs = std::filesystem;

Evaluation decided(const std::string& rule, const std::vector<SieveAction>& actions) {
  Evaluation evaluation;
  evaluation.outcome = Evaluation::Outcome::done;
  evaluation.rule = rule;
  evaluation.result.actions.assign(actions.begin(), actions.end());
  return evaluation;
}

SieveAction file_into(const std::string& mailbox) {
  SieveAction action;
  action.type = SieveAction::FILEINTO;
  action.mailbox = mailbox;
  return action;
}

SieveAction plain(SieveAction::Type type) {
  SieveAction action;
  action.type = type;
  return action;
}

// Takes a message's unique part for what its evaluation comes to.
void tell(const std::string& path, Trial::Observer& observer) {
  const std::string what = unique_part(fs::path(path).filename().string());
  if (!fs::exists(path))
    observer.on_failure(Trial::cannot_read(path, ENOENT));
  else if (what == "none")
    observer.on_result(path, decided("", {}));
  else if (what == "dot")
    observer.on_result(path, decided("r", {file_into("a.b")}));
  else if (what == "work")
    observer.on_result(path, decided("w", {file_into("Work/Now")}));
  else if (what == "inbox")
    observer.on_result(path, decided("r", {plain(SieveAction::KEEP)}));
  else if (what == "both")
    observer.on_result(
        path, decided("r", {plain(SieveAction::KEEP), file_into("Work"), file_into("Other")}));
  else if (what == "discard")
    observer.on_result(path, decided("r", {plain(SieveAction::DISCARD)}));
  else if (what == "reject")
    observer.on_result(path, decided("r", {plain(SieveAction::REJECT)}));
  else if (what == "mbox")
    for (const char* number : {"#1", "#2"})
      observer.on_result(path + number, decided("w", {file_into("Work")}));
  else if (what == "error") {
    Evaluation evaluation = decided("", {});
    evaluation.result.error = SieveMatchResult::PARSE_ADDRESS;
    observer.on_result(path, evaluation);
  } else
    observer.on_not_evaluated(path, what);
}

void tell_all(const std::vector<MailSource>& sources, Trial::Observer& observer) {
  for (const auto& source : sources) tell(source.path, observer);
}

class RefilingPlanTest : public testing::Test {
 protected:
  std::vector<MailSource> sources(const Wish& wish) const {
    std::optional<SourceFailure> failure;
    auto found = sources_for(maildir_.file("Maildir"), wish, failure);
    EXPECT_FALSE(failure);
    return found;
  }

  RefilingPlan plan(const Wish& wish = {}, const RunRules& run = tell_all) const {
    return plan_refiling(
        maildir_.file("Maildir"), wish, sources(wish), run,
        [](const PlannedMessage& /*message*/) {});
  }

  // The fate and the folders of the one message that `plan` has.
  static std::string only(const RefilingPlan& plan) {
    if (plan.messages().size() != 1) return std::to_string(plan.messages().size()) + " messages";
    const auto& message = plan.messages().front();
    static const char* const fates[] = {"move",    "copy",   "in place",     "no rule",
                                        "discard", "reject", "not evaluated"};
    std::string text = fates[static_cast<int>(message.fate)];
    for (const auto& folder : message.folders) text += ' ' + (folder.empty() ? "inbox" : folder);
    return text + (message.note.empty() ? "" : ": " + message.note);
  }

  const TemporaryMaildir maildir_;
};

TEST_F(RefilingPlanTest, FilesAsDeliveryWouldButLosesNothing) {
  maildir_.make(".Work");
  const struct {
    const char* what;
    const char* in_inbox;
    const char* in_work;
  } cases[] = {
      {"none", "no rule", "no rule"},
      {"work", "move .Work.Now", "move .Work.Now"},
      {"inbox", "in place", "move inbox"},
      {"both", "copy .Work .Other", "copy inbox .Other"},
      {"discard", "discard", "discard"},
      {"reject", "reject", "reject"},
      {"dot", "in place: IMAP can't open folders with a dot in the name, hence the inbox: a.b",
       "in place: IMAP can't open folders with a dot in the name, hence the inbox: a.b"},
      {"error", "not evaluated: evaluation: an address could not be read",
       "not evaluated: evaluation: an address could not be read"},
      {"died", "not evaluated: died", "not evaluated: died"},
      {"mbox", "not evaluated: an mbox file", "not evaluated: an mbox file"}};
  for (const auto& c : cases) {
    for (const std::string folder : {"", ".Work"}) {
      const std::string path = folder + (folder.empty() ? "" : "/") + "cur/" + c.what + ":2,S";
      maildir_.put(path);
      Wish wish;
      wish.folder = folder;
      EXPECT_EQ(folder.empty() ? c.in_inbox : c.in_work, only(plan(wish))) << c.what;
      fs::remove(maildir_.folder(path));
    }
  }
}

TEST_F(RefilingPlanTest, TakesRefusedMailToTheFolderForIt) {
  Wish wish;
  wish.discard_to = ".Trash";
  for (const char* what : {"discard", "reject"}) {
    maildir_.put(std::string("new/") + what);
    EXPECT_EQ("move .Trash", only(plan(wish)));
    fs::remove(maildir_.folder(std::string("new/") + what));
  }
}

TEST_F(RefilingPlanTest, LooksForOneRule) {
  for (const char* name : {"new/work", "new/both", "new/none", "new/died"}) maildir_.put(name);
  Wish wish;
  wish.rule = "w";
  const RefilingPlan of_rule = plan(wish);
  ASSERT_EQ(2U, of_rule.messages().size());
  EXPECT_EQ("new/died", of_rule.messages()[0].file);  // it may be the rule's
  EXPECT_EQ("new/work", of_rule.messages()[1].file);
}

TEST_F(RefilingPlanTest, LooksAtMailFromATimeOn) {
  for (const char* name : {"new/1777896000.M1P2.mx", "new/1777895999.M1P2.mx", "new/x"})
    maildir_.put(name);
  Wish wish;
  wish.since = 1777896000;
  std::vector<std::string> found;
  for (const auto& source : sources(wish)) found.push_back(fs::path(source.path).filename());
  EXPECT_EQ(Lines({"1777896000.M1P2.mx", "x"}), found);  // x was written now
}

TEST_F(RefilingPlanTest, FindsMailThatIsReadMeanwhile) {
  for (const char* name : {"new/work", "new/gone", "cur/none:2,"}) maildir_.put(name);
  const RefilingPlan found = plan({}, [&](const auto& sources, Trial::Observer& observer) {
    if (fs::exists(maildir_.folder("new/work"))) {
      fs::rename(maildir_.folder("new/work"), maildir_.folder("cur/work:2,S"));
      fs::remove(maildir_.folder("new/gone"));
    }
    tell_all(sources, observer);
  });
  ASSERT_EQ(2U, found.messages().size());
  EXPECT_EQ("cur/none:2,", found.messages()[0].file);
  EXPECT_EQ("cur/work:2,S", found.messages()[1].file);
}

TEST_F(RefilingPlanTest, TellsOfAFileThatCannotBeRead) {
  maildir_.put("new/work");
  const RefilingPlan found = plan({}, [&](const auto& sources, Trial::Observer& observer) {
    observer.on_failure(Trial::cannot_read(sources.front().path, EACCES));
  });
  EXPECT_EQ("not evaluated: can't be read: Permission denied", only(found));
}

TEST_F(RefilingPlanTest, CountsByRuleAndFolder) {
  for (const char* name : {"new/work", "cur/work:2,", "new/both", "new/none"}) maildir_.put(name);
  const PlanSummary want = {{{"", Fate::no_rule, ""}, 1},
                            {{"r", Fate::copy, ".Other"}, 1},
                            {{"r", Fate::copy, ".Work"}, 1},
                            {{"w", Fate::move, ".Work.Now"}, 2}};
  EXPECT_EQ(want, plan().summary());
}

TEST_F(RefilingPlanTest, HasATaskForEachMessageThatGoesSomewhere) {
  for (const char* name : {"new/work", "new/both", "new/none"}) maildir_.put(name);
  std::vector<Refiled> tasks;
  plan_refiling(maildir_.file("Maildir"), {}, sources({}), tell_all,
                [&](const PlannedMessage& message) {
                  if (const auto task = task_of(message)) tasks.push_back(*task);
                });
  ASSERT_EQ(2U, tasks.size());
  EXPECT_EQ("both", tasks[0].unique);
  EXPECT_EQ(Lines({".Work", ".Other"}), tasks[0].folders);
  EXPECT_TRUE(tasks[0].stays);
  EXPECT_EQ("work", tasks[1].unique);
  EXPECT_FALSE(tasks[1].stays);
}

TEST_F(RefilingPlanTest, TellsOfAFolderThatIsMissing) {
  Wish wish;
  wish.folder = ".None";
  std::optional<SourceFailure> failure;
  EXPECT_TRUE(sources_for(maildir_.file("Maildir"), wish, failure).empty());
  ASSERT_TRUE(failure);
  EXPECT_EQ(maildir_.folder(".None"), failure->object);
}

}  // namespace
}  // namespace Quarrow::Refiling
