// JSON that is read, and JSON that is not.
#include "administration/json_text.h"

#include <gtest/gtest.h>

#include "administration/administration_test_support.h"

namespace Quarrow::Administration {
namespace {

using nlohmann::ordered_json;

TEST(JsonText, IsReadWithTheOrderOfItsMembers) {
  ordered_json json;
  EXPECT_EQ("", said(read_json_text(R"({"b": [1, null], "a": "ü"})", "body", json)));
  EXPECT_EQ(R"({"b":[1,null],"a":"ü"})", json.dump());
}

TEST(JsonText, IsRefusedWithThePlaceOfTheFault) {
  const struct {
    std::string text;
    const char* reason;
  } rows[] = {
      {"", "no JSON from byte 1 on"},
      {"[1,]", "no JSON from byte 4 on"},
      {"[\"a\xff\"]", "no JSON from byte 4 on"},
      {std::string("[\"a\0\"]", 6), "no JSON from byte 4 on"},
      {R"(["\ud800"])", "no JSON from byte 9 on"},
      {std::string("[1]\0 x", 6), "no JSON from byte 4 on"},
      {"[1] x", "no JSON from byte 5 on"},
      {"[1e999]", "holds a number that is too large"},
      {R"([{"a": 1}, {"b": {"a": 1}, "b": 2}])", "the member \"b\" comes twice in one object"},
      {"[[[[[[[[[1]]]]]]]]]", "holds values too deep inside each other"},
      {std::string(100000, '['), "no JSON from byte 100001 on"}};
  for (const auto& row : rows) {
    ordered_json json;
    expect_refusal(Kind::wrong_json, "body", row.reason, read_json_text(row.text, "body", json));
  }
}

TEST(JsonText, MayHaveTheSameMemberInTwoObjects) {
  ordered_json json;
  EXPECT_EQ("", said(read_json_text(R"([{"a": {"a": 1}}, {"a": 2}])", "body", json)));
}

}  // namespace
}  // namespace Quarrow::Administration
