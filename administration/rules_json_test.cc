// Filters that go to JSON and come back, and JSON that is refused.
#include "administration/rules_json.h"

#include <gtest/gtest.h>

#include "administration/administration_test_support.h"
#include "tests/support/rules_test_support.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using MessageFilters::make_action;
using MessageFilters::make_filter;
using MessageFilters::make_rule;
using MessageFilters::make_test;
using MessageFilters::subject_test;

const char two_filters[] = R"([
  {
    "id": 1,
    "enabled": true,
    "name": "a \"quoted\" B)"
                           "\xC3\xBC"
                           R"(ro",
    "relation": "allof",
    "tests": [
      {
        "type": "string",
        "field": "subject",
        "comparator": "contains",
        "value": "word",
        "negative": false,
        "match_case": false
      }
    ],
    "actions": [
      {
        "method": "copy",
        "target": "Old mail/2026"
      },
      {
        "method": "delete"
      }
    ]
  },
  {
    "id": -7,
    "enabled": false,
    "name": "b",
    "relation": "anyof",
    "tests": [
      {
        "type": "size",
        "field": "size",
        "comparator": "less",
        "value": "5",
        "negative": true,
        "match_case": true
      }
    ],
    "actions": [
      {
        "method": "delete"
      }
    ]
  }
])";

// The list of which `two_filters` is the JSON.
boost::shared_ptr<FilterList__> two_filters_list() {
  const auto list = FilterList__::Create();
  const auto first = make_rule("a \"quoted\" B\xC3\xBCro", subject_test());
  first->id = 1;
  first->actions = {make_action("copy", "Old mail/2026"), make_action("delete")};
  const auto second = make_rule("b", make_test("size", "size", "less", "5"), false);
  second->id = -7;
  second->relation = Filter__::ANYOF;
  second->tests.front().negative = second->tests.front().match_case = true;
  list->append(first);
  list->append(second);
  return list;
}

// A list of one filter as JSON, with `part` replaced by `other`.
std::string with(const std::string& part, const std::string& other) {
  std::string json =
      R"([{"id": 1, "enabled": true, "name": "a", "relation": "allof",)"
      R"( "tests": [{"type": "string", "field": "subject", "comparator": "is", "value": "x",)"
      R"( "negative": false, "match_case": false}],)"
      R"( "actions": [{"method": "move", "target": "Box"}]}])";
  const std::size_t place = json.find(part);
  EXPECT_NE(std::string::npos, place) << part;
  return json.replace(place, part.size(), other);
}

// The same with a second filter behind the first.
std::string followed_by(const std::string& second) {
  const std::string first = with("\"id\"", "\"id\"");
  return first.substr(0, first.size() - 1) + ", " + second + "]";
}

struct WrongText {
  std::string json;
  Kind kind;
  std::string place;
  std::string reason;
};

std::vector<WrongText> wrong_values() {
  const char number[] = "must be a whole number of 32 bits other than 0";
  return {
      {with("\"id\": 1", "\"id\": \"1\""), Kind::wrong_json, "filters[0].id", number},
      {with("\"id\": 1", "\"id\": 1.5"), Kind::wrong_json, "filters[0].id", number},
      {with("\"id\": 1", "\"id\": 0"), Kind::wrong_json, "filters[0].id", number},
      {with("\"id\": 1", "\"id\": 2147483648"), Kind::wrong_json, "filters[0].id", number},
      {with("\"id\": 1", "\"id\": -2147483649"), Kind::wrong_json, "filters[0].id", number},
      {with("\"id\": 1", "\"id\": 18446744073709551615"), Kind::wrong_json, "filters[0].id",
       number},
      {with("\"enabled\": true", "\"enabled\": 1"), Kind::wrong_json, "filters[0].enabled",
       "must be true or false"},
      {with("\"name\": \"a\"", "\"name\": null"), Kind::wrong_json, "filters[0].name",
       "must be a text"},
      {with("\"x\"", "5"), Kind::wrong_json, "filters[0].tests[0].value", "must be a text"},
      {with("\"negative\": false", "\"negative\": \"no\""), Kind::wrong_json,
       "filters[0].tests[0].negative", "must be true or false"},
      {with("[{\"method\": \"move\", \"target\": \"Box\"}]", "{}"), Kind::wrong_json,
       "filters[0].actions", "must be a list"},
      {with("{\"method\": \"move\", \"target\": \"Box\"}", "\"delete\""), Kind::wrong_json,
       "filters[0].actions[0]", "must be an object"},
      {with("\"Box\"", "\"\""), Kind::wrong_json, "filters[0].actions[0].target",
       "empty; leave the member out"},
      {with("\"Box\"", "7"), Kind::wrong_json, "filters[0].actions[0].target", "must be a text"},
      {"[1]", Kind::wrong_json, "filters[0]", "must be an object"},
      {"7", Kind::wrong_json, "filters", "must be a list"},
      {"{\"revision\": 7, \"filters\": []}", Kind::wrong_json, "rules.revision", "must be a text"},
      {"{\"revision\": \"\", \"filters\": {}}", Kind::wrong_json, "rules.filters",
       "must be a list"}};
}

