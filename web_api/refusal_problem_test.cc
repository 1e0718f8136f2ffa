// Every kind of refusal has its status.
#include "web_api/refusal_problem.h"

#include "web_api/web_api_test_support.h"

namespace Quarrow::WebApi {
namespace {

using Administration::Kind;
using Administration::Refusal;

TEST(RefusalProblem, TellsWhoCanHelp) {
  const struct {
    Kind kind;
    int status;
  } rows[] = {{Kind::no_such_filter, 404}, {Kind::no_revision, 404},
              {Kind::limit_reached, 409},  {Kind::nothing_to_undo, 409},
              {Kind::has_filters, 409},    {Kind::unreadable_part, 409},
              {Kind::outdated, 412},       {Kind::wrong_rule, 422},
              {Kind::wrong_json, 422},     {Kind::script_too_long, 422},
              {Kind::not_permitted, 500},  {Kind::crashed, 500},
              {Kind::try_again, 503},      {Kind::locked, 503},
              {Kind::no_room, 507},        {Kind::none, 500}};
  for (const auto& row : rows) EXPECT_EQ(row.status, status_of(row.kind)) << row.status;
}

// One that is added and forgotten in the table would be "failure" of the kind none.
TEST(RefusalProblem, HasATypeForEachKind) {
  for (int kind = 1; kind <= static_cast<int>(Kind::unavailable); ++kind) {
    const auto response = refused({static_cast<Kind>(kind), "/a/path", "the reason"});
    const auto body = body_of(response);
    EXPECT_EQ("the reason", body["detail"]);
    EXPECT_EQ(0U, body["type"].get<std::string>().find("urn:quarrow:problem:"));
    EXPECT_EQ(std::string::npos, response.body.find("/a/path")) << "a path of the server is told";
  }
}

TEST(RefusalProblem, OfABusyUserSaysWhenToComeBack) {
  EXPECT_EQ("2", header_in(refused({Kind::try_again, "", ""}), "retry-after"));
  EXPECT_EQ("60", header_in(refused({Kind::locked, "", ""}), "retry-after"));
  EXPECT_EQ("", header_in(refused({Kind::no_room, "", ""}), "retry-after"));
}

TEST(RefusalProblem, NamesThePlacesOfMistakes) {
  EXPECT_EQ("422 /name /tests/0/value",
            problem_in(not_taken({{"/name", "", "a"}, {"/tests/0/value", "", "b"}})));
}

}  // namespace
}  // namespace Quarrow::WebApi
