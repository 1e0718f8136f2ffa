// quarrow user lock, unlock, export, import: a user goes to another machine.
#include <fcntl.h>
#include <sysexits.h>
#include <unistd.h>

#include <iostream>
#include <memory>
#include <string>

#include "administration/root_setup.h"
#include "administration/users.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/complaint.h"
#include "apps/quarrow/whole_file.h"
#include "moving/user_export.h"
#include "moving/user_import.h"
#include "moving/user_locking.h"
#include "system/descriptor.h"
#include "system/printable.h"
#include "system/utf8.h"

namespace Quarrow::Command {
namespace {

using Administration::Refusal;

struct LockOptions {
  std::string user;
  std::string reason;
  bool moved = false;
  bool with_mail = false;
  bool dry_run = false;
};

struct MoveOptions {
  std::string user;
  std::string file;
};

// Why a text is no reason that is told later; empty when it can be.
std::string reason_fault(const std::string& text) {
  if (text.size() > shown_bytes) return "a reason has at most 200 bytes";
  if (!is_utf8(text) || has_control_characters(text))
    return "a reason is UTF-8 without control characters";
  return "";
}

Refusal lock(const LockOptions& options, const EmailAddress& user) {
  if (!options.moved) return options.dry_run ? Refusal() : Moving::lock_user(user, options.reason);
  return options.dry_run ? Moving::check_emptying(user, options.with_mail)
                         : Moving::empty_user(user, options.with_mail);
}

int user_lock(const Settings& settings, const LockOptions& options) {
  EmailAddress user;
  Refusal refusal = find_user(settings, options.user, user);
  if (!refusal) refusal = lock(options, user);
  if (refusal) return complain(settings, refusal);
  const std::string done = options.moved ? "emptied, and locked" : "locked";
  std::cout << printable(Administration::user_folder(user))
            << (options.dry_run ? ": would be " : ": ") << done << '\n';
  return EX_OK;
}

int user_unlock(const Settings& settings, const LockOptions& options) {
  EmailAddress user;
  Refusal refusal = find_user(settings, options.user, user);
  if (!refusal && !options.dry_run) refusal = Moving::unlock_user(user);
  if (refusal) return complain(settings, refusal);
  std::cout << printable(Administration::user_folder(user))
            << (options.dry_run ? ": would be unlocked\n" : ": unlocked\n");
  return EX_OK;
}

std::string text_of(const Moving::Counts& counts) {
  return std::to_string(counts.files) + " files in " + std::to_string(counts.folders) +
         " folders, " + std::to_string(counts.bytes) + " bytes";
}

// Complains of a refusal, in which the archive has the name that the user gave; gives the status.
int complain_of(Refusal refusal, const Settings& settings, const MoveOptions& options) {
  if (refusal.object == "archive") refusal.object = options.file;
  return complain(settings, refusal);
}

int user_export(const Settings& settings, const MoveOptions& options) {
  EmailAddress user;
  if (const Refusal refusal = find_user(settings, options.user, user))
    return complain(settings, refusal);
  Moving::UserExport done;
  const auto write = [&](int target) {
    done = Moving::export_user(user, target);
    return !done.refusal;
  };
  const bool to_output = options.file == "-";
  const Fault fault = to_output ? Fault() : write_file(options.file, write);
  if (to_output) (void)write(STDOUT_FILENO);
  if (done.refusal) return complain_of(done.refusal, settings, options);
  if (fault) return complain(options.file, fault);
  for (const std::string& path : done.left_out)
    complain(path, "left out, since it is neither a plain file nor a folder", EX_OK);
  if (!to_output) std::cout << printable(options.file) << ": " << text_of(done.counts) << '\n';
  return EX_OK;
}

int user_import(const Settings& settings, const MoveOptions& options) {
  EmailAddress user;
  Refusal refusal = read_user(settings, options.user, user);
  if (!refusal) refusal = Administration::open_configuration(settings.root);
  if (refusal) return complain(settings, refusal);
  const Descriptor source(open_input(options.file));
  if (source.get() < 0) return complain(options.file, fault_of_file());
  const Moving::UserImport done = Moving::import_user(settings.root, user, source.get());
  if (done.remark) complain(options.user, done.remark.reason, EX_OK);
  if (done.refusal) return complain_of(done.refusal, settings, options);
  std::cout << printable(Administration::user_folder(user)) << ": made, " << text_of(done.counts)
            << '\n';
  return EX_OK;
}

void add_move_options(CLI::App& app, MoveOptions& options, const std::string& help) {
  add_user_option(app, options.user);
  add_option(app, "file", options.file, help).type_name("").required();
}

}  // namespace

Run declare_user_lock(CLI::App& app) {
  const auto options = std::make_shared<LockOptions>();
  add_user_option(app, options->user);
  add_option(app, "--reason", options->reason, "Why, for those who ask")
      .type_name("TEXT")
      .check(reason_fault);
  const auto moved = add_flag(app, "--moved", options->moved,
                              "Empty the folder of a locked user who is on another machine now");
  add_flag(app, "--with-mail", options->with_mail, "Remove the user's mail, too").needs(moved);
  add_flag(app, "--dry-run", options->dry_run, "Say what would be done, and do nothing");
  return [options](const Settings& settings) { return user_lock(settings, *options); };
}

Run declare_user_unlock(CLI::App& app) {
  const auto options = std::make_shared<LockOptions>();
  add_user_option(app, options->user);
  add_flag(app, "--dry-run", options->dry_run, "Say what would be done, and do nothing");
  return [options](const Settings& settings) { return user_unlock(settings, *options); };
}

Run declare_user_export(CLI::App& app) {
  const auto options = std::make_shared<MoveOptions>();
  add_move_options(app, *options, "The archive to write; - for standard output");
  return [options](const Settings& settings) { return user_export(settings, *options); };
}

Run declare_user_import(CLI::App& app) {
  const auto options = std::make_shared<MoveOptions>();
  add_move_options(app, *options, "The archive of the user; - for standard input");
  return [options](const Settings& settings) { return user_import(settings, *options); };
}

}  // namespace Quarrow::Command
