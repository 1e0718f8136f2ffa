// Texts in our own formats that are taken over as they are, or refused.
#include "importing/rules_reader.h"

#include <gtest/gtest.h>
#include <quarrow/filter_list.h>

#include <random>

#include "administration/rules_json.h"
#include "administration/rules_text.h"
#include "tests/support/rules_test_support.h"

namespace Quarrow::Importing {
namespace {

using Administration::document_text;
using Administration::Refusal;
using Administration::rules_json;
using Delivery::FolderDots;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using MessageFilters::make_action;
using MessageFilters::make_rule;
using MessageFilters::make_test;
using MessageFilters::subject_test;

// "object: reason"; empty when nothing is refused.
std::string read_fault(RulesFormat format, const std::string& text) {
  ImportedRules rules;
  const Refusal refusal = read_rules(format, text, FolderDots::inbox, rules);
  return refusal ? refusal.object + ": " + refusal.reason : "";
}

// The rules document of what was read.
std::string read_back(RulesFormat format, const std::string& text) {
  ImportedRules rules;
  const Refusal refusal = read_rules(format, text, FolderDots::inbox, rules);
  EXPECT_FALSE(refusal) << refusal.object << ": " << refusal.reason;
  EXPECT_TRUE(rules.losses.empty());
  const auto list = FilterList__::Create();
  for (const auto& rule : rules.rules) list->append(rule.filter);
  return document_text(list);
}

// Filters of all kinds, by chance.
class RandomRules {
 public:
  explicit RandomRules(unsigned seed) : random_(seed) {}

  boost::shared_ptr<FilterList__> list() {
    const auto list = FilterList__::Create();
    for (unsigned left = below(8); left > 0; --left) list->append(filter());
    return list;
  }

 private:
  unsigned below(unsigned bound) { return static_cast<unsigned>(random_() % bound); }
  bool coin() { return below(2) == 1; }

  std::string text() {
    static const char* const pieces[] = {"a", "B", " ", "<", "&", "'", "\xC3\xB6", "]]>", "*", "9"};
    std::string text = "x";
    for (unsigned left = below(6); left > 0; --left) text += pieces[below(10)];
    return text + "x";
  }

  MessageFilters::Condition test() {
    static const MessageFilters::Condition kinds[] = {
        make_test("string", "subject", "is", ""),
        make_test("string", "to_cc", "contains", ""),
        make_test("string", "x-a", "begin_with", ""),
        make_test("string", "from_to_cc", "end_with", ""),
        make_test("address", "from", "is", "bob@example.org"),
        make_test("address", "cc", "contains", "bob"),
        make_test("size", "size", "greater", "5"),
        make_test("size", "size", "less", "7"),
        make_test("date", "zvx-received-date", "before", "2026-05-01")};
    auto test = kinds[below(9)];
    if (test.value.empty()) test.value = text();
    test.negative = coin();
    test.match_case = coin() && (test.comparator == "is" || test.comparator == "contains") &&
                      test.field.type != "date";
    return test;
  }

  boost::shared_ptr<Filter__> filter() {
    const auto filter = make_rule(text(), test(), coin());
    if (coin()) filter->relation = Filter__::ANYOF;
    for (unsigned left = below(9); left > 0; --left) filter->tests.push_back(test());
    if (below(9) == 0) filter->tests.clear();
    if (coin()) filter->actions = {make_action("copy", "A/" + text(), coin() ? text() : "")};
    if (coin()) filter->actions.push_back(make_action("move", "B\xC3\xBC" + text()));
    return filter;
  }

  std::minstd_rand random_;
};

TEST(ReadRules, TakesOverWhatWasWrittenWithoutALoss) {
  for (unsigned seed = 0; seed < 60; ++seed) {
    SCOPED_TRACE(seed);
    const auto list = RandomRules(seed).list();
    const std::string document = document_text(list);
    EXPECT_EQ(document, read_back(RulesFormat::json, rules_json(*list)));
    EXPECT_EQ(document, read_back(RulesFormat::xml, document));
  }
}

TEST(ReadRules, RefusesDocumentsThatDoNotReadBack) {
  const auto rule = make_rule("a", subject_test());
  rule->tests.push_back(subject_test("other"));
  const auto list = FilterList__::Create();
  list->append(rule);
  const std::string document = document_text(list);
  const struct {
    const char* part;
    const char* other;
    const char* fault;
  } cases[] = {
      {">contains<", ">resembles<", "not all of it can be read: test 1 of filter 1"},
      {"case=\"false\"", "case=\"maybe\"", "not all of it can be read: test 1 of filter 1"},
      {"name=\"a\"", "name=\"\"", "filter 1 of the file is damaged"},
      {"<tests", "<tastes", "it is not well-formed, or uses XML that is not read here"},
      {"<filter ", "<other/><filter ", "not all of it can be read: an element that is no filter"},
      {"<filters", "<!DOCTYPE a [<!ENTITY b 'c'>]><filters",
       "it is not well-formed, or uses XML that is not read here"}};
  for (const auto& c : cases) {
    std::string text = document;
    text.replace(text.find(c.part), std::string(c.part).size(), c.other);
    EXPECT_EQ(std::string("rules document: ") + c.fault, read_fault(RulesFormat::xml, text))
        << text;
  }
  EXPECT_EQ("rules document: the root element is not \"filters\"",
            read_fault(RulesFormat::xml, "<feed></feed>"));
  const std::string filter = document.substr(
      document.find("<filter "), document.find("</filters>") - document.find("<filter "));
  EXPECT_EQ("rules document: filter 2 of the file has the number of another one",
            read_fault(RulesFormat::xml, "<filters>" + filter + filter + "</filters>"));
}

TEST(ReadRules, RefusesFiltersThatAUserCouldNotMake) {
  const auto list = FilterList__::Create();
  const auto rule = make_rule("a", subject_test());
  list->append(rule);
  rule->actions = {make_action("move", "a//b")};
  const std::string fault =
      "filter 1, target: \"a//b\" can't be a folder: a level of it is empty; "
      "type a/b";
  EXPECT_EQ(fault, read_fault(RulesFormat::json, rules_json(*list)));
  EXPECT_EQ(fault, read_fault(RulesFormat::xml, document_text(list)));
  rule->actions = {make_action("delete")};
  rule->tests.front().field = {"address", "subject", true};
  EXPECT_EQ(
      "filter 1, field: \"subject\" does not hold addresses; type string subject contains "
      "word",
      read_fault(RulesFormat::json, rules_json(*list)));
}

TEST(ReadRules, RefusesWhatIsTooLongOrNotUtf8) {
  EXPECT_EQ("rules: more than 4 MiB; no rules are so long",
            read_fault(RulesFormat::json, std::string(most_import_bytes + 1, ' ')));
  EXPECT_EQ("rules: not UTF-8; iconv makes it so", read_fault(RulesFormat::sieve, "# caf\xE9"));
}

}  // namespace
}  // namespace Quarrow::Importing
