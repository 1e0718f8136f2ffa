// Rules and the messages that they match.
#include "trial/statistics.h"

#include <gtest/gtest.h>

#include "tests/support/rules_test_support.h"
#include "tests/support/temporary_folder_test_support.h"
#include "trial/message_text_test_support.h"

namespace Quarrow::Trial {
namespace {

using namespace MessageFilters;
using Counts = std::map<std::string, std::uint64_t>;

class StatisticsTest : public testing::Test {
 protected:
  Statistics statistics_by(std::initializer_list<boost::shared_ptr<Filter__>> filters) {
    return statistics_of(
        *list_with(filters), sources_, {},
        [this](const SourceFailure& failure) { failures_.push_back(failure.object); },
        [this](std::uint64_t bytes) { bytes_ += bytes; });
  }

  void add_message(const std::string& name, const std::string& text) {
    sources_.push_back({folder_.write(name, text), text.size()});
    size_ += text.size();
  }

  static boost::shared_ptr<Filter__> moving(const std::string& word, const std::string& folder) {
    const auto filter = make_rule(folder, subject_test(word));
    filter->actions = {make_action("move", folder)};
    return filter;
  }

  const TemporaryFolder folder_;
  std::vector<MailSource> sources_;
  std::vector<std::string> failures_;
  std::uint64_t bytes_ = 0;
  std::uint64_t size_ = 0;
};

TEST_F(StatisticsTest, CountsWhatEachRuleDecidesAndWhatItWouldDecide) {
  add_message("1", "Subject: red and blue\n\n");
  add_message("2", "Subject: red\n\n");
  add_message("3", "Subject: blue\n\n");
  add_message("4", "Subject: green\n\n");
  const auto off = moving("red", "Off");
  off->enabled = false;
  const Statistics found =
      statistics_by({off, moving("red", "Red"), moving("blue", "Blue"), moving("grey", "Grey")});
  EXPECT_EQ(4U, found.messages);
  EXPECT_EQ(1U, found.undecided);
  EXPECT_EQ(0U, found.failed);
  ASSERT_EQ(4U, found.rules.size());
  EXPECT_EQ(0U, found.rules[0].matches);
  EXPECT_EQ(2U, found.rules[1].decides);
  EXPECT_EQ(2U, found.rules[1].matches);
  EXPECT_EQ(1U, found.rules[2].decides);
  EXPECT_EQ(2U, found.rules[2].matches);
  EXPECT_EQ((std::map<std::size_t, std::uint64_t>{{1, 1}}), found.rules[2].taken_by);
  EXPECT_EQ((Counts{{"Red", 2}}), found.rules[1].folders);
  EXPECT_EQ((Counts{{"Blue", 1}}), found.rules[2].folders);
  EXPECT_EQ(0U, found.rules[3].matches);
  EXPECT_EQ("Grey", found.rules[3].filter->name);
  EXPECT_EQ(size_, bytes_);
}

TEST_F(StatisticsTest, CountsAFolderThatCantBeAsTheInbox) {
  add_message("1", "Subject: red\n\n");
  const Statistics found = statistics_by({moving("red", "v1.2")});
  EXPECT_EQ((Counts{{"", 1}}), found.rules[0].folders);
}

TEST_F(StatisticsTest, TellsSourcesThatCantBeRead) {
  add_message("1", "Subject: red\n\n");
  sources_.push_back({folder_.file("none"), 0});
  const Statistics found = statistics_by({moving("red", "Red")});
  EXPECT_EQ(1U, found.messages);
  EXPECT_EQ(1U, found.failed_sources);
  EXPECT_EQ(std::vector<std::string>{folder_.file("none")}, failures_);
}

// An address that can't be read ends the evaluation at the rule that asks for it.
TEST_F(StatisticsTest, AMessageThatFailsAtARuleIsDecidedByNoneBehindIt) {
  add_message("1", "X-Strange: a@b@c\nSubject: red\n\n");
  const auto strange = make_rule("Strange", make_test("address", "x-strange", "is", "a@b"));
  const Statistics found = statistics_by({strange, moving("red", "Red")});
  EXPECT_EQ(1U, found.failed);
  EXPECT_EQ(0U, found.rules[1].decides);
  const Statistics earlier = statistics_by({moving("red", "Red"), strange});
  EXPECT_EQ(0U, earlier.failed);
  EXPECT_EQ(1U, earlier.rules[0].decides);
}

}  // namespace
}  // namespace Quarrow::Trial
