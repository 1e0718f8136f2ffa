// quarrow user rehash: the form of users' folders.
#include <sysexits.h>

#include <iostream>
#include <memory>

#include "administration/folder_form.h"
#include "administration/root_setup.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/complaint.h"
#include "system/printable.h"

namespace Quarrow::Command {
namespace {

using Administration::FolderForm;
using Administration::FormChange;
using Administration::Refusal;

struct RehashOptions {
  UserSelection users;
  bool flat = false;
  bool dry_run = false;
};

// Of several users, only what would be done is told.
void print_change(const RehashOptions& options, const FormChange& change) {
  if (options.users.several() && !(options.dry_run && change.is_needed())) return;
  std::cout << printable(change.from);
  if (change.is_needed())
    std::cout << (options.dry_run ? ": would be moved to " : ": moved to ") << printable(change.to);
  else
    std::cout << (options.dry_run ? ": would be kept" : ": kept");
  std::cout << '\n';
}

int rehash_user(const Settings& settings, const RehashOptions& options, const std::string& name) {
  EmailAddress user;
  FormChange change;
  const FolderForm form = options.flat ? FolderForm::flat : FolderForm::hashed;
  Refusal refusal = find_user(settings, name, user);
  if (!refusal)
    refusal = options.dry_run ? Administration::plan_form_change(settings.root, user, form, change)
                              : Administration::change_form(settings.root, user, form, change);
  if (refusal) return complain(settings, refusal);
  print_change(options, change);
  return EX_OK;
}

int rehash(const Settings& settings, const RehashOptions& options) {
  if (const Refusal refusal = Administration::open_configuration(settings.root))
    return complain(settings, refusal);
  return for_each_user(settings, options.users,
                       [&options](const Settings& finding, const std::string& user) {
                         return rehash_user(finding, options, user);
                       });
}

}  // namespace

Run declare_user_rehash(CLI::App& app) {
  const auto options = std::make_shared<RehashOptions>();
  add_user_selection(app, options->users);
  add_flag(app, "--flat", options->flat, "Back to the folder ROOT/domain/name");
  add_flag(app, "--dry-run", options->dry_run, "Say what would be moved, and move nothing");
  return [options](const Settings& settings) { return rehash(settings, *options); };
}

}  // namespace Quarrow::Command
