// Refusals as answers of the API.
#ifndef QUARROW_WEB_API_REFUSAL_PROBLEM_H_
#define QUARROW_WEB_API_REFUSAL_PROBLEM_H_

#include <nlohmann/json.hpp>
#include <vector>

#include "administration/refusal.h"
#include "http/message.h"
#include "http/problem.h"

namespace Quarrow::WebApi {

// The status that stands for a kind of refusal; 500 for Refusal::Kind::none.
int status_of(Administration::Refusal::Kind kind);

// The refusal as a problem, which names its type by "urn:quarrow:problem:" and a word for the kind.
// The detail is the refusal's reason: its object may be a path of the server, and is not told.
// `members` are put beside the problem's own ones.
Http::Response refused(const Administration::Refusal& refusal,
                       nlohmann::ordered_json members = nlohmann::ordered_json::object());

// The problem of a body, or a parameter, whose form is right, and that can't be taken: 422.
Http::Response not_taken(const std::vector<Http::Mistake>& mistakes);

}  // namespace Quarrow::WebApi

#endif  // QUARROW_WEB_API_REFUSAL_PROBLEM_H_
