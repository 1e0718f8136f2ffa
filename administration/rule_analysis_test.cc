// Remarks on filters, and a proof by running them: what is said never to run never does.
#include "administration/rule_analysis.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>

#include "administration/rule_text.h"
#include "administration/rules_text.h"
#include "tests/support/evaluation_test_support.h"
#include "tests/support/rules_test_support.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::Condition;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using MessageFilters::make_action;
using MessageFilters::make_filter;
using RemarkKind = RuleRemark::Kind;

Condition test_of(const std::string& text) {
  Condition test;
  const Refusal refusal = read_test(text, test);
  EXPECT_FALSE(refusal) << text << ": " << refusal.reason;
  return test;
}

// A rule as "any" or "all" and its tests behind "; ", which files into the folder of its number.
void add_rule(FilterList__& list, const std::string& text) {
  const auto filter = make_filter("rule");
  std::istringstream parts(text);
  std::string part;
  parts >> part;
  filter->relation = part == "any" ? Filter__::ANYOF : Filter__::ALLOF;
  parts.ignore();
  while (std::getline(parts, part, ';')) filter->tests.push_back(test_of(part));
  ASSERT_TRUE(list.append(filter));
  filter->actions = {make_action("move", std::to_string(filter->id))};
}

boost::shared_ptr<FilterList__> list_of_rules(const std::vector<std::string>& rules) {
  const auto list = FilterList__::Create();
  for (const auto& rule : rules) add_rule(*list, rule);
  return list;
}

// "2 shadowed by 1", "1 contradiction", ..., one after the other.
std::string remarks_of(const FilterList__& list) {
  static const char* const words[] = {"contradiction", "takes_all", "shadowed", "whole_addresses"};
  std::string text;
  for (const RuleRemark& remark : rule_remarks(list)) {
    text += (text.empty() ? "" : ", ") + std::to_string(remark.filter) + ' ' +
            words[static_cast<int>(remark.kind)];
    const char* separator = " by ";
    for (const std::int32_t id : remark.earlier) {
      text += separator + std::to_string(id);
      separator = "+";
    }
  }
  return text;
}

struct Row {
  std::vector<std::string> rules;
  const char* remarks;
};

void expect_remarks(const std::vector<Row>& rows) {
  for (const Row& row : rows) {
    std::string rules;
    for (const auto& rule : row.rules) rules += rule + '\n';
    EXPECT_EQ(row.remarks, remarks_of(*list_of_rules(row.rules))) << rules;
  }
}

TEST(RuleAnalysis, FindsRulesWhoseTestsExcludeEachOther) {
  expect_remarks({
      {{"all string subject is a;string subject is b"}, "1 contradiction"},
      {{"any string subject is a;string subject is b"}, ""},
      {{"all string subject is A;string subject is a"}, ""},
      {{"all case string subject is A;case string subject is a"}, "1 contradiction"},
      {{"all string subject is abc;string subject contains B"}, ""},
      {{"all string subject is abc;string subject contains x"}, "1 contradiction"},
      {{"all string subject is abc;case string subject contains B"}, ""},
      {{"all case string subject is abc;case string subject contains B"}, "1 contradiction"},
      {{"all string subject begin_with ab;string subject begin_with Abc"}, ""},
      {{"all string subject begin_with ab;string subject begin_with ac"}, "1 contradiction"},
      {{"all string subject end_with b;string subject end_with a"}, "1 contradiction"},
      {{"all string subject begin_with a;string subject end_with b"}, ""},
      {{"all string subject is ab;string subject begin_with b"}, "1 contradiction"},
      {{"all string subject contains a;not string subject contains A"}, "1 contradiction"},
      {{"all not string subject contains a;not string subject contains b"}, ""},
      {{"all string subject contains ab;not string subject contains b"}, "1 contradiction"},
      {{"all string subject contains a;not string subject contains ab"}, ""},
      {{"all string subject contains a;not case string subject contains a"}, ""},
      {{"all string subject contains 1;not case string subject contains 1"}, "1 contradiction"},
      {{"all string subject contains a;not string list-id contains a"}, ""},
      {{"all size greater 10;size less 5"}, "1 contradiction"},
      {{"all size greater 5;size less 10"}, ""},
      {{"all not size greater 10;size less 10"}, ""},
      {{"all size greater 10;not size greater 10"}, "1 contradiction"},
      {{"all date zvx-received-date before 2026-05-01;date zvx-received-date after 2026-05-01"},
       "1 contradiction"},
      {{"all date zvx-received-date is 2026-05-01;not date zvx-received-date after 2026-04-30"},
       "1 contradiction"},
      {{"all date date is 2026-05-01;not date date is 2026-05-01"}, "1 contradiction"},
      {{"all date date is 2026-05-01;date date is 2026-05-02"}, ""},
  });
}

