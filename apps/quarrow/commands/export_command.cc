// quarrow export: the filters of a user as a file.
#include <memory>

#include "administration/rules_export.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/complaint.h"
#include "apps/quarrow/whole_file.h"

namespace Quarrow::Command {
namespace {

using Administration::ExportForm;
using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::RulesTransaction;

struct ExportOptions {
  std::string user;
  ExportForm form = ExportForm::json;
  std::string file;  // empty: standard output
};

// All of the filters, or nothing: a copy of a part would pass for a copy of all.
GuardedOutcome exported(RulesTransaction& rules, const ExportOptions& options) {
  std::string text;
  Refusal refusal = rules.check_loss();
  if (!refusal) refusal = export_rules(rules.filters().filters, options.form, options.user, text);
  return {refusal, refusal ? "" : text};
}

int export_to_file(const Settings& settings, const ExportOptions& options) {
  EmailAddress address;
  if (const Refusal refusal = find_user(settings, options.user, address))
    return complain(settings, refusal);
  const GuardedOutcome outcome = Administration::with_rules_of(
      address, [&](RulesTransaction& rules) { return exported(rules, options); });
  if (outcome.refusal) return complain(outcome.refusal);
  const Fault fault = write_file(options.file, outcome.answer);
  return fault ? complain(options.file, fault) : 0;
}

}  // namespace

Run declare_export(CLI::App& app) {
  const auto options = std::make_shared<ExportOptions>();
  add_user_option(app, options->user);
  add_choice<ExportForm>(
      app, "--as", options->form,
      {{"json", ExportForm::json}, {"xml", ExportForm::xml}, {"sieve", ExportForm::sieve}},
      "The form of the file")
      .default_str("json");
  add_option(app, "-o,--output", options->file, "Write to FILE instead of standard output")
      .type_name("FILE");
  return [options](const Settings& settings) {
    if (!options->file.empty()) return export_to_file(settings, *options);
    return with_filters_of(settings, options->user,
                           [&](RulesTransaction& rules) { return exported(rules, *options); });
  };
}

}  // namespace Quarrow::Command
