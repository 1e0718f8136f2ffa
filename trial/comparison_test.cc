// Where messages go by two scripts.
#include "trial/comparison.h"

#include <gtest/gtest.h>

#include "tests/support/rules_test_support.h"
#include "tests/support/temporary_folder_test_support.h"
#include "trial/message_text_test_support.h"

namespace Quarrow::Trial {
namespace {

using namespace MessageFilters;

class ComparisonTest : public testing::Test {
 protected:
  ComparisonResult compare_with(const std::string& script,
                                Delivery::FolderDots dots = Delivery::FolderDots::inbox) {
    return compare(
        sources_, folder_.file(".delivery_filter"), script, {std::nullopt, dots},
        [this](const SourceFailure& failure) { failures_.push_back(failure.object); });
  }

  void add_message(const std::string& name, const std::string& text) {
    sources_.push_back({folder_.write(name, text), text.size()});
  }

  static boost::shared_ptr<Filter__> moving(const Condition& test, const std::string& folder) {
    const auto filter = make_rule(folder, test);
    filter->actions = {make_action("move", folder)};
    return filter;
  }

  const TemporaryFolder folder_;
  std::vector<MailSource> sources_;
  std::vector<std::string> failures_;
};

TEST_F(ComparisonTest, TellsMessagesThatGoElsewhere) {
  add_message("red", "Subject: red\n\n");
  add_message("blue", "Subject: blue\n\n");
  add_message("green", "Subject: green\n\n");
  const auto red = moving(subject_test("red"), "Red");
  folder_.write(".delivery_filter", script_of(list_with({red})));
  const auto result =
      compare_with(script_of(list_with({red, moving(subject_test("blue"), "Blue")})));
  EXPECT_EQ(3U, result.messages);
  ASSERT_EQ(1U, result.differences.size());
  EXPECT_EQ(folder_.file("blue"), result.differences[0].message);
  EXPECT_EQ(std::vector<std::string>{""}, result.differences[0].now.mailboxes);
  EXPECT_EQ(std::vector<std::string>{"Blue"}, result.differences[0].then.mailboxes);
}

TEST_F(ComparisonTest, TakesAMissingScriptForTheInbox) {
  add_message("red", "Subject: red\n\n");
  const auto result = compare_with(script_of(list_with({moving(subject_test("red"), "Red")})));
  EXPECT_EQ(1U, result.differences.size());
  EXPECT_EQ(0U, result.failed_now);
}

TEST_F(ComparisonTest, ComparesFoldersAsTheyAreOnDisk) {
  add_message("red", "Subject: red\n\n");
  folder_.write(".delivery_filter", script_of(list_with({moving(subject_test("red"), "Red")})));
  const auto same = script_of(list_with({moving(subject_test("red"), "inbox/Red")}));
  EXPECT_TRUE(compare_with(same).differences.empty());
  const auto dotted = script_of(list_with({moving(subject_test("red"), "v1.2")}));
  EXPECT_EQ(std::vector<std::string>{""}, compare_with(dotted).differences.at(0).then.mailboxes);
  EXPECT_EQ(
      std::vector<std::string>{"v1.2"},
      compare_with(dotted, Delivery::FolderDots::listescape).differences.at(0).then.mailboxes);
}

TEST_F(ComparisonTest, CountsEvaluationsThatFail) {
  add_message("bad", "X-Foo: a@b@c\n\n");
  const auto result = compare_with(
      script_of(list_with({moving(make_test("address", "x-foo", "is", "b@example.org"), "Bob")})));
  EXPECT_EQ(0U, result.failed_now);
  EXPECT_EQ(1U, result.failed_then);
  EXPECT_TRUE(result.differences.empty());  // the inbox in both cases
}

TEST_F(ComparisonTest, GoesOnBehindASourceThatCanNotBeRead) {
  sources_.push_back({folder_.file("none")});
  add_message("red", "Subject: red\n\n");
  EXPECT_EQ(1U, compare_with(script_of(list_with({}))).messages);
  EXPECT_EQ(std::vector<std::string>{folder_.file("none")}, failures_);
}

}  // namespace
}  // namespace Quarrow::Trial