// A header holds several addresses, and several headers hold one text each.
TEST(RuleAnalysis, KnowsFieldsOfSeveralValues) {
  expect_remarks({
      {{"all address to is a@b;address to is c@d"}, ""},
      {{"all address to is a@b;not address to contains A@"}, "1 contradiction"},
      {{"all address to is a@b;not address to_cc is a@b"}, "1 contradiction"},
      {{"all address to_cc is a@b;not address to is a@b"}, ""},
      {{"all address to_cc is a@b;not address to is a@b;not address cc is a@b"}, "1 contradiction"},
      {{"all string to_cc contains a;string to_cc contains b"}, ""},
      {{"all string To contains a;not string to contains a"}, "1 contradiction"},
      {{"all address to is a@b;not string to contains a"}, ""},
  });
}

TEST(RuleAnalysis, FindsRulesThatEarlierOnesLeaveNothing) {
  expect_remarks({
      {{"all string subject contains a", "all string subject contains a"}, "2 shadowed by 1"},
      {{"all string subject contains a", "all string subject contains ab"}, "2 shadowed by 1"},
      {{"all string subject contains ab", "all string subject contains a"}, ""},
      {{"all string subject contains b", "all string subject is abc"}, "2 shadowed by 1"},
      {{"all string subject contains b", "all string subject begin_with abc"}, "2 shadowed by 1"},
      {{"all string subject begin_with b", "all string subject contains b"}, ""},
      {{"all string subject begin_with b", "all string subject end_with b"}, ""},
      {{"all case string subject is b", "all string subject is b"}, ""},
      {{"all string subject is b", "all case string subject is B"}, "2 shadowed by 1"},
      {{"all size greater 10", "all size greater 20"}, "2 shadowed by 1"},
      {{"all size greater 20", "all size greater 10"}, ""},
      {{"all size less 20", "all size less 20;string subject contains a"}, "2 shadowed by 1"},
      {{"all size less 20;string subject contains a", "all size less 20"}, ""},
      {{"any size less 20;string subject contains a", "all size less 20"}, "2 shadowed by 1"},
      {{"all size less 20", "any size less 20;string subject contains a"}, ""},
      {{"any string subject contains a;string subject contains b",
        "any string subject contains b;string subject is xa"},
       "2 shadowed by 1"},
      {{"all not string subject contains ab", "all not string subject contains a"},
       "2 shadowed by 1"},
      {{"all not string subject contains a", "all not string subject contains ab"}, ""},
  });
}

TEST(RuleAnalysis, FindsRulesThatSeveralEarlierOnesLeaveNothing) {
  expect_remarks({
      {{"all size greater 9", "all size less 10", "all string subject contains a"},
       "3 shadowed by 1+2"},
      {{"all string subject contains x", "all size greater 9", "any size less 9;size greater 20",
        "all size less 10", "all string subject contains a"},
       "5 shadowed by 2+4"},
      {{"all string subject contains a", "all string subject contains b",
        "any string subject is a;string subject is b"},
       "3 shadowed by 1+2"},
      {{"all size greater 10", "all size less 10", "all string subject contains a"}, ""},
  });
}

TEST(RuleAnalysis, FindsRulesThatTakeEverything) {
  expect_remarks({
      {{"any string subject contains a;not string subject contains a"}, "1 takes_all"},
      {{"any string subject contains a;not string subject contains ab"}, "1 takes_all"},
      {{"any string subject contains ab;not string subject contains a"}, ""},
      {{"any size less 20;size greater 10"}, "1 takes_all"},
      {{"any size less 10;size greater 10"}, ""},
      {{"any date zvx-received-date before 2026-05-02;date zvx-received-date after 2026-05-01"},
       ""},
      {{"any size less 20;size greater 10", "all string subject contains a"},
       "1 takes_all, 2 shadowed by 1"},
  });
}

TEST(RuleAnalysis, FindsComparisonsOfWholeAddressHeaders) {
  expect_remarks({
      {{"all string from is bob@example.org"}, "1 whole_addresses"},
      {{"all string to_cc is bob@example.org"}, "1 whole_addresses"},
      {{"all not string Reply-To is bob@example.org"}, "1 whole_addresses"},
      {{"all string from contains bob@example.org"}, ""},
      {{"all address from is bob@example.org"}, ""},
      {{"all string subject is bob@example.org"}, ""},
  });
}

