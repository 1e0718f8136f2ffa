// A transaction in a guarded process.
#include "web_api/rules_work.h"

#include <utility>

#include "administration/guarded_rules.h"
#include "administration/root_setup.h"
#include "administration/rules_text.h"
#include "administration/users.h"
#include "message_filters/rules_revision.h"
#include "message_filters/user_files.h"
#include "web_api/guarded_answer.h"
#include "web_api/refusal_problem.h"

namespace Quarrow::WebApi {
namespace {

using Administration::CommitConsent;
using Administration::GuardedOutcome;
using Administration::Origin;
using Administration::Refusal;
using Administration::RulesHistory;
using Administration::RulesTransaction;
using nlohmann::ordered_json;

// Puts the rules of that revision into `list`, if the history holds them.
bool find_list(const RulesTransaction& rules, const std::string& revision,
               FilterListPointer& list) {
  RulesHistory history;
  (void)rules.read_history(history);  // what can be read will do
  const auto* const state = history.find(revision);
  return state && !rules.load_state(*state, list);
}

Http::Response outdated(const Call& call, const OpenRules& open) {
  ordered_json members = {{"current", view_of(open.rules, open.surroundings)}};
  FilterListPointer known;
  if (find_list(open.rules, call.revision, known))
    members["changes"] =
        sentences(Administration::rules_differences(*known, *open.rules.filters().filters));
  Http::Response response = refused(open.rules.check_revision(call.revision), members);
  response.headers.emplace_back("etag", '"' + open.rules.revision() + '"');
  return response;
}

Http::Response refused_edit(const Edited& edited) {
  if (!edited.pointer.empty()) return not_taken({{edited.pointer, "", edited.refusal.reason}});
  return refused(edited.refusal, edited.members);
}

Http::Response done(const OpenRules& open, const ChangeTerms& terms, const Edited& edited,
                    const ordered_json& changes) {
  ordered_json body = view_of(open.rules, open.surroundings);
  body["changes"] = changes;
  body.update(edited.members);
  Http::Response response = json_answer(terms.status, body, open.rules.revision());
  if (edited.added != 0)
    response.headers.emplace_back("location", "/api/v1/rules/" + std::to_string(edited.added));
  return response;
}

// Whether the present rules were made of those of that revision by an undo or a redo. What these do
// now is something else: they have gone one state further.
bool was_made_by(Origin origin, const std::string& revision, const RulesTransaction& rules) {
  RulesHistory history;
  if (rules.read_history(history)) return false;
  const auto& states = history.states();
  return states.size() > 1 && states.back().origin == origin &&
         states.back().revision == rules.revision() &&
         states[states.size() - 2].revision == revision;
}

// Whether the rules are already what the edit makes of `list`, which it changes.
bool was_made_of(FilterListPointer& list, RulesTransaction& rules, const Edit& edit,
                 Edited& edited) {
  std::swap(rules.filters().filters, list);
  edited = edit(rules);
  std::swap(rules.filters().filters, list);
  return !edited.refusal && rules_revision(Administration::document_text(list)) == rules.revision();
}

// Whether the change was made of the rules that the client knows, and is the last one: then its
// answer was lost. `edited` and `changes` are what it came to.
bool was_made(const Call& call, RulesTransaction& rules, const ChangeTerms& terms, const Edit& edit,
              Edited& edited, ordered_json& changes) {
  FilterListPointer before;
  FilterListPointer after;
  if (!find_list(rules, call.revision, before) || !find_list(rules, call.revision, after))
    return false;
  const bool was_made = terms.origin == Origin::undo || terms.origin == Origin::redo
                            ? was_made_by(terms.origin, call.revision, rules)
                            : was_made_of(after, rules, edit, edited);
  if (was_made)
    changes = sentences(Administration::rules_differences(*before, *rules.filters().filters));
  return was_made;
}

Http::Response commit(const Call& call, const OpenRules& open, const ChangeTerms& terms,
                      const Edit& edit) {
  Edited edited = edit(open.rules);
  if (edited.refusal) return refused_edit(edited);
  const ordered_json changes = sentences(open.rules.changes());
  CommitConsent consent;
  consent.if_revision = call.revision;
  consent.author = call.context.user.address();
  if (const Refusal refusal = open.rules.commit(consent)) return refused(refusal);
  return done(open, terms, edited, changes);
}

}  // namespace

ordered_json sentences(const std::vector<Administration::RulesDifference>& differences) {
  ordered_json texts = ordered_json::array();
  for (const auto& difference : differences) texts.push_back(difference_text(difference));
  return texts;
}

Http::Response with_rules(const Call& call,
                          const std::function<Http::Response(const OpenRules&)>& work) {
  const EmailAddress& user = call.context.user;
  const GuardedOutcome outcome = Administration::with_rules_of(
      user,
      [&](RulesTransaction& rules) -> GuardedOutcome {
        const Refiling::MailFolders folders(
            in_folder(Administration::user_folder(user), maildir_name));
        const Surroundings surroundings = {folders, call.context.dots};
        return guarded(work({rules, surroundings}));
      },
      call.context.patience);
  return answer_of(outcome);
}

Http::Response with_rules_of_revision(const Call& call,
                                      const std::function<Http::Response(const OpenRules&)>& work) {
  if (call.revision.empty())
    return Http::problem(428, "send If-Match with the revision of the rules");
  return with_rules(call, [&](const OpenRules& open) {
    return open.rules.check_revision(call.revision) ? outdated(call, open) : work(open);
  });
}

Http::Response change_rules(const Call& call, const ChangeTerms& terms, const Edit& edit) {
  if (call.revision.empty())
    return Http::problem(428, "send If-Match with the revision of the rules that are changed");
  if (const Refusal refusal = Administration::open_configuration(call.context.root))
    return refused(refusal);
  return with_rules(call, [&](const OpenRules& open) -> Http::Response {
    if (!open.rules.check_revision(call.revision)) return commit(call, open, terms, edit);
    Edited edited;
    ordered_json changes;
    if (call.key && was_made(call, open.rules, terms, edit, edited, changes))
      return done(open, terms, edited, changes);
    return outdated(call, open);
  });
}

}  // namespace Quarrow::WebApi
