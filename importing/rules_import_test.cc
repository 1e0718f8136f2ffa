// Rules that are put into a user's filters, and the changes that are told.
#include "importing/rules_import.h"

#include <gtest/gtest.h>
#include <quarrow/filter_list.h>

#include "administration/administration_test_support.h"
#include "tests/support/rules_test_support.h"

namespace Quarrow::Importing {
namespace {

using Administration::RulesTransaction;
using MessageFilters::Filter__;
using MessageFilters::make_action;
using MessageFilters::make_rule;
using MessageFilters::subject_test;
using Kind = RuleChange::Kind;

boost::shared_ptr<Filter__> rule(const std::string& name, std::int32_t id = 0) {
  const auto filter = make_rule(name, subject_test(name));
  filter->id = id;
  return filter;
}

class PutRules : public testing::Test {
 protected:
  PutRules() : transaction_(EmailAddress("alice@example.org")) {
    EXPECT_FALSE(transaction_.open());
  }

  void have(const std::vector<std::string>& names) {
    for (const auto& name : names) EXPECT_FALSE(transaction_.add(rule(name), 0));
  }

  // "removes 2 b, adds 3 c" of what put_rules() told; its refusal when it refused.
  std::string put(const ImportedRules& rules, Earlier earlier) {
    std::vector<RuleChange> changes;
    if (const auto refusal = put_rules(rules, earlier, transaction_, changes))
      return Administration::said(refusal);
    static const char* const words[] = {"removes", "keeps", "moves", "adds", "loses"};
    std::string told;
    for (const auto& change : changes)
      told += (told.empty() ? "" : ", ") + std::string(words[static_cast<int>(change.kind)]) + ' ' +
              std::to_string(change.id) + ' ' + change.name;
    return told;
  }

  std::string names() {
    std::string all;
    for (const auto& filter : transaction_.filters().filters->filters)
      all += std::to_string(filter->id) + filter->name + ' ';
    return all;
  }

  Administration::TemporaryRoot root_;
  RulesTransaction transaction_;
};

ImportedRules numbered(const std::vector<boost::shared_ptr<Filter__>>& filters) {
  ImportedRules rules;
  rules.numbered = true;
  for (const auto& filter : filters) rules.rules.push_back({filter, 0});
  return rules;
}

TEST_F(PutRules, PutsThemBehindTheOthersWithNewNumbers) {
  have({"a", "b"});
  EXPECT_EQ("adds 3 c, adds 4 a", put(numbered({rule("c", 1), rule("a", 9)}), Earlier::kept));
  EXPECT_EQ("1a 2b 3c 4a ", names());
}

TEST_F(PutRules, PutsThemInPlaceOfTheOthersWithTheirNumbers) {
  have({"a", "b", "c"});
  EXPECT_EQ("removes 2 b, keeps 7 c, moves 1 a, adds 5 d",
            put(numbered({rule("c", 7), rule("a", 1), rule("d", 5)}), Earlier::replaced));
  EXPECT_EQ("7c 1a 5d ", names());
}

TEST_F(PutRules, TellsAFilterWithAnotherActionFromTheOldOne) {
  have({"a"});
  const auto other = rule("a", 1);
  other->actions = {make_action("move", "Work")};
  EXPECT_EQ("removes 1 a, adds 1 a", put(numbered({other}), Earlier::replaced));
}

TEST_F(PutRules, AsksWhatBecomesOfTheOthers) {
  EXPECT_EQ("adds 1 a", put(numbered({rule("a")}), Earlier::unstated));
  EXPECT_EQ("alice@example.org: has filters already",
            put(numbered({rule("b")}), Earlier::unstated));
  EXPECT_EQ("1a ", names());
}

TEST_F(PutRules, TellsLossesWithTheirLines) {
  ImportedRules rules;
  rules.rules = {{rule("a"), 3}};
  rules.losses = {{7, "b", "something"}};
  std::vector<RuleChange> changes;
  ASSERT_FALSE(put_rules(rules, Earlier::unstated, transaction_, changes));
  ASSERT_EQ(2U, changes.size());
  EXPECT_EQ(3U, changes[0].line);
  EXPECT_EQ("string subject contains a: delete", changes[0].what);
  EXPECT_EQ(Kind::loses, changes[1].kind);
  EXPECT_EQ(7U, changes[1].line);
  EXPECT_EQ("something", changes[1].what);
}

TEST_F(PutRules, SaysAFilterInWords) {
  const auto filter = rule("a");
  filter->enabled = false;
  filter->relation = Filter__::ANYOF;
  filter->tests.push_back(subject_test("b"));
  filter->actions = {make_action("copy", "A"), make_action("delete")};
  std::vector<RuleChange> changes;
  ASSERT_FALSE(put_rules(numbered({filter}), Earlier::unstated, transaction_, changes));
  EXPECT_EQ("disabled: string subject contains a or string subject contains b: copy A, delete",
            changes[0].what);
}

TEST_F(PutRules, RefusesMoreFiltersThanThereMayBe) {
  std::vector<boost::shared_ptr<Filter__>> many;
  for (int left = 101; left > 0; --left) many.push_back(rule("a"));
  EXPECT_EQ(
      "alice@example.org: can't have 101 filters: has 100 filters, the most there may be; remove "
      "one first",
      put(numbered(many), Earlier::replaced));
}

}  // namespace
}  // namespace Quarrow::Importing
