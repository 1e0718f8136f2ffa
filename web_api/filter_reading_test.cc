// Filters from strangers' JSON.
#include "web_api/filter_reading.h"

#include "web_api/web_api_test_support.h"

namespace Quarrow::WebApi {
namespace {

// The places of the mistakes in a filter, with a blank behind each.
std::string places(const ordered_json& json) {
  Mistakes mistakes;
  (void)read_filter(json, {}, mistakes);
  std::string text;
  for (const auto& mistake : mistakes) text += mistake.pointer + ' ';
  return text;
}

TEST(FilterReading, TakesWhatTheApiShows) {
  Mistakes mistakes;
  ordered_json json = filter_named("Reports");
  json["id"] = 7;
  json["sentence"] = "anything";
  json["warnings"] = ordered_json::array({1});
  const auto filter = read_filter(json, {}, mistakes);
  EXPECT_TRUE(mistakes.empty());
  EXPECT_EQ(7, filter->id);
  EXPECT_EQ("Reports", filter->name);
  EXPECT_EQ("word", filter->tests.front().value);
  EXPECT_EQ("Work", filter->actions.front().target);
}

TEST(FilterReading, GivesNoNumber) {
  Mistakes mistakes;
  EXPECT_EQ(0, read_filter(filter_named("a"), {}, mistakes)->id);
}

TEST(FilterReading, TellsAllMistakesAtTheirPlaces) {
  ordered_json json = filter_named("");
  json["tests"].push_back(json["tests"][0]);
  json["tests"][1]["value"] = "";
  json["tests"].push_back({{"type", "size"}});
  json["actions"].push_back({{"method", "burn"}});
  json["actions"].push_back({{"method", "move"}, {"target", "a\\b"}});
  EXPECT_EQ("/tests/1/value /tests/2/field /actions/1/method /actions/2/target /name ",
            places(json));
}

TEST(FilterReading, RefusesWhatIsNoFilter) {
  const struct {
    const char* change;  // members in place of a filter's own, or all of it
    const char* places;
  } rows[] = {{R"({"id": 0})", "/id "},
              {R"({"id": 2147483648})", "/id "},
              {R"({"id": -2147483649})", "/id "},
              {R"({"id": 18446744073709551615})", "/id "},
              {R"({"id": 1.5})", "/id "},
              {R"({"enabled": 1})", "/enabled "},
              {R"({"name": null})", "/name "},
              {R"({"name": "a\u0000b"})", "/name "},
              {R"({"name": "a\nb"})", "/name "},
              {R"({"relation": "all"})", "/relation "},
              {R"({"tests": {}})", "/tests "},
              {R"({"tests": []})", "/tests "},
              {R"({"tests": [[]]})", "/tests/0 "},
              {R"({"tests": [null, 1]})", "/tests/0 /tests/1 "},
              {R"({"actions": "a"})", "/actions "},
              {R"({"actions": []})", "/actions "},
              {R"({"actions": [{}]})", "/actions/0/method "},
              {R"({"a/b~c.d": 1})", "/a~1b~0c.d "},
              {R"({"": 1})", "/ "}};
  for (const auto& row : rows) {
    ordered_json json = filter_named("a");
    json.update(ordered_json::parse(row.change));
    EXPECT_EQ(row.places, places(json)) << row.change;
  }
  for (const char* other : {"[]", "null", "1", "\"a\""})
    EXPECT_EQ(" ", places(ordered_json::parse(other))) << other;
}

TEST(FilterReading, TakesAsManyTestsAsAFilterMayHave) {
  ordered_json json = filter_named("a");
  while (json["tests"].size() < 10) json["tests"].push_back(json["tests"][0]);
  EXPECT_EQ("", places(json));
  json["tests"].push_back(json["tests"][0]);
  EXPECT_EQ("/tests ", places(json));
}

TEST(FilterReading, GoesByTheDotsOfDelivery) {
  ordered_json json = filter_named("a");
  json["actions"][0]["target"] = "v1.2";
  EXPECT_EQ("/actions/0/target ", places(json));
  Mistakes mistakes;
  (void)read_filter(json, {"", Delivery::FolderDots::listescape}, mistakes);
  EXPECT_TRUE(mistakes.empty());
}

}  // namespace
}  // namespace Quarrow::WebApi
