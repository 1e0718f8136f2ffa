// Differences between lists, one for each thing that can become of a filter.
#include "administration/rules_difference.h"

#include <gtest/gtest.h>

#include <functional>

#include "tests/support/rules_test_support.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using MessageFilters::make_action;
using MessageFilters::make_rule;
using MessageFilters::subject_test;
using List = boost::shared_ptr<FilterList__>;

// A filter for each digit, with that number, named after it.
List list_of_filters(const std::string& digits) {
  const List list = FilterList__::Create();
  for (const char digit : digits) {
    const auto filter = make_rule(std::string("f") + digit, subject_test());
    filter->id = digit - '0';
    list->append(filter);
  }
  return list;
}

// A line for each difference.
std::string told(const List& before, const List& after) {
  std::string text;
  for (const auto& difference : rules_differences(*before, *after))
    text += difference_text(difference) + '\n';
  return text;
}

// The differences between one filter and itself after `change`.
std::string told_of(const std::function<void(Filter__&)>& change) {
  const List after = list_of_filters("1");
  change(*after->filters.front());
  return told(list_of_filters("1"), after);
}

TEST(RulesDifference, IsNoneBetweenEqualLists) {
  EXPECT_EQ("", told(list_of_filters(""), list_of_filters("")));
  EXPECT_EQ("", told(list_of_filters("123"), list_of_filters("123")));
}

TEST(RulesDifference, TellsWhatWasRemovedAndAdded) {
  EXPECT_EQ("filter 2 \"f2\": removed\nfilter 4 \"f4\": added\n",
            told(list_of_filters("123"), list_of_filters("143")));
}

TEST(RulesDifference, TellsTheFewestMoves) {
  EXPECT_EQ("filter 4 \"f4\": moved from place 4 to place 1\n",
            told(list_of_filters("1234"), list_of_filters("4123")));
  EXPECT_EQ("filter 1 \"f1\": moved from place 1 to place 4\n",
            told(list_of_filters("1234"), list_of_filters("2341")));
  EXPECT_EQ("filter 3 \"f3\": removed\n", told(list_of_filters("1234"), list_of_filters("124")));
  EXPECT_EQ("filter 5 \"f5\": added\n", told(list_of_filters("12"), list_of_filters("512")));
  EXPECT_EQ(
      "filter 5 \"f5\": moved from place 5 to place 2\n"
      "filter 2 \"f2\": moved from place 2 to place 5\n",
      told(list_of_filters("12345"), list_of_filters("15342")));
}

TEST(RulesDifference, TellsNamesAndSwitches) {
  EXPECT_EQ("filter 1 \"new\": renamed from \"f1\"\n",
            told_of([](Filter__& filter) { filter.name = "new"; }));
  EXPECT_EQ("filter 1 \"f1\": disabled\n",
            told_of([](Filter__& filter) { filter.enabled = false; }));
  EXPECT_EQ("filter 1 \"f1\": any test may hold, not all must\n",
            told_of([](Filter__& filter) { filter.relation = Filter__::ANYOF; }));
  const List any = list_of_filters("1");
  any->filters.front()->relation = Filter__::ANYOF;
  any->filters.front()->enabled = false;
  EXPECT_EQ("filter 1 \"f1\": enabled\nfilter 1 \"f1\": all tests must hold, not any\n",
            told(any, list_of_filters("1")));
}

TEST(RulesDifference, TellsTestsAndActions) {
  EXPECT_EQ(
      "filter 1 \"f1\": test removed: string subject contains word\n"
      "filter 1 \"f1\": test added: string subject contains other\n"
      "filter 1 \"f1\": action added: move B\xC3\xBCro\n",
      told_of([](Filter__& filter) {
        filter.tests = {subject_test("other")};
        filter.actions.push_back(make_action("move", "B\xC3\xBCro"));
      }));
  EXPECT_EQ("filter 1 \"f1\": test added: string subject contains word\n",
            told_of([](Filter__& filter) { filter.tests.push_back(subject_test()); }));
}

TEST(RulesDifference, TellsAnotherOrder) {
  const List before = list_of_filters("1");
  const List after = list_of_filters("1");
  before->filters.front()->tests = {subject_test("a"), subject_test("b")};
  after->filters.front()->tests = {subject_test("b"), subject_test("a")};
  EXPECT_EQ("filter 1 \"f1\": tests in another order\n", told(before, after));
}

}  // namespace
}  // namespace Quarrow::Administration
