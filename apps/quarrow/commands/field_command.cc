// quarrow field: the fields that a user's tests may name.
#include <sysexits.h>

#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>

#include "administration/fields_transaction.h"
#include "apps/quarrow/commands/catalogue_fields.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/complaint.h"
#include "message_filters/user_files.h"
#include "system/printable.h"

namespace Quarrow::Command {
namespace {

using Administration::FieldsTransaction;
using Administration::GuardedOutcome;
using Administration::Refusal;
using Json = nlohmann::ordered_json;
using MessageFilters::Field;

struct FieldOptions {
  UserSelection users;
  std::string type;
  std::string name;
  std::string catalogue = system_catalogue;
  ListingForm form = ListingForm::table;
  bool dry_run = false;
};

GuardedOutcome outcome_of(const Settings& settings, const std::string& user,
                          const FieldOptions& options,
                          const std::function<GuardedOutcome(FieldsTransaction&)>& work) {
  EmailAddress address;
  if (const Refusal refusal = find_user(settings, user, address)) return {refusal, ""};
  return Administration::with_fields_of(address, options.catalogue, work);
}

// The answer is a list of rows in JSON.
GuardedOutcome rows_of(const FieldsTransaction& fields, bool with_systems) {
  Json rows = Json::array();
  for (const Field& field : fields.fields())
    if (field.customized || with_systems)
      rows.push_back({field.name, field.type, field.customized ? "user" : "system"});
  return {{}, rows.dump(-1, ' ', false, Json::error_handler_t::replace)};
}

int field_list(const Settings& settings, const FieldOptions& options) {
  const bool several = options.users.several();
  std::vector<std::string> columns = {"name", "type", "origin"};
  if (several) columns.insert(columns.begin(), "user");
  Listing listing(std::move(columns));
  const auto add_rows = [&](const Settings& finding, const std::string& user) {
    const GuardedOutcome outcome =
        outcome_of(finding, user, options, [several](const FieldsTransaction& fields) {
          return rows_of(fields, !several);  // which would be the same for each user
        });
    if (outcome.refusal) return complain(finding, outcome.refusal);
    listing.add_json(outcome.answer, several ? user : "");
    return EX_OK;
  };
  const int status = for_each_user(settings, options.users, add_rows);
  listing.print(options.form, std::cout);
  return status;
}

// What became of the user's own fields, a line each.
std::string difference(const std::list<Field>& before, const std::list<Field>& after) {
  const auto missing = [](const std::list<Field>& fields, const Field& field) {
    return std::none_of(fields.begin(), fields.end(),
                        [&field](const Field& other) { return other.name == field.name; });
  };
  std::string lines;
  for (const Field& field : before)
    if (missing(after, field))
      lines += "field \"" + printable(field.name) + "\" would be removed\n";
  for (const Field& field : after)
    if (missing(before, field)) lines += "field \"" + printable(field.name) + "\" would be added\n";
  return lines.empty() ? "nothing would change\n" : lines;
}

int change_fields(const Settings& settings, const FieldOptions& options,
                  const std::function<Refusal(FieldsTransaction&)>& edit) {
  const auto work = [&](FieldsTransaction& fields) -> GuardedOutcome {
    const std::list<Field> before = fields.fields();
    if (const Refusal refusal = edit(fields)) return {refusal, ""};
    if (!options.dry_run) return {fields.commit(), ""};
    const Refusal refusal = fields.check_commit();
    return {refusal, refusal ? "" : difference(before, fields.fields())};
  };
  return for_each_user(settings, options.users,
                       [&](const Settings& finding, const std::string& user) {
                         const GuardedOutcome outcome = outcome_of(finding, user, options, work);
                         print_lines(options.users, user, outcome.answer);
                         return outcome.refusal ? complain(finding, outcome.refusal) : EX_OK;
                       });
}

// The options and arguments of a change.
std::shared_ptr<FieldOptions> add_change(CLI::App& app, bool has_type, bool has_name) {
  const auto options = std::make_shared<FieldOptions>();
  std::vector<Argument> arguments;
  if (has_type)
    arguments.push_back({"type", "What it holds: string, address, size or date", &options->type});
  if (has_name) arguments.push_back({"name", "The field: a header's name", &options->name});
  add_user_selection(app, options->users, arguments);
  add_catalogue_option(app, options->catalogue);
  add_flag(app, "--dry-run", options->dry_run, "Say what would change, and change nothing");
  return options;
}

}  // namespace

Run declare_field_list(CLI::App& app) {
  const auto options = std::make_shared<FieldOptions>();
  add_user_selection(app, options->users);
  add_catalogue_option(app, options->catalogue);
  add_format_option(app, options->form);
  return [options](const Settings& settings) { return field_list(settings, *options); };
}

Run declare_field_add(CLI::App& app) {
  const auto options = add_change(app, true, true);
  return [options](const Settings& settings) {
    return change_fields(settings, *options, [&](FieldsTransaction& fields) {
      return fields.add(options->type, options->name);
    });
  };
}

Run declare_field_remove(CLI::App& app) {
  const auto options = add_change(app, false, true);
  return [options](const Settings& settings) {
    return change_fields(settings, *options,
                         [&](FieldsTransaction& fields) { return fields.remove(options->name); });
  };
}

Run declare_field_clear(CLI::App& app) {
  const auto options = add_change(app, false, false);
  return [options](const Settings& settings) {
    return change_fields(settings, *options, [](FieldsTransaction& fields) {
      fields.clear();
      return Refusal();
    });
  };
}

}  // namespace Quarrow::Command