TEST(RuleAnalysis, ComparesOtherDatesByTheirWordsAlone) {
  expect_remarks({{{"all date date is 2026-05-01; not date date is 2026-05-01"}, "1 contradiction"},
                  {{"all date date is 2026-05-01; not date date is 2026-05-02"}, ""},
                  {{"all date date is 2026-05-01; not date date after 2026-05-01"}, ""},
                  {{"all date date is 2026-05-01; not date x-date is 2026-05-01"}, ""},
                  {{"all date date is 2026-05-01; string subject is a"}, ""},
                  {{"all not date date is 2026-05-01; not date date is 2026-05-02"}, ""},
                  {{"all date zvx-received-date is 2026; not date zvx-received-date is 2026"},
                   "1 contradiction"}});
}

TEST(RuleAnalysis, SaysNothingOfSizesThatAreNone) {
  expect_remarks(
      {{{"all size size greater 12345678; not size size greater 12345678"}, ""},
       {{"all size size greater 2097152; not size size greater 2097152"}, ""},
       {{"all size size greater 2097151; not size size greater 2097151"}, "1 contradiction"}});
}

TEST(RuleAnalysis, FindsNoCapitalsBetweenTheLetters) {
  expect_remarks(
      {{{"all string subject is {_1}; not case string subject is {_1}"}, "1 contradiction"},
       {{"all string subject is {_a}; not case string subject is {_a}"}, ""}});
}

TEST(RuleAnalysis, LeavesFiltersWithoutTestsOut) {
  expect_remarks({{{"all", "all string subject is a"}, ""}});
}

TEST(RuleAnalysis, LeavesDisabledFiltersOut) {
  const auto list = list_of_rules({"all size less 20", "all size less 10"});
  list->filters.front()->enabled = false;
  EXPECT_EQ("", remarks_of(*list));
}

// The interpreter stumbles over such headers, and over the next addresses because of that.
TEST(RuleAnalysis, SaysNothingOfAddressesWhereTheyMayBeUnreadable) {
  expect_remarks({
      {{"all address to is a@b", "all address to is a@b"}, "2 shadowed by 1"},
      {{"all address x-odd is a@b", "all address to is a@b", "all address to is a@b"}, ""},
  });
}

TEST(RuleAnalysis, SaysNothingOfScriptsOfAnotherForm) {
  const auto broken = [](const auto& change) {
    const auto list = list_of_rules({"all size less 20", "all size less 10"});
    change(*list->filters.front());
    return remarks_of(*list);
  };
  EXPECT_EQ("2 shadowed by 1", broken([](Filter__&) {}));
  EXPECT_EQ("", broken([](Filter__& filter) { filter.name = "a\n/* "; }));
  EXPECT_EQ("", broken([](Filter__& filter) { filter.actions.front().target = "a\"; /*"; }));
  EXPECT_EQ("",
            broken([](Filter__& filter) { filter.tests.front().value = "9K {stop;} if size"; }));
  EXPECT_EQ("", broken([](Filter__& filter) { filter.tests.front().field.name = "\\"; }));
}

TEST(RuleAnalysis, SaysWhatTakesTheMessages) {
  const auto remarks = rule_remarks(*list_of_rules({"all size less 20", "all size less 10"}));
  ASSERT_EQ(1U, remarks.size());
  EXPECT_EQ("never runs: filter 1 in front of it takes every message that it would take",
            remarks[0].reason);
  EXPECT_EQ("put it in front of filter 1, or remove it", remarks[0].advice);
  EXPECT_TRUE(concerns(remarks[0], 1));
  EXPECT_TRUE(concerns(remarks[0], 2));
  EXPECT_FALSE(concerns(remarks[0], 3));
}

TEST(RuleAnalysis, ListsThoseThatTakeTheMessagesTogether) {
  const auto remarks = rule_remarks(
      *list_of_rules({"all string subject contains a", "all string subject contains b",
                      "all string subject contains c",
                      "any string subject is a; string subject is b; string subject is c"}));
  ASSERT_EQ(1U, remarks.size());
  EXPECT_EQ("put it in front of filters 1, 2 and 3, or remove it", remarks[0].advice);
}

// Random rules and messages of few words, so that they often have to do with each other.
class Chance {
 public:
  explicit Chance(unsigned seed) : engine_(seed) {}

  std::size_t below(std::size_t count) { return engine_() % count; }

  std::string one_of(const std::vector<std::string>& words) { return words[below(words.size())]; }

