// quarrow import: the rules of a file, all or none, and a report on each of them.
#include <sysexits.h>

#include <memory>
#include <sstream>

#include "administration/root_setup.h"
#include "administration/users.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/complaint.h"
#include "apps/quarrow/listing.h"
#include "apps/quarrow/rule_warnings.h"
#include "apps/quarrow/whole_file.h"
#include "importing/rules_import.h"
#include "importing/rules_reader.h"

namespace Quarrow::Command {
namespace {

using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::RulesTransaction;
using Importing::Earlier;
using Importing::RuleChange;
using Importing::RulesFormat;

struct ImportOptions {
  std::string user;
  std::string file;
  std::string format;  // empty: as the text shows
  bool replace = false;
  bool append = false;
  bool dry_run = false;
  Delivery::FolderDots folder_dots = Delivery::FolderDots::inbox;
  ListingForm listing = ListingForm::table;
  Administration::CommitConsent consent;
};

// The number, or nothing for 0.
template <typename Number>
Value unless_zero(Number number) {
  return number == 0 ? Value() : Value(number);
}

std::string report(const std::vector<RuleChange>& changes, ListingForm form) {
  Listing listing({"change", "id", "filter", "line", "what"});
  for (const auto& change : changes)
    listing.add({Importing::change_word(change.kind), unless_zero(change.id), change.name,
                 unless_zero(change.line), change.what});
  std::ostringstream out;
  listing.print(form, out);
  return out.str();
}

Earlier earlier_of(const ImportOptions& options) {
  if (options.replace) return Earlier::replaced;
  return options.append ? Earlier::kept : Earlier::unstated;
}

// Refuses rules with a loss that nobody accepted.
Refusal check_losses(const Importing::ImportedRules& rules, const ImportOptions& options) {
  if (rules.losses.empty() || options.consent.accept_loss) return {};
  return {Refusal::Kind::lossy_rules, options.file,
          "holds what has no equal here: " + std::to_string(rules.losses.size()) +
              " in the list above; nothing was changed"};
}

GuardedOutcome import(RulesTransaction& transaction, const EmailAddress& user, RulesFormat format,
                      const std::string& text, const ImportOptions& options) {
  Importing::ImportedRules rules;
  Refusal refusal = read_rules(format, text, options.folder_dots, rules);
  if (refusal) {
    refusal.object = options.file + ": " + refusal.object;
    return {refusal, ""};
  }
  std::vector<RuleChange> changes;
  refusal = put_rules(rules, earlier_of(options), transaction, changes);
  if (refusal) return {refusal, ""};
  refusal = check_losses(rules, options);
  if (!refusal)
    refusal = options.dry_run ? transaction.check_commit(options.consent)
                              : transaction.commit(options.consent);
  if (!refusal)
    for (const auto& rule : rules.rules)
      warn_of_folders(Administration::user_folder(user), *rule.filter, options.folder_dots);
  return {refusal, report(changes, options.listing)};
}

int import_file(const Settings& settings, const ImportOptions& options) {
  EmailAddress user;
  Refusal refusal = find_user(settings, options.user, user);
  if (!refusal) refusal = Administration::open_configuration(settings.root);
  if (refusal) return complain(settings, refusal);
  std::string text;
  if (const Fault fault = read_file(options.file, Importing::most_import_bytes, text))
    return complain(options.file, fault);
  const auto format =
      options.format.empty() ? Importing::guess_format(text) : Importing::format_of(options.format);
  if (!format)
    return complain(options.file, "the format can't be told from the text; give it with --from",
                    EX_USAGE);
  const int status = with_filters_of(settings, options.user, [&](RulesTransaction& rules) {
    return import(rules, user, *format, text, options);
  });
  if (status == EX_OK && options.dry_run) complain("--dry-run", "nothing was changed", EX_OK);
  return status;
}

}  // namespace

Run declare_import(CLI::App& app) {
  const auto options = std::make_shared<ImportOptions>();
  add_user_option(app, options->user);
  add_option(app, "file", options->file, "The file with the rules; - is standard input")
      .type_name("")
      .required();
  add_option(app, "--from", options->format, "The format of the file; told from the text")
      .type_name("FORMAT")
      .one_of(Importing::format_words());
  const auto replace = add_flag(app, "--replace", options->replace,
                                "Put the rules in place of the filters that are there");
  add_flag(app, "--append", options->append, "Put the rules behind the filters that are there")
      .excludes(replace);
  add_flag(app, "--dry-run", options->dry_run, "Say what would change, and change nothing");
  add_folder_dots_option(app, options->folder_dots,
                         "listescape lets folders have a dot in the name, where mail is delivered "
                         "with the same option");
  add_format_option(app, options->listing);
  add_flag(app, "--accept-loss", options->consent.accept_loss,
           "Take over what has an equal here, and lose the rest; lose the parts of the filter "
           "document that can't be read, too");
  add_flag(app, "--replace-script", options->consent.replace_script,
           "Replace a script that was not made from filters");
  return [options](const Settings& settings) { return import_file(settings, *options); };
}

}  // namespace Quarrow::Command