std::vector<WrongText> wrong_words() {
  return {{with("\"allof\"", "\"all\""), Kind::wrong_rule, "filters[0].relation",
           "unknown relation \"all\"; the relations are allof, anyof"},
          {with("\"string\"", "\"text\""), Kind::wrong_rule, "filters[0].tests[0].type",
           "unknown type \"text\"; the types are string, address, size, date"},
          {with("\"is\"", "\"equals\""), Kind::wrong_rule, "filters[0].tests[0].comparator",
           "unknown comparator \"equals\"; the comparators of string are is, contains, "
           "begin_with, end_with; did you mean \"is\"?"},
          {with("\"is\"", "\"less\""), Kind::wrong_rule, "filters[0].tests[0].comparator",
           "\"less\" does not go with string; its comparators are is, contains, begin_with, "
           "end_with"},
          {with("\"move\"", "\"burn\""), Kind::wrong_rule, "filters[0].actions[0].method",
           "unknown action \"burn\"; the actions are move, copy, delete"},
          {with(", \"target\": \"Box\"", ""), Kind::wrong_rule, "filters[0].actions[0].target",
           "\"move\" needs a folder, such as move Reports"},
          {with("\"name\": \"a\"", "\"name\": \"\""), Kind::no_name, "filters[0].name",
           "a filter needs a name"},
          {with("{\"method\": \"move\", \"target\": \"Box\"}", ""), Kind::no_actions,
           "filters[0].actions", "a filter without an action does nothing"}};
}

std::vector<WrongText> wrong_texts() {
  return {{"", Kind::wrong_json, "filters", "no JSON from byte 1 on"},
          {"[,]", Kind::wrong_json, "filters", "no JSON from byte 2 on"},
          {"[] x", Kind::wrong_json, "filters", "no JSON from byte 4 on"},
          {"[\"\xE9\"]", Kind::wrong_json, "filters", "no JSON from byte 4 on"},
          {"[1e999]", Kind::wrong_json, "filters", "holds a number that is too large"},
          {std::string(500000, '['), Kind::wrong_json, "filters", "no JSON from byte 500001 on"},
          {with("\"x\"", std::string(500000, '[') + std::string(500000, ']')), Kind::wrong_json,
           "filters", "holds values too deep inside each other"},
          {with("\"name\": \"a\"", "\"name\": \"a\", \"name\": \"b\""), Kind::wrong_json, "filters",
           "the member \"name\" comes twice in one object"}};
}

void expect_refusals(const std::vector<WrongText>& cases) {
  for (const auto& c : cases) {
    SCOPED_TRACE(c.json);
    const auto before = FilterList__::Create();
    auto filters = before;
    expect_refusal(c.kind, c.place, c.reason, read_rules_json(c.json, filters));
    EXPECT_EQ(before, filters);
  }
}

std::string written_again(const std::string& json) {
  auto filters = FilterList__::Create();
  EXPECT_EQ("", said(read_rules_json(json, filters)));
  return rules_json(*filters);
}

TEST(RulesJson, HasAMemberForEveryPart) {
  EXPECT_EQ(two_filters, rules_json(*two_filters_list()));
  EXPECT_EQ("[]", rules_json(*FilterList__::Create()));
}

TEST(RulesJson, ReplacesBytesThatAreNotUtf8) {
  const auto list = FilterList__::Create();
  list->append(make_filter("caf\xE9"));
  EXPECT_NE(std::string::npos, rules_json(*list).find("\"caf\xEF\xBF\xBD\""));
}

TEST(ReadRulesJson, ReadsEveryPart) {
  boost::shared_ptr<FilterList__> filters;
  ASSERT_EQ("", said(read_rules_json(two_filters, filters)));
  ASSERT_EQ(2U, filters->filters.size());
  const Filter__& filter = *filters->filters.back();
  EXPECT_EQ(-7, filter.id);
  EXPECT_FALSE(filter.enabled);
  EXPECT_EQ("b", filter.name);
  EXPECT_EQ("anyof", filter.relation);
  ASSERT_EQ(1U, filter.tests.size());
  const auto& test = filter.tests.front();
  EXPECT_EQ("size", test.field.type);
  EXPECT_EQ("size", test.field.name);
  EXPECT_EQ("less", test.comparator);
  EXPECT_EQ("5", test.value);
  EXPECT_TRUE(test.negative);
  EXPECT_TRUE(test.match_case);
  const auto& action = filters->filters.front()->actions.front();
  EXPECT_EQ("copy", action.method);
  EXPECT_EQ("Old mail/2026", action.target);
}

