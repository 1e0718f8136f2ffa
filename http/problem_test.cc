// Problems, read back as JSON.
#include "http/problem.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace Quarrow::Http {
namespace {

using nlohmann::json;

TEST(Problem, SaysWhatWentWrong) {
  const Response response = problem(404, "There is no rule 3.");
  EXPECT_EQ(404, response.status);
  EXPECT_EQ((Headers{{"content-type", "application/problem+json"}}), response.headers);
  EXPECT_EQ(
      "{\"type\":\"about:blank\",\"title\":\"Not Found\",\"status\":404,"
      "\"detail\":\"There is no rule 3.\"}\n",
      response.body);
}

TEST(Problem, NamesThePlacesOfMistakes) {
  const Response response = problem(422, "Two values are wrong.",
                                    {{"/tests/0/value", "", "This is no size."},
                                     {"", "folder", "There is no such folder."},
                                     {"", "", "This is no rule."}});
  const auto wanted =
      json::array({{{"pointer", "/tests/0/value"}, {"detail", "This is no size."}},
                   {{"parameter", "folder"}, {"detail", "There is no such folder."}},
                   {{"pointer", ""}, {"detail", "This is no rule."}}});
  EXPECT_EQ(wanted, json::parse(response.body)["errors"]);
}

TEST(Problem, HasMembersOfItsOwn) {
  const auto body = json::parse(
      problem_with(412, "Others changed it.", {{"theirs", 7}, {"type", "/problems/changed"}}).body);
  EXPECT_EQ((json{{"type", "/problems/changed"},
                  {"title", "Precondition Failed"},
                  {"status", 412},
                  {"detail", "Others changed it."},
                  {"theirs", 7}}),
            body);
}

TEST(Problem, IsJsonWhateverItTells) {
  const auto body = json::parse(problem(400, "a\"b\r\n\xff", {{"\xc3", "", "\""}}).body);
  EXPECT_EQ("a\"b\r\n\xef\xbf\xbd", body["detail"]);
  EXPECT_EQ("\xef\xbf\xbd", body["errors"][0]["pointer"]);
}

}  // namespace
}  // namespace Quarrow::Http
