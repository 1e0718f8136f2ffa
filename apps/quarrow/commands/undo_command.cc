// quarrow undo, redo and restore: a user's filters as they were.
#include <memory>
#include <string>

#include "apps/quarrow/commands/filter_command.h"
#include "system/printable.h"

namespace Quarrow::Command {
namespace {

using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::RulesTransaction;

struct UndoOptions {
  std::string user;
  std::string revision;
  bool dry_run = false;
  Administration::CommitConsent consent;
};

std::string text_of_changes(const RulesTransaction& rules) {
  std::string text;
  for (const auto& difference : rules.changes())
    text += printable(difference_text(difference)) + '\n';
  return text.empty() ? "nothing changes\n" : text;
}

// Commits what `step` makes of the filters; the answer is what that changes, in words.
int change(const Settings& settings, const UndoOptions& options,
           const std::function<Refusal(RulesTransaction&)>& step) {
  return with_filters_of(
      settings, options.user,
      [&](RulesTransaction& rules) -> GuardedOutcome {
        Refusal refusal = rules.check_revision(options.consent.if_revision);
        if (!refusal) refusal = step(rules);
        if (refusal) return {refusal, ""};
        const std::string changes = text_of_changes(rules);
        refusal =
            options.dry_run ? rules.check_commit(options.consent) : rules.commit(options.consent);
        return {refusal, refusal ? "" : changes};
      });
}

std::shared_ptr<UndoOptions> declare_options(CLI::App& app) {
  const auto options = std::make_shared<UndoOptions>();
  add_user_option(app, options->user);
  add_flag(app, "--dry-run", options->dry_run, "Say what would change, and change nothing");
  add_consent_options(app, options->consent);
  return options;
}

}  // namespace

Run declare_undo(CLI::App& app) {
  const auto options = declare_options(app);
  return [options](const Settings& settings) {
    return change(settings, *options, [](RulesTransaction& rules) { return rules.undo(); });
  };
}

Run declare_redo(CLI::App& app) {
  const auto options = declare_options(app);
  return [options](const Settings& settings) {
    return change(settings, *options, [](RulesTransaction& rules) { return rules.redo(); });
  };
}

Run declare_restore(CLI::App& app) {
  const auto options = declare_options(app);
  add_option(app, "revision", options->revision, "The revision, as quarrow history shows it")
      .type_name("")
      .required();
  return [options](const Settings& settings) {
    return change(settings, *options,
                  [&](RulesTransaction& rules) { return rules.restore(options->revision); });
  };
}

}  // namespace Quarrow::Command
