// Catalogues read in a child process.
#include "apps/quarrow/commands/catalogue_fields.h"

#include <nlohmann/json.hpp>

#include "administration/fields_transaction.h"

namespace Quarrow::Command {

using Administration::FieldsTransaction;
using Administration::GuardedOutcome;
using Administration::Refusal;
using Json = nlohmann::json;
using MessageFilters::Field;

namespace {

GuardedOutcome fields_as_json(const FieldsTransaction& fields) {
  Json rows = Json::array();
  for (const Field& field : fields.fields()) rows.push_back({field.type, field.name});
  return {{}, rows.dump(-1, ' ', false, Json::error_handler_t::replace)};
}

}  // namespace

void add_catalogue_option(CLI::App& app, std::string& catalogue) {
  add_option(app, "--catalogue", catalogue, "The system's catalogue of fields")
      .type_name("FILE")
      .capture_default_str();
}

Refusal read_with_fields(const EmailAddress& user, const std::string& catalogue,
                         const std::function<Refusal(const std::list<Field>&)>& read) {
  const Refusal without_fields = read({});
  if (!without_fields) return {};
  const GuardedOutcome outcome = Administration::with_fields_of(user, catalogue, fields_as_json);
  if (outcome.refusal.kind == Refusal::Kind::missing) return without_fields;
  if (outcome.refusal) return outcome.refusal;
  std::list<Field> fields;
  for (const auto& row : Json::parse(outcome.answer))
    fields.push_back({row.at(0), row.at(1), true});
  return read(fields);
}

}  // namespace Quarrow::Command
