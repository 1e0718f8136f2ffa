// quarrow user: the users of the system.
#include <sysexits.h>
#include <zvelluser.h>

#include <algorithm>
#include <iostream>
#include <memory>

#include "administration/root_setup.h"
#include "administration/rules_text.h"
#include "administration/users.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/complaint.h"
#include "delivery/user_lock.h"
#include "message_filters/script_words.h"
#include "message_filters/user_files.h"
#include "moving/user_locking.h"
#include "system/exists.h"
#include "system/printable.h"

namespace Quarrow::Command {
namespace {

using Administration::Refusal;

struct UserOptions {
  std::string user;
  bool with_mail = false;
  bool dry_run = false;
};

int user_add(const Settings& settings, const UserOptions& options) {
  EmailAddress user;
  Refusal refusal = read_user(settings, options.user, user);
  if (!refusal) refusal = Administration::open_configuration(settings.root);
  Administration::UserSetup setup;
  if (!refusal)
    refusal = options.dry_run ? Administration::plan_user(user, setup)
                              : Administration::add_user(settings.root, user, setup);
  if (refusal) return complain(settings, refusal);
  const char* const made = options.dry_run ? ": would be made\n" : ": made\n";
  const char* const kept = options.dry_run ? ": would be kept\n" : ": kept\n";
  std::cout << printable(setup.folder) << (setup.made ? made : kept);
  return EX_OK;
}

bool is_locked(const std::string& folder) { return Delivery::look_for_user_lock(folder) == 0; }

int user_list(const Settings& settings, bool locked_only) {
  std::vector<std::string> users;
  mailuser_set_root(settings.root);
  Refusal refusal = Administration::open_configuration(settings.root);
  if (!refusal) refusal = Administration::list_users(settings.root, users);
  if (refusal) return complain(settings, refusal);
  for (const std::string& user : users) {
    if (locked_only && !is_locked(Administration::user_folder(EmailAddress(user)))) continue;
    std::cout << printable(user) << '\n';
    if (user != Delivery::user_spelling(user, settings.address_case))
      complain(user, "is found with --keep-case only, since it has capitals", EX_OK);
  }
  return EX_OK;
}

// What goes with a user's folder.
std::string removal_text(const std::string& folder) {
  const struct {
    std::string name;
    const char* content;
  } rows[] = {{rules_document_of(script_name), "filters"},
              {rules_history_of(script_name), "the filters' history"},
              {custom_fields_name, "fields"},
              {maildir_name, "mail"},
              {user_lock_name, "the lock by which mail waits"}};
  std::string contents;
  for (const auto& row : rows)
    if (exists(in_folder(folder, row.name.c_str())))
      contents += (contents.empty() ? ", with " : ", ") + std::string(row.content);
  return printable(folder) + ": would be removed" + contents + '\n';
}

int user_remove(const Settings& settings, const UserOptions& options) {
  EmailAddress user;
  Refusal refusal = find_user(settings, options.user, user);
  if (!refusal)
    refusal = options.dry_run ? Administration::check_removal(user, options.with_mail)
                              : Administration::remove_user(settings.root, user, options.with_mail);
  if (refusal) return complain(settings, refusal);
  if (options.dry_run) std::cout << removal_text(Administration::user_folder(user));
  return EX_OK;
}

// How much of a script's room the filters take, the disabled ones among them.
std::string script_room(const boost::shared_ptr<MessageFilters::FilterList__>& filters) {
  const std::size_t used = Administration::script_text(filters, true).size();
  const std::size_t left = used < script_limit ? script_limit - used : 0;
  return std::to_string(used) + " of " + std::to_string(script_limit) + " bytes, " +
         std::to_string(left) + " left";
}

// A line for a user who is locked.
std::string lock_text(const std::string& folder) {
  const auto reason = Moving::lock_reason(folder);
  if (!reason) return "";
  return "locked   " + (reason->empty() ? "without a reason" : printable(*reason)) + '\n';
}

std::string description(const EmailAddress& user, Administration::RulesTransaction& rules) {
  const MessageFilters::FilterList__& list = *rules.filters().filters;
  const auto disabled = std::count_if(list.filters.begin(), list.filters.end(),
                                      [](const auto& filter) { return !filter->enabled; });
  const std::string folder = Administration::user_folder(user);
  const std::string mail = in_folder(folder, maildir_name);
  return "user     " + printable(user.address()) + "\nfolder   " + printable(folder) +
         "\nfilters  " + std::to_string(list.filters.size()) +
         (disabled > 0 ? ", disabled: " + std::to_string(disabled) : "") + "\nscript   " +
         script_room(rules.filters().filters) + "\nrevision " + rules.revision() + "\nmail     " +
         (exists(mail) ? printable(mail) : "none so far") + '\n' + lock_text(folder);
}

int user_show(const Settings& settings, const std::string& text) {
  return with_filters_of(
      settings, text,
      [&](Administration::RulesTransaction& rules) -> Administration::GuardedOutcome {
        EmailAddress user;
        const Refusal refusal = read_user(settings, text, user);
        return {refusal, refusal ? "" : description(user, rules)};
      });
}

}  // namespace

Run declare_user_add(CLI::App& app) {
  const auto options = std::make_shared<UserOptions>();
  add_user_option(app, options->user);
  add_flag(app, "--dry-run", options->dry_run, "Say what would be made, and make nothing");
  return [options](const Settings& settings) { return user_add(settings, *options); };
}

Run declare_user_list(CLI::App& app) {
  const auto locked_only = std::make_shared<bool>(false);
  add_flag(app, "--locked", *locked_only, "Only the users who are locked");
  return [locked_only](const Settings& settings) { return user_list(settings, *locked_only); };
}

Run declare_user_remove(CLI::App& app) {
  const auto options = std::make_shared<UserOptions>();
  add_user_option(app, options->user);
  add_flag(app, "--with-mail", options->with_mail, "Remove the user's mail, too");
  add_flag(app, "--dry-run", options->dry_run, "Say what would be removed, and remove nothing");
  return [options](const Settings& settings) { return user_remove(settings, *options); };
}

Run declare_user_show(CLI::App& app) {
  const auto options = std::make_shared<UserOptions>();
  add_user_option(app, options->user);
  return [options](const Settings& settings) { return user_show(settings, options->user); };
}

}  // namespace Quarrow::Command