TEST(ReadRulesJson, IsTheOppositeOfWriting) {
  const std::string without_tests = rules_json(*[] {
    const auto list = FilterList__::Create();
    list->append(make_filter("never runs"));
    return list;
  }());
  for (const std::string& json : {std::string(two_filters), std::string("[]"), without_tests})
    EXPECT_EQ(json, written_again(json));
}

TEST(ReadRulesJson, ReadsAnObjectWithTheRevision) {
  const auto written = FilterList__::Create();
  ASSERT_TRUE(written->append(MessageFilters::make_rule("a", MessageFilters::subject_test())));
  const std::string json = rules_json(*written, "0123456789ab");
  EXPECT_EQ(0U, json.find("{\n  \"revision\": \"0123456789ab\",\n  \"filters\": [\n    {\n"));
  auto read = FilterList__::Create();
  EXPECT_EQ("", said(read_rules_json(json, read)));
  EXPECT_EQ(rules_json(*written), rules_json(*read));
  expect_refusal(Kind::wrong_json, "rules.filters", "missing",
                 read_rules_json("{\"revision\": \"\"}", read));
  expect_refusal(Kind::wrong_json, "rules.other", "unknown member",
                 read_rules_json("{\"revision\": \"\", \"filters\": [], \"other\": 1}", read));
}

TEST(ReadRulesJson, ReadsTheValueOfAnAction) {
  const std::string json = written_again(with("\"Box\"", "\"Box\", \"value\": \"kept\""));
  EXPECT_NE(std::string::npos, json.find("\"value\": \"kept\"")) << json;
}

TEST(ReadRulesJson, ReadsMembersInAnyOrder) {
  const std::string json = with("{\"method\": \"move\", \"target\": \"Box\"}",
                                "{\"target\": \"Box\", \"method\": \"move\"}");
  EXPECT_EQ(written_again(with("Box", "Box")), written_again(json));
}

TEST(ReadRulesJson, RefusesValuesOfAWrongType) { expect_refusals(wrong_values()); }

TEST(ReadRulesJson, RefusesWrongWords) { expect_refusals(wrong_words()); }

TEST(ReadRulesJson, RefusesWhatIsNoJson) { expect_refusals(wrong_texts()); }

TEST(ReadRulesJson, RefusesAMissingMemberAndAnUnknownOne) {
  const struct {
    const char* member;
    const char* place;
  } members[] = {{"id", "filters[0]"},
                 {"enabled", "filters[0]"},
                 {"name", "filters[0]"},
                 {"relation", "filters[0]"},
                 {"tests", "filters[0]"},
                 {"actions", "filters[0]"},
                 {"type", "filters[0].tests[0]"},
                 {"field", "filters[0].tests[0]"},
                 {"comparator", "filters[0].tests[0]"},
                 {"value", "filters[0].tests[0]"},
                 {"negative", "filters[0].tests[0]"},
                 {"match_case", "filters[0].tests[0]"},
                 {"method", "filters[0].actions[0]"}};
  std::vector<WrongText> cases;
  for (const auto& row : members) {
    const std::string name = std::string("\"") + row.member + "\": ";
    const std::string place = row.place;
    cases.push_back(
        {with(name, "\"other\": "), Kind::wrong_json, place + '.' + row.member, "missing"});
    cases.push_back({with(name, "\"other\": 1, " + name), Kind::wrong_json, place + ".other",
                     "unknown member"});
  }
  expect_refusals(cases);
}

TEST(ReadRulesJson, RefusesMoreTestsThanAFilterMayHave) {
  const std::string test =
      R"({"type": "string", "field": "subject", "comparator": "is", "value": "x",)"
      R"( "negative": false, "match_case": false})";
  std::string tests = test;
  for (int count = 1; count < 11; ++count) tests += ", " + test;
  expect_refusals({{with(test, tests), Kind::too_many_tests, "filters[0].tests",
                    "a filter has at most 10 tests; spread them over several filters"}});
}

TEST(ReadRulesJson, RefusesTwoFiltersOfOneNumber) {
  const std::string filter = with("\"id\"", "\"id\"");
  const std::string second = filter.substr(1, filter.size() - 2);
  expect_refusals(
      {{followed_by(second), Kind::wrong_json, "filters[1].id", "1 is another filter's number"}});
}

TEST(ReadRulesJson, CountsThePlacesFromZero) {
  const std::string filter = with("\"is\"", "\"equals\"");
  std::string second = filter.substr(1, filter.size() - 2);
  second.replace(second.find("\"id\": 1"), 7, "\"id\": 2");
  auto filters = FilterList__::Create();
  EXPECT_EQ("filters[1].tests[0].comparator", read_rules_json(followed_by(second), filters).object);
}

}  // namespace
}  // namespace Quarrow::Administration
