// The table of kinds and statuses.
#include "web_api/refusal_problem.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

namespace Quarrow::WebApi {
namespace {

using Administration::Refusal;
using Kind = Refusal::Kind;
using nlohmann::ordered_json;

struct Row {
  Kind kind;
  int status;
  const char* word;                   // in the problem's type
  const char* title;                  // for people
  const char* retry_after = nullptr;  // in seconds
};

const Row failure = {Kind::none, 500, "failure", "The server can't do this now"};

const Row statuses[] = {
    {Kind::no_address, 404, "no-such-user", "There is no such user"},
    {Kind::no_such_user, 404, "no-such-user", "There is no such user"},
    {Kind::no_such_filter, 404, "no-such-filter", "There is no such filter"},
    {Kind::no_revision, 404, "no-such-revision", "There is no such revision"},
    {Kind::user_exists, 409, "user-exists", "There is such a user already"},
    {Kind::has_mail, 409, "has-mail", "The user has mail"},
    {Kind::ambiguous_filter, 409, "ambiguous-filter", "Several filters have that name"},
    {Kind::limit_reached, 409, "limit-reached", "There are as many filters as there may be"},
    {Kind::no_number_left, 409, "limit-reached", "There are as many filters as there may be"},
    {Kind::nothing_to_undo, 409, "nothing-to-undo", "There is no such change"},
    {Kind::has_filters, 409, "has-filters", "The user has filters already"},
    {Kind::outdated, 412, "outdated", "The rules were changed meanwhile"},
    {Kind::lossy_rules, 422, "lossy-rules", "Not all of it has an equal here"},
    {Kind::no_name, 422, "not-valid", "It can't be taken"},
    {Kind::no_tests, 422, "not-valid", "It can't be taken"},
    {Kind::too_many_tests, 422, "not-valid", "It can't be taken"},
    {Kind::no_actions, 422, "not-valid", "It can't be taken"},
    {Kind::not_utf8, 422, "not-valid", "It can't be taken"},
    {Kind::unreadable_rule, 422, "not-valid", "It can't be taken"},
    {Kind::wrong_rule, 422, "not-valid", "It can't be taken"},
    {Kind::wrong_setting, 422, "not-valid", "It can't be taken"},
    {Kind::wrong_json, 422, "not-valid", "It can't be taken"},
    {Kind::script_too_long, 422, "script-too-long", "The rules are too long"},
    {Kind::rules_refused, 422, "not-valid", "It can't be taken"},
    {Kind::damaged_document, 409, "damaged", "The stored rules are damaged"},
    {Kind::unreadable_part, 409, "damaged", "The stored rules are damaged"},
    {Kind::damaged_history, 409, "damaged-history", "The stored history is damaged"},
    {Kind::foreign_script, 409, "foreign-script", "The user has a script from elsewhere"},
    {Kind::locked, 503, "being-moved", "The user is being moved to another machine", "60"},
    {Kind::not_locked, 409, "not-locked", "The user is not locked"},
    {Kind::wrong_archive, 422, "not-valid", "It can't be taken"},
    // what another process does with the rules takes less
    {Kind::try_again, 503, "busy", "Another program changes the rules", "2"},
    {Kind::no_room, 507, "no-room", "The disk is full"},
    {Kind::no_configuration, 500, "failure", failure.title},
    {Kind::damaged_configuration, 500, "failure", failure.title},
    {Kind::missing, 500, "failure", failure.title},
    {Kind::not_permitted, 500, "unusable-folder", "The user's folder can't be used"},
    {Kind::not_made, 500, "failure", failure.title},
    {Kind::not_written, 500, "failure", failure.title},
    {Kind::crashed, 500, "failure", failure.title},
    {Kind::unavailable, 500, "failure", failure.title}};

const Row& row_of(Kind kind) {
  const auto row = std::find_if(std::begin(statuses), std::end(statuses),
                                [kind](const Row& each) { return each.kind == kind; });
  return row == std::end(statuses) ? failure : *row;
}

}  // namespace

int status_of(Kind kind) { return row_of(kind).status; }

Http::Response refused(const Refusal& refusal, ordered_json members) {
  const Row& row = row_of(refusal.kind);
  members["type"] = Http::problem_type(row.word);
  members["title"] = row.title;
  Http::Response response = Http::problem_with(row.status, refusal.reason, members);
  if (row.retry_after) response.headers.emplace_back("retry-after", row.retry_after);
  return response;
}

Http::Response not_taken(const std::vector<Http::Mistake>& mistakes) {
  ordered_json errors = ordered_json::array();
  for (const auto& mistake : mistakes)
    errors.push_back({{"pointer", mistake.pointer}, {"detail", mistake.detail}});
  return refused({Kind::wrong_rule, "", mistakes.front().detail}, {{"errors", errors}});
}

}  // namespace Quarrow::WebApi
