// quarrow apply: a user's rules over mail that is in their Maildir already.
#include <sysexits.h>

#include <algorithm>
#include <ctime>
#include <iostream>
#include <memory>
#include <optional>
#include <string>

#include "administration/filter_reference.h"
#include "administration/rules_transaction.h"
#include "administration/users.h"
#include "apps/quarrow/commands/command.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/commands/jobs_option.h"
#include "apps/quarrow/complaint.h"
#include "apps/quarrow/folder_owner.h"
#include "apps/quarrow/listing.h"
#include "apps/quarrow/match_report.h"
#include "apps/quarrow/missing_script.h"
#include "apps/quarrow/refiling_output.h"
#include "apps/quarrow/time_text.h"
#include "delivery/folder_name.h"
#include "message_filters/mailbox_name.h"
#include "message_filters/user_files.h"
#include "refiling/journal.h"
#include "refiling/mail_folders.h"
#include "refiling/refiler.h"
#include "refiling/refiling_plan.h"
#include "refiling/refiling_thread.h"
#include "system/exists.h"
#include "trial/message_evaluator.h"
#include "trial/parallel_run.h"
#include "trial/run.h"

namespace Quarrow::Command {
namespace {

using Administration::GuardedOutcome;
using Administration::RulesTransaction;
using Trial::MailSource;

struct ApplyOptions {
  std::string user;
  std::string folder = "INBOX";
  std::string rule;  // its id or its name; empty: all of them
  std::optional<std::string> since;
  std::optional<std::string> discard_to;
  Delivery::FolderDots folder_dots = Delivery::FolderDots::inbox;
  bool list = false;
  ListingForm form = ListingForm::table;
  bool yes = false;
  bool undo = false;
  std::optional<std::size_t> jobs;  // none: as many as the work is worth
};

// The name of the user's filter that `text` names by its id or its name: by it an evaluation tells
// which filter decided.
GuardedOutcome name_of_rule(RulesTransaction& rules, const std::string& text) {
  boost::shared_ptr<MessageFilters::Filter__> named;
  if (auto refusal = Administration::find_filter(rules.filters(), text, named))
    return {refusal, ""};
  return {Administration::check_tells_by_name(rules.filters(), *named), named->name};
}

// The folder of a Maildir that the option `name` with `text` names.
Fault read_folder(const std::string& text, Delivery::FolderDots dots, std::string& folder) {
  const std::string mailbox = MessageFilters::imap_mailbox_name(text);
  const auto found = Delivery::maildir_folder(mailbox, dots);
  if (!found) return {"can't be a folder's name: " + text, EX_USAGE};
  folder = *found;
  return {};
}

// Fills `wish`; gives the exit status of what can't be understood.
int read_wish(const ApplyOptions& options, const EmailAddress& user, Refiling::Wish& wish) {
  wish.dots = options.folder_dots;
  if (const Fault fault = read_folder(options.folder, wish.dots, wish.folder))
    return complain("--folder", fault);
  if (options.discard_to)
    if (const Fault fault = read_folder(*options.discard_to, wish.dots, wish.discard_to.emplace()))
      return complain("--discard-to", fault);
  if (options.since) wish.since = time_of(*options.since);
  if (options.since && !wish.since)
    return complain(*options.since, "not a time; write it as 2026-05-04 or as \"2026-05-04 12:00\"",
                    EX_USAGE);
  if (options.rule.empty()) return EX_OK;
  const GuardedOutcome outcome = Administration::with_rules_of(
      user, [&](RulesTransaction& rules) { return name_of_rule(rules, options.rule); });
  wish.rule = outcome.answer;
  return outcome.refusal ? complain(outcome.refusal, options.user) : EX_OK;
}

// Has the journal say what was done last, and undoes it.
int undo(const ApplyOptions& options, const std::string& folder) {
  Refiling::Journal journal;
  if (!exists(in_folder(folder, Refiling::journal_name)))
    return complain(options.user, "nothing to undo", EX_DATAERR);
  if (const auto refusal = journal.open(folder)) return complain(refusal);
  std::optional<std::vector<Refiling::Step>> steps;
  if (const auto refusal = journal.read_last_run(steps)) return complain(refusal);
  if (!steps) return complain(options.user, "nothing to undo", EX_DATAERR);
  print_undo(*steps, options.form, std::cout);
  if (!options.yes) return print_hint(options.form);
  RefilingProgress progress;
  progress.expect(steps->size());
  RefilingReport report(progress, RefilingReport::Counts::steps);
  Refiling::Refiler refiler(folder, journal, report);
  return report.finish(refiler.undo(*steps), options.form);
}

// The plan for all that is in the folder; null where the rules can't be run, with the exit status.
std::optional<Refiling::RefilingPlan> make_plan(
    const ApplyOptions& options, const std::string& folder, const Refiling::Wish& wish,
    RefilingProgress& progress, const Refiling::OnPlanned& on_planned, int& status) {
  const std::string maildir = in_folder(folder, maildir_name);
  std::optional<Trial::SourceFailure> failure;
  const auto sources = Refiling::sources_for(maildir, wish, failure);
  if (failure) {
    const Refiling::MailFolders folders(maildir);
    status =
        folders.is_missing(options.folder, wish.dots)
            ? complain("--folder " + options.folder,
                       "there is no such folder" + folders.question(options.folder), EX_NOINPUT)
            : complain(*failure);
    return std::nullopt;
  }
  const std::string script = in_folder(folder, script_name);
  const auto make = [&script] { return Trial::isolated_evaluator(script); };
  const auto evaluator = make();
  if (!evaluator) {
    status = complain_of_script(options.user, script);
    return std::nullopt;
  }
  progress.expect(sources.size());
  const Trial::RunSettings settings = {std::nullopt, wish.dots};
  return Refiling::plan_refiling(
      maildir, wish, sources,
      [&](const std::vector<MailSource>& round, Trial::Observer& planner) {
        PlanningProgress observer(planner, progress);
        const std::size_t jobs = jobs_for(options.jobs, round);
        if (jobs <= 1)
          (void)Trial::run(round, *evaluator, observer, settings);
        else
          (void)Trial::run_in_parallel(round, *evaluator, make, jobs, observer, settings);
      },
      on_planned);
}

int show(const ApplyOptions& options, const Refiling::RefilingPlan& plan) {
  if (options.list)
    print_messages(plan, options.form, std::cout);
  else
    print_summary(plan, options.form, std::cout);
  return complain_of_failures(plan);
}

int show_plan(const ApplyOptions& options, const std::string& folder, const Refiling::Wish& wish) {
  int status = EX_OK;
  RefilingProgress progress;
  const auto plan = make_plan(
      options, folder, wish, progress, [](const Refiling::PlannedMessage& /*message*/) {}, status);
  progress.hide();
  if (!plan) return status;
  status = show(options, *plan);
  return std::max(status, print_hint(options.form));
}

// Messages move while the rules decide about further ones.
int carry_out(const ApplyOptions& options, const std::string& folder, const Refiling::Wish& wish) {
  Refiling::Journal journal;
  if (const auto refusal = journal.open(folder)) return complain(refusal);
  RefilingProgress progress;
  RefilingReport report(progress, RefilingReport::Counts::nothing);
  Refiling::RefilingThread refiling(folder, journal, report);
  if (const auto refusal = refiling.begin(wish.folder)) return complain(refusal);
  int status = EX_OK;
  const auto plan = make_plan(
      options, folder, wish, progress,
      [&](const Refiling::PlannedMessage& message) {
        if (auto task = Refiling::task_of(message)) refiling.add(std::move(*task));
      },
      status);
  if (!plan) return status;
  const auto refusal = refiling.finish();
  progress.hide();
  status = show(options, *plan);
  return std::max(status, report.finish(refusal, options.form));
}

int apply(const Settings& settings, const ApplyOptions& options) {
  EmailAddress user;
  if (const auto refusal = find_user(settings, options.user, user))
    return complain(settings, refusal);
  Refiling::Wish wish;
  if (!options.undo)
    if (const int status = read_wish(options, user, wish)) return status;
  std::string folder = Administration::user_folder(user);
  if (const Fault no_owner = become_owner_of(folder)) return complain(folder, no_owner);
  if (options.undo) return undo(options, folder);
  return options.yes ? carry_out(options, folder, wish) : show_plan(options, folder, wish);
}

}  // namespace

Run declare_apply(CLI::App& app) {
  const auto options = std::make_shared<ApplyOptions>();
  add_user_option(app, options->user);
  const Option undone =
      add_flag(app, "--undo", options->undo, "Bring back what the last time moved and copied");
  add_option(app, "--folder", options->folder, "The folder whose messages are looked at")
      .type_name("FOLDER")
      .capture_default_str()
      .excludes(undone);
  add_option(app, "--rule", options->rule, "Only messages that this filter decides about")
      .type_name("FILTER")
      .excludes(undone);
  add_option(app, "--since", options->since, "Only messages received at this time or later")
      .type_name("TIME")
      .excludes(undone);
  add_option(app, "--discard-to", options->discard_to,
             "The folder for messages that rules discard or reject; they stay otherwise")
      .type_name("FOLDER")
      .excludes(undone);
  add_folder_dots_option(app, options->folder_dots,
                         "Folders with a dot in the name: as delivery is told");
  add_flag(app, "--list", options->list, "List each message that a rule decides about")
      .excludes(undone);
  add_format_option(app, options->form);
  add_flag(app, "--yes", options->yes, "Do it; without this, only the plan is shown");
  add_jobs_option(app, options->jobs);
  return [options](const Settings& settings) { return apply(settings, *options); };
}

}  // namespace Quarrow::Command
