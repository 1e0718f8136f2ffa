// Explanations of rules, beside what delivery does.
#include "trial/explanation.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>

#include "tests/support/evaluation_test_support.h"
#include "tests/support/rules_test_support.h"
#include "trial/mail_sources.h"
#include "trial/message_text_test_support.h"

namespace Quarrow::Trial {
namespace {

using namespace MessageFilters;
using Delivery::Evaluation;
using RuleResult = ExplainedRule::Result;
using TestResult = ExplainedTest::Result;

class ExplanationTest : public testing::Test {
 protected:
  Explanation explain_text(const boost::shared_ptr<FilterList__>& list, const std::string& text) {
    return explain(*list, write_script(script_of(list)), message_of(text), 0, runs_);
  }

  std::string write_script(const std::string& script) const {
    return folder_.write(".delivery_filter", script);
  }

  const TemporaryFolder folder_;
  IsolatedRuns runs_;
};

std::vector<RuleResult> results(const Explanation& explanation) {
  std::vector<RuleResult> results;
  for (const auto& rule : explanation.rules) results.push_back(rule.result);
  return results;
}

TEST_F(ExplanationTest, EndsWithTheRuleThatDecides) {
  const auto explanation =
      explain_text(list_with({make_rule("a", subject_test("blue")),
                              make_rule("b", subject_test("red")), make_rule("c", subject_test())}),
                   "Subject: red word\n\n");
  EXPECT_EQ((std::vector<RuleResult>{RuleResult::does_not_match, RuleResult::matches}),
            results(explanation));
  EXPECT_EQ("b", explanation.by_rules.rule);
  EXPECT_TRUE(explanation.agrees);
}

TEST_F(ExplanationTest, TellsEachTestOfARule) {
  const auto rule = make_rule("a", subject_test("red"));
  rule->relation = Filter__::ANYOF;
  rule->tests.push_back(subject_test("blue"));
  Condition inverted = subject_test("blue");
  inverted.negative = true;
  rule->tests.push_back(inverted);
  const auto explanation = explain_text(list_with({rule}), "Subject: red\n\n");
  std::vector<TestResult> got;
  for (const auto& test : explanation.rules.at(0).tests) got.push_back(test.result);
  EXPECT_EQ(
      (std::vector<TestResult>{TestResult::holds, TestResult::does_not_hold, TestResult::holds}),
      got);
}

TEST_F(ExplanationTest, ShowsWhatWasCompared) {
  const auto rule = make_rule("a", make_test("address", "from_to_cc", "is", "b@example.org"));
  rule->tests.push_back(make_test("size", "size", "greater", "1"));
  rule->tests.push_back(make_test("date", "zvx-received-date", "is", "2026-05-04"));
  const auto explanation =
      explain_text(list_with({rule}), "From: =?utf-8?q?J=C3=A4ger?= <b@example.org>\nCc:\n\n");
  std::vector<std::string> got;
  for (const auto& test : explanation.rules.at(0).tests)
    for (const auto& value : test.values)
      got.push_back(value.field + '=' + value.text.value_or("-"));
  EXPECT_EQ((std::vector<std::string>{"from=J\xc3\xa4ger <b@example.org>", "to=-",
                                      "cc=", "size=50 bytes", "zvx-received-date=19700101"}),
            got);
}

TEST_F(ExplanationTest, PassesOverRulesThatAreNotRun) {
  const auto disabled = make_rule("a", subject_test(), false);
  const auto explanation = explain_text(
      list_with({disabled, make_filter("b"), make_rule("c", subject_test())}), "Subject: word\n\n");
  EXPECT_EQ(
      (std::vector<RuleResult>{RuleResult::disabled, RuleResult::no_tests, RuleResult::matches}),
      results(explanation));
  EXPECT_TRUE(explanation.rules[0].tests.empty());
  EXPECT_TRUE(explanation.agrees);
}

TEST_F(ExplanationTest, EndsWithTheRuleThatFails) {
  const auto explanation =
      explain_text(list_with({make_rule("a", subject_test("blue")),
                              make_rule("b", make_test("address", "x-foo", "is", "b@example.org")),
                              make_rule("c", subject_test())}),
                   "X-Foo: a@b@c\nSubject: word\n\n");
  EXPECT_EQ((std::vector<RuleResult>{RuleResult::does_not_match, RuleResult::failed}),
            results(explanation));
  EXPECT_EQ("evaluation: an address could not be read: x-foo", explanation.rules[1].reason);
  EXPECT_EQ(TestResult::failed, explanation.rules[1].tests.at(0).result);
  EXPECT_EQ("a@b@c", explanation.rules[1].tests[0].values.at(0).text);
  EXPECT_TRUE(explanation.agrees);
}

TEST_F(ExplanationTest, DecidesNothingWithoutAMatch) {
  const auto explanation =
      explain_text(list_with({make_rule("a", subject_test("blue"))}), "Subject: word\n\n");
  EXPECT_EQ("", explanation.by_rules.rule);
  EXPECT_TRUE(explanation.by_rules.result.actions.empty());
  EXPECT_TRUE(explanation.agrees);
  EXPECT_TRUE(explain_text(list_with({}), "Subject: word\n\n").agrees);
}

TEST_F(ExplanationTest, TellsAScriptOfOtherRules) {
  const auto list = list_with({make_rule("a", subject_test())});
  const std::string message = "Subject: word\n\n";
  for (const auto& script : {script_of(list_with({make_rule("b", subject_test())})),
                             script_of(list_with({})), std::string("no script")}) {
    const auto explanation = explain(*list, write_script(script), message_of(message), 0, runs_);
    EXPECT_EQ("a", explanation.by_rules.rule);
    EXPECT_FALSE(explanation.agrees) << script;
  }
}

// Of every kind of test, with several tests of each relation, copies and disabled rules among them.
boost::shared_ptr<FilterList__> mixed_rules() {
  const auto both = make_rule("both", make_test("string", "subject", "contains", "report"));
  both->tests.push_back(make_test("address", "from", "contains", "boss"));
  const auto either = make_rule("either", make_test("string", "list-id", "end_with", ">"));
  either->relation = Filter__::ANYOF;
  either->tests.push_back(make_test("string", "subject", "begin_with", "["));
  either->actions = {make_action("copy", "Lists/News"), make_action("move", "v1.2")};
  const auto inverted = make_rule("not", make_test("string", "to_cc", "contains", "@"));
  inverted->tests.front().negative = true;
  const auto old = make_rule("old", make_test("date", "zvx-received-date", "before", "1969-01-01"));
  return list_with({make_rule("off", make_test("string", "subject", "contains", "e"), false), both,
                    either, make_rule("large", make_test("size", "size", "greater", "50")),
                    inverted, make_rule("same", make_test("string", "subject", "is", "hello")),
                    make_rule("same", make_test("string", "subject", "contains", "\xc3\xa4")), old,
                    make_rule("addresses", make_test("address", "from_to_cc", "contains", "carol")),
                    make_rule("no addresses", make_test("address", "subject", "contains", "x"))});
}

// What explain() says of each example.
std::vector<Explanation> explain_examples(const std::string& script_path, IsolatedRuns& runs) {
  std::vector<Explanation> explanations;
  for (const auto& entry : std::filesystem::directory_iterator(EXAMPLE_MAIL)) {
    if (entry.path().extension() != ".eml") continue;
    const MailSource source = {entry.path().string()};
    MailContents contents;
    EXPECT_FALSE(contents.open(source));
    for (const auto& message : messages_of(source, contents))
      explanations.push_back(explain(*mixed_rules(), script_path, message, 0, runs));
  }
  return explanations;
}

TEST_F(ExplanationTest, AgreesWithDeliveryOnEveryExample) {
  std::map<RuleResult, int> count;
  for (const auto& explanation : explain_examples(write_script(script_of(mixed_rules())), runs_)) {
    EXPECT_TRUE(explanation.agrees);
    const Evaluation& delivered = explanation.by_script;
    ASSERT_EQ(Evaluation::Outcome::done, delivered.outcome) << delivered.reason;
    const ExplainedRule& last = explanation.rules.back();
    const bool decides = last.result == RuleResult::matches;
    EXPECT_EQ(delivered.rule, decides ? last.filter->name : "");
    EXPECT_EQ(decides, !has_failed(delivered) && !delivered.result.actions.empty());
    ++count[last.result];
  }
  EXPECT_GT(count[RuleResult::matches], 10);
  EXPECT_GT(count[RuleResult::does_not_match], 0);
  EXPECT_GT(count[RuleResult::failed], 0);
}

// Whether the tests of `rule`, none of which failed, make it match.
bool tests_make_it_match(const ExplainedRule& rule) {
  const auto holds = [](const ExplainedTest& test) { return test.result == TestResult::holds; };
  return rule.filter->relation == Filter__::ANYOF
             ? std::any_of(rule.tests.begin(), rule.tests.end(), holds)
             : std::all_of(rule.tests.begin(), rule.tests.end(), holds);
}

TEST_F(ExplanationTest, OfTestsFitsThatOfTheirRuleOnEveryExample) {
  int rules = 0;
  for (const auto& explanation : explain_examples(write_script(script_of(mixed_rules())), runs_)) {
    for (const auto& rule : explanation.rules) {
      const bool failed = std::any_of(rule.tests.begin(), rule.tests.end(), [](const auto& test) {
        return test.result == TestResult::failed;
      });
      if (rule.tests.empty() || failed) continue;
      EXPECT_EQ(tests_make_it_match(rule), rule.result == RuleResult::matches) << rule.filter->name;
      ++rules;
    }
  }
  EXPECT_GT(rules, 100);
}

}  // namespace
}  // namespace Quarrow::Trial