  std::string test() {
    const std::string negation = below(3) == 0 ? "not " : "";
    switch (below(6)) {
      case 0:
        return negation + "size " + one_of({"greater ", "less "}) + one_of({"1", "2", "3"});
      case 1:
        return negation + "date zvx-received-date " + one_of({"before ", "after ", "is "}) +
               one_of({"2026-05-03", "2026-05-04", "2026-05-05"});
      case 2:
        return negation + one_of({"", "case "}) + "address " +
               one_of({"from", "to", "cc", "to_cc", "from_to_cc"}) +
               one_of({" is ", " contains "}) + one_of({"a@b", "A@b", "ab@b", "b@a", "b"});
      default:
        return negation + string_test();
    }
  }

  std::string rule() {
    std::string text = one_of({"any ", "all "}) + test();
    for (std::size_t more = below(3); more > 0; --more) text += ';' + test();
    return text;
  }

  std::string message() {
    std::string text;
    for (const char* header : {"Subject: ", "List-Id: "})
      if (below(4) > 0) text += header + word() + "\r\n";
    for (const char* header : {"From: ", "To: ", "Cc: "})
      if (below(3) > 0) text += header + addresses() + "\r\n";
    text += "\r\n";
    const std::size_t size = one_of_sizes();
    if (text.size() < size) text.resize(size, 'x');
    return text;
  }

 private:
  std::string string_test() {
    const std::string field =
        one_of({"subject", "Subject", "subject", "list-id", "to", "to_cc", "from_to_cc"});
    const std::string comparator = one_of({" is ", " contains ", " begin_with ", " end_with "});
    const bool can_tell = comparator == " is " || comparator == " contains ";
    return (can_tell && below(3) == 0 ? "case string " : "string ") + field + comparator + word();
  }

  std::string word() {
    return one_of({"a", "A", "b", "ab", "aB", "ba", "aba", "1", "a1", "a@b", "\xc3\xa4"});
  }

  std::string addresses() {
    std::string text = one_of({"a@b", "A@b", "ab@b", "Ab <b@a>", "a"});
    if (below(3) == 0) text += ", " + one_of({"a@b", "b@a"});
    return text;
  }

  std::size_t one_of_sizes() {
    static const std::size_t sizes[] = {0, 1023, 1024, 1025, 2048, 2049, 3071, 3072, 3073};
    return sizes[below(std::size(sizes))];
  }

  std::mt19937 engine_;
};

constexpr long day = 86400;
constexpr long noon = 1777896000;  // 2026-05-04 12:00 UTC

// What is remarked of a list, against what its script does with many messages.
class RemarksAgainstRuns {
 public:
  void run(Chance& chance, std::size_t rules, int messages) {
    std::vector<std::string> texts;
    while (texts.size() < rules) texts.push_back(chance.rule());
    const auto list = list_of_rules(texts);
    const auto remarks = rule_remarks(*list);
    if (remarks.empty()) return;
    const auto matcher = matcher_of(script_text(list, false));
    ASSERT_TRUE(matcher);
    for (int i = 0; i < messages; ++i) {
      const std::string message = chance.message();
      const long time = noon + day * (static_cast<long>(chance.below(3)) - 1);
      const std::string decided = text_of(outcome(*matcher, message, time));
      for (const RuleRemark& remark : remarks) check(remark, decided, texts, message);
    }
  }

  int silent = 0;     // how often a filter that never runs was looked for
  int takes_all = 0;  // how often a filter that takes all was seen not to let a message pass

 private:
  void check(const RuleRemark& remark, const std::string& decided,
             const std::vector<std::string>& rules, const std::string& message) {
    if (remark.kind == RemarkKind::contradiction || remark.kind == RemarkKind::shadowed) {
      ++silent;
      EXPECT_EQ(std::string::npos, decided.find(std::to_string(remark.filter)))
          << shown(rules, message) << decided;
    }
    if (remark.kind == RemarkKind::takes_all) {
      ++takes_all;
      EXPECT_EQ(std::string::npos, decided.find("[]")) << shown(rules, message) << decided;
    }
  }

  static std::string shown(const std::vector<std::string>& rules, const std::string& message) {
    std::string text;
    for (const auto& rule : rules) text += rule + '\n';
    return text + message.substr(0, 200);
  }
};

TEST(RuleAnalysis, SaysOfNoRuleThatRunsThatItNeverDoes) {
  Chance chance(20260504);
  RemarksAgainstRuns against;
  for (int i = 0; i < 2000; ++i) against.run(chance, 2 + chance.below(2), 20);
  EXPECT_LT(1000, against.silent);  // else nothing was tried
  EXPECT_LT(100, against.takes_all);
}

}  // namespace
}  // namespace Quarrow::Administration
