// Conditions of any shape that become filters.
#include "importing/condition.h"

#include <gtest/gtest.h>

#include "importing/importing_test_support.h"
#include "tests/support/rules_test_support.h"

namespace Quarrow::Importing {
namespace {

Condition leaf(const std::string& value) {
  return single(MessageFilters::make_test("string", "x", "is", value));
}

std::string filters_of(const Condition& condition) {
  RuleDraft draft;
  draft.line = 1;
  draft.name = "r";
  draft.condition = condition;
  draft.actions = {MessageFilters::make_action("delete")};
  ImportedRules rules;
  add_rule(draft, rules);
  return told(rules);
}

const char too_much[] =
    "1 r loses the condition takes more tests or filters than there may be; the rule is left out\n";

TEST(AddRule, MakesOneFilterOfOneList) {
  EXPECT_EQ("1 r: string x is a; -> delete\n", filters_of(leaf("a")));
  EXPECT_EQ("1 r: string x is a; string x is b; -> delete\n",
            filters_of(all_of({leaf("a"), leaf("b")})));
  EXPECT_EQ("1 r: any: string x is a; string x is b; -> delete\n",
            filters_of(any_of({leaf("a"), leaf("b")})));
}

TEST(AddRule, TurnsANegationInside) {
  EXPECT_EQ("1 r: not string x is a; not string x is b; -> delete\n",
            filters_of(negated(any_of({leaf("a"), leaf("b")}))));
  EXPECT_EQ("1 r: any: not string x is a; string x is b; -> delete\n",
            filters_of(negated(all_of({leaf("a"), negated(leaf("b"))}))));
}

TEST(AddRule, MakesAFilterForEachAlternative) {
  EXPECT_EQ(
      "1 r: string x is a; string x is b; -> delete\n"
      "1 r (2): string x is a; string x is c; -> delete\n"
      "1 r (3): string x is d; -> delete\n",
      filters_of(any_of({all_of({leaf("a"), any_of({leaf("b"), leaf("c")})}), leaf("d")})));
}

TEST(AddRule, SpreadsManyTestsOverFilters) {
  std::vector<Condition> twelve(12, leaf("a"));
  const std::string text = filters_of(any_of(twelve));
  EXPECT_NE(std::string::npos, text.find("1 r (2): any: string x is a; string x is a; ->")) << text;
  EXPECT_EQ(too_much, filters_of(all_of(twelve)));
}

TEST(AddRule, KnowsAlwaysAndNever) {
  EXPECT_EQ("1 r: size greater 0; -> delete\n", filters_of(all_of({})));
  EXPECT_EQ("", filters_of(any_of({})));
  EXPECT_EQ("", filters_of(all_of({leaf("a"), any_of({})})));
  EXPECT_EQ("1 r: any: string x is a; size greater 0; -> delete\n",
            filters_of(any_of({leaf("a"), all_of({})})));
}

TEST(AddRule, RefusesConditionsWithoutEnd) {
  std::vector<Condition> pairs(8, any_of({leaf("a"), leaf("b")}));
  EXPECT_EQ(too_much, filters_of(all_of(pairs)));
  std::vector<Condition> many(300, leaf("a"));
  EXPECT_EQ(too_much, filters_of(any_of(many)));
  EXPECT_EQ(too_much,
            filters_of(any_of(std::vector<Condition>(21, all_of({leaf("a"), leaf("b")})))));
}

}  // namespace
}  // namespace Quarrow::Importing
