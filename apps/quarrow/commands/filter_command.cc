// From the name of a user to their filters.
#include "apps/quarrow/commands/filter_command.h"

#include <sysexits.h>
#include <zvelluser.h>

#include <iostream>
#include <sstream>
#include <utility>

#include "administration/filter_reference.h"
#include "administration/root_setup.h"
#include "administration/rule_check.h"
#include "administration/users.h"
#include "apps/quarrow/complaint.h"
#include "system/printable.h"
#include "system/utf8.h"

namespace Quarrow::Command {

using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::RulesTransaction;
using Work = std::function<GuardedOutcome(RulesTransaction&)>;

namespace {

// Why a text is not a person's name; empty when it can be.
std::string name_fault(const std::string& text) {
  if (text.empty() || text.size() > shown_bytes) return "a name has 1 to 200 bytes";
  if (!is_utf8(text) || has_control_characters(text))
    return "a name is UTF-8 without control characters";
  return "";
}

}  // namespace

Refusal read_user(const Settings& settings, const std::string& text, EmailAddress& user) {
  if (Refusal refusal = Administration::check_user(text)) return refusal;
  mailuser_set_root(settings.root);
  user = EmailAddress(Delivery::user_spelling(text, settings.address_case));
  return {};
}

Refusal find_user(const Settings& settings, const std::string& text, EmailAddress& user) {
  if (Refusal refusal = read_user(settings, text, user)) return refusal;
  Refusal refusal = Administration::check_known(user);
  if (refusal.kind != Refusal::Kind::no_such_user) return refusal;
  const Refusal unusable = Administration::open_configuration(settings.root);
  return unusable ? unusable : refusal;
}

int complain(const Settings& settings, const Refusal& refusal) {
  if (refusal.kind != Refusal::Kind::no_configuration) return complain(refusal);
  return complain(refusal, settings.root);
}

namespace {

// What comes of work on the filters of a user who has to be known.
GuardedOutcome outcome_of(const Settings& settings, const std::string& user, const Work& work) {
  EmailAddress address;
  if (const Refusal refusal = find_user(settings, user, address)) return {refusal, ""};
  return Administration::with_rules_of(address, work);
}

}  // namespace

int with_filters_of(const Settings& settings, const std::string& user, const Work& work) {
  const GuardedOutcome outcome = outcome_of(settings, user, work);
  std::cout << outcome.answer;
  if (outcome.remark) complain(outcome.remark);
  return outcome.refusal ? complain(settings, outcome.refusal) : EX_OK;
}

int with_filters_of(const Settings& settings, const UserSelection& users, const Work& work) {
  return for_each_user(
      settings, users,
      [&](const Settings& finding, const std::string& user) {
        const GuardedOutcome outcome = outcome_of(finding, user, work);
        print_lines(users, user, outcome.answer);
        if (outcome.remark) complain(outcome.remark);
        return outcome.refusal ? complain(finding, outcome.refusal) : EX_OK;
      });
}

int list_filters_of(const Settings& settings, const UserSelection& users, ListingForm form,
                    std::vector<std::string> columns, const Work& work) {
  if (users.several()) columns.insert(columns.begin(), "user");
  Listing listing(std::move(columns));
  const auto add_rows = [&](const Settings& finding, const std::string& user) {
    const GuardedOutcome outcome = outcome_of(finding, user, work);
    if (!outcome.answer.empty()) listing.add_json(outcome.answer, users.several() ? user : "");
    return outcome.refusal ? complain(finding, outcome.refusal) : EX_OK;
  };
  const int status = for_each_user(settings, users, add_rows);
  listing.print(form, std::cout);
  return status;
}

int change_filter_of(
    const Settings& settings, const UserSelection& users, const std::string& name,
    const Administration::ChangeMode& mode,
    const std::function<GuardedOutcome(RulesTransaction&, MessageFilters::Filter__&)>& edit) {
  if (users.several() && Administration::is_filter_id(name))
    return complain("filter " + name, "ids differ from user to user; give the filter's name",
                    EX_USAGE);
  return with_filters_of(settings, users, [&](RulesTransaction& rules) {
    return Administration::change_rules(
        rules, mode, [&](RulesTransaction& opened) -> GuardedOutcome {
          boost::shared_ptr<MessageFilters::Filter__> filter;
          const Refusal refusal = Administration::find_filter(opened.filters(), name, filter);
          return refusal ? GuardedOutcome{refusal, ""} : edit(opened, *filter);
        });
  });
}

void print_lines(const UserSelection& users, const std::string& user, const std::string& text) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);)
    std::cout << (users.several() ? printable(user) + ": " : "") << line << '\n';
}

void add_consent_options(CLI::App& app, Administration::CommitConsent& consent) {
  add_flag(app, "--accept-loss", consent.accept_loss,
           "Lose the parts of the filter document that can't be read");
  add_flag(app, "--replace-script", consent.replace_script,
           "Replace a script that was not made from filters");
  add_option(app, "--if-revision", consent.if_revision,
             "Change the filters only if they are of this revision")
      .type_name("REVISION");
  add_option(app, "--as", consent.author, "Who makes the change, for the history")
      .type_name("NAME")
      .check(name_fault);
  add_option(app, "--history", consent.history_states, "How many states the history keeps")
      .type_name("N")
      .in_range(1, Administration::most_history_states)
      .capture_default_str()
      .envname("QUARROW_HISTORY");
}

void add_change_options(CLI::App& app, Administration::ChangeMode& mode) {
  add_consent_options(app, mode.consent);
  add_flag(app, "--dry-run", mode.dry_run, "Say what would change, and change nothing");
}

void add_user_option(CLI::App& app, std::string& user) {
  add_option(app, "user", user, "The user, by mail address").type_name("").required();
}

Argument filter_argument(std::string& filter) {
  return {"filter", "The filter, by its id or by its name", &filter};
}

void add_filter_option(CLI::App& app, std::string& filter) {
  const Argument argument = filter_argument(filter);
  add_option(app, argument.name, *argument.value, argument.help).type_name("").required();
}

}  // namespace Quarrow::Command
