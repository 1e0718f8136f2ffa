// From the name of a user to their filters.
#include "apps/quarrow/commands/filter_command.h"

#include <sysexits.h>
#include <zvelluser.h>
#include <CLI/CLI.hpp>

#include <cstdint>
#include <iostream>
#include <limits>

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

int with_filters_of(const Settings& settings, const std::string& user,
                    const std::function<GuardedOutcome(RulesTransaction&)>& work) {
  EmailAddress address;
  if (const Refusal refusal = find_user(settings, user, address))
    return complain(settings, refusal);
  const GuardedOutcome outcome = Administration::with_rules_of(address, work);
  std::cout << outcome.answer;
  if (outcome.remark) complain(outcome.remark);
  return outcome.refusal ? complain(outcome.refusal) : EX_OK;
}

void add_consent_options(CLI::App& app, Administration::CommitConsent& consent) {
  app.add_flag("--accept-loss", consent.accept_loss,
               "Lose the parts of the filter document that can't be read");
  app.add_flag("--replace-script", consent.replace_script,
               "Replace a script that was not made from filters");
  app.add_option("--if-revision", consent.if_revision,
                 "Change the filters only if they are of this revision")
      ->type_name("REVISION");
  app.add_option("--as", consent.author, "Who makes the change, for the history")
      ->type_name("NAME")
      ->check(CLI::Validator(name_fault, ""));
  app.add_option("--history", consent.history_states, "How many states the history keeps")
      ->type_name("N")
      ->check(CLI::Range(std::size_t{1}, Administration::most_history_states).description(""))
      ->capture_default_str()
      ->envname("QUARROW_HISTORY");
}

void add_user_option(CLI::App& app, std::string& user) {
  app.add_option("user", user, "The user, by mail address")->type_name("")->required();
}

CLI::Validator filter_number() {
  return CLI::Range(1, std::numeric_limits<std::int32_t>::max()).description("");
}

}  // namespace Quarrow::Command
