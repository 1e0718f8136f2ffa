// What rules can be about: the fields of tests, and the folders of the user's mail.
#include <utility>

#include "administration/fields_transaction.h"
#include "administration/guarded_process.h"
#include "administration/rule_fields.h"
#include "administration/rule_words.h"
#include "administration/user_folder.h"
#include "administration/users.h"
#include "message_filters/user_files.h"
#include "refiling/mail_folders.h"
#include "web_api/filter_view.h"
#include "web_api/refusal_problem.h"
#include "web_api/resources.h"

namespace Quarrow::WebApi {
namespace {

using Administration::FieldsTransaction;
using Administration::GuardedOutcome;
using Administration::Refusal;
using MessageFilters::Field;
using nlohmann::ordered_json;

ordered_json view_of(const Field& field, bool is_own) {
  return {{"type", field.type},
          {"field", field.name},
          {"words", Administration::field_words(field.name)},
          {"own", is_own},
          {"comparators", Administration::comparators_of(field.type)}};
}

std::string text_of(const ordered_json& json) {
  return json.dump(-1, ' ', false, ordered_json::error_handler_t::replace);
}

GuardedOutcome fields_of(const FieldsTransaction& fields) {
  ordered_json rows = ordered_json::array();
  for (const Field& field : fields.fields()) rows.push_back(view_of(field, field.customized));
  return {{}, text_of(rows)};
}

// Those that every system has, where the machine has no catalogue of its own.
ordered_json common_fields() {
  ordered_json rows = ordered_json::array();
  for (const Field& field : Administration::system_fields()) rows.push_back(view_of(field, false));
  return rows;
}

}  // namespace

Http::Response list_fields(const Call& call) {
  const Context& context = call.context;
  const GuardedOutcome outcome =
      Administration::with_fields_of(context.user, context.catalogue, fields_of, context.patience);
  if (outcome.refusal.kind == Refusal::Kind::missing)
    return json_answer(200, {{"fields", common_fields()}});
  if (outcome.refusal) return refused(outcome.refusal);
  return json_answer(200, {{"fields", ordered_json::parse(outcome.answer)}});
}

Http::Response list_folders(const Call& call) {
  const std::string path = Administration::user_folder(call.context.user);
  const GuardedOutcome outcome = Administration::run_guarded(path, [&path]() -> GuardedOutcome {
    Administration::UserFolder folder(path);
    if (const Refusal refusal = folder.open()) return {refusal, ""};
    const ordered_json names = Refiling::MailFolders(maildir_name, folder.fd()).names();
    return {{}, text_of(names)};
  });
  if (outcome.refusal) return refused(outcome.refusal);
  return json_answer(200, {{"folders", ordered_json::parse(outcome.answer)}});
}

}  // namespace Quarrow::WebApi
