// Filters tried over messages, and what all scripts as wholes do with them.
#include "web_api/filter_trial.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/rules_test_support.h"
#include "trial/comparison.h"

namespace Quarrow::WebApi {
namespace {

using Delivery::Evaluation;
using Delivery::FolderDots;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using MessageFilters::make_action;
using MessageFilters::make_rule;
using MessageFilters::make_test;
using MessageFilters::subject_test;
using FilterPointer = boost::shared_ptr<Filter__>;

// A filter that moves what has `word` in its subject to a folder of that name.
FilterPointer about(const std::string& word, std::int32_t id, bool enabled = true) {
  const auto filter = make_rule("same name", subject_test(word), enabled);
  filter->id = id;
  filter->actions = {make_action("move", word)};
  return filter;
}

// A filter whose test fails for a message with a broken X-Broken, and else does not match.
FilterPointer breaking(std::int32_t id) {
  const auto filter = about("breaking", id);
  filter->tests = {make_test("address", "x-broken", "is", "nobody@example.org")};
  return filter;
}

boost::shared_ptr<FilterList__> list_of(const std::vector<FilterPointer>& filters) {
  const auto list = FilterList__::Create();
  list->filters.assign(filters.begin(), filters.end());
  return list;
}

// Messages with each choice of the words a, b and c, and the same with a header that can't be read.
std::vector<std::string> messages() {
  std::vector<std::string> all;
  for (int choice = 0; choice < 16; ++choice) {
    std::string text = "Subject:";
    for (int word = 0; word < 3; ++word)
      if ((choice >> word & 1) != 0) text += std::string(" xx") + static_cast<char>('a' + word);
    all.push_back(text + (choice >= 8 ? "\nX-Broken: \"unterminated <a@b>\n\n" : "\n\n"));
  }
  return all;
}

// Expects of each message that its trial says what the whole scripts do.
void expect_as_scripts_say(const std::vector<FilterPointer>& now,
                           const std::vector<FilterPointer>& then, std::int32_t id) {
  const TrialScripts scripts = trial_scripts(list_of(now), list_of(then), id);
  FilterTrial trial(scripts, FolderDots::inbox);
  for (const auto& text : messages()) {
    const Trial::FoundMessage message = {"a", text, -1};
    const TrialResult result = trial.run(message, 0);
    const Evaluation by_now = trial.runs().run_text(message, 0, scripts.now);
    const Evaluation by_then = trial.runs().run_text(message, 0, scripts.then);
    const auto plan_now = plan_for(by_now, FolderDots::inbox);
    const auto plan_then = plan_for(by_then, FolderDots::inbox);
    const bool is_changed = !Trial::is_same_place(plan_now, plan_then, FolderDots::inbox);
    EXPECT_EQ(is_changed, result.is_changed) << text;
    if (!result.is_caught && !result.is_changed) continue;
    EXPECT_EQ(plan_now.mailboxes, result.now.mailboxes) << text;
    EXPECT_EQ(plan_then.mailboxes, result.then.mailboxes) << text;
    EXPECT_EQ(by_then.rule, result.decider ? std::to_string(*result.decider) : "") << text;
    EXPECT_EQ(Trial::has_failed(by_now) || Trial::has_failed(by_then), result.has_failed) << text;
  }
}

TEST(FilterTrial, SaysOfANewFilterWhatScriptsDo) {
  const std::vector<FilterPointer> others = {about("xxa", 1), about("xxb", 2), breaking(3)};
  for (const auto& added :
       {about("xxc", 4), about("xxb", 4), about("xxc", 4, false), breaking(4)}) {
    for (std::size_t place = 0; place <= others.size(); ++place) {
      auto then = others;
      then.insert(then.begin() + static_cast<std::ptrdiff_t>(place), added);
      expect_as_scripts_say(others, then, 4);
    }
  }
}

TEST(FilterTrial, SaysOfAReplacedFilterWhatScriptsDo) {
  for (const auto& replaced : {about("xxa", 4), about("xxa", 4, false), breaking(4)}) {
    for (const auto& added : {about("xxa", 4), about("xxb", 4), about("xxb", 4, false)}) {
      for (int places = 0; places < 9; ++places) {
        std::vector<FilterPointer> now = {about("xxa", 1), about("xxc", 2)};
        auto then = now;
        now.insert(now.begin() + places / 3, replaced);
        then.insert(then.begin() + places % 3, added);
        expect_as_scripts_say(now, then, 4);
      }
    }
  }
}

TEST(FilterTrial, CatchesWhatTheTestsMatch) {
  const auto now = list_of({about("xxa", 1)});
  const TrialScripts scripts = trial_scripts(now, list_of({about("xxa", 1), about("xxb", 2)}), 2);
  FilterTrial trial(scripts, FolderDots::inbox);
  EXPECT_FALSE(trial.run({"a", "Subject: xxa\n\n", -1}, 0).is_caught);
  const auto taken = trial.run({"a", "Subject: xxa xxb\n\n", -1}, 0);
  EXPECT_TRUE(taken.is_caught);
  EXPECT_EQ(1, taken.decider);
  EXPECT_EQ(2, trial.run({"a", "Subject: xxb\n\n", -1}, 0).decider);
}

}  // namespace
}  // namespace Quarrow::WebApi
