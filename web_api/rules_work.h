// Work on the rules of the user who asks.
#ifndef QUARROW_WEB_API_RULES_WORK_H_
#define QUARROW_WEB_API_RULES_WORK_H_

#include <functional>
#include <nlohmann/json.hpp>
#include <string>

#include "administration/refusal.h"
#include "administration/rules_transaction.h"
#include "http/message.h"
#include "web_api/call.h"
#include "web_api/filter_view.h"

namespace Quarrow::WebApi {

// The user's rules, opened, and what is around them.
struct OpenRules {
  Administration::RulesTransaction& rules;
  const Surroundings& surroundings;
};

// The answer of `work`, which is done in a process of its own; a problem when the rules can't be
// opened.
Http::Response with_rules(const Call& call,
                          const std::function<Http::Response(const OpenRules&)>& work);

// The same for the rules of the revision in If-Match; those of another one are a problem, as for a
// change.
Http::Response with_rules_of_revision(const Call& call,
                                      const std::function<Http::Response(const OpenRules&)>& work);

// What an edit tells besides the rules.
struct Edited {
  Administration::Refusal refusal;
  std::string pointer = {};  // what in the body is refused; empty for none of it
  nlohmann::ordered_json members = nlohmann::ordered_json::object();  // more of the answer
  std::int32_t added = 0;                                             // the number of a new filter
};

using Edit = std::function<Edited(Administration::RulesTransaction&)>;

// How a change is made.
struct ChangeTerms {
  int status = 200;
  Administration::Origin origin = Administration::Origin::change;  // of the state that it makes
};

// Has `edit` change the rules of the revision in If-Match, commits them and answers with all of
// them, and the differences in sentences. Rules of another revision stay as they are: the problem
// holds them, and what became of those that the client knows. A request with a key that was made
// before, and whose outcome still stands, is answered as it was then.
Http::Response change_rules(const Call& call, const ChangeTerms& terms, const Edit& edit);

// The differences in sentences.
nlohmann::ordered_json sentences(const std::vector<Administration::RulesDifference>& differences);

}  // namespace Quarrow::WebApi

#endif  // QUARROW_WEB_API_RULES_WORK_H_
