// quarrow filter add: a new filter, checked before it is taken.
#include <sysexits.h>

#include <memory>

#include "administration/filter_reference.h"
#include "administration/filter_text.h"
#include "administration/root_setup.h"
#include "administration/rule_check.h"
#include "administration/users.h"
#include "apps/quarrow/commands/catalogue_fields.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/commands/filter_options.h"
#include "apps/quarrow/commands/rule_options.h"
#include "apps/quarrow/complaint.h"
#include "apps/quarrow/filter_editing.h"
#include "apps/quarrow/rule_warnings.h"
#include "apps/quarrow/shell_word.h"
#include "message_filters/user_files.h"

namespace Quarrow::Command {
namespace {

using Administration::ChangeMode;
using Administration::GuardedOutcome;
using Administration::Refusal;
using Administration::RulesTransaction;
using MessageFilters::Filter__;

const char template_comment[] =
    "# The new filter. Save the text to add it; leave it as it is to add nothing.\n"
    "# \"match\" is all or any: all tests have to hold, or one of them.\n"
    "# Each test has a line \"if:\", such as\n"
    "#   if: subject contains quarterly\n"
    "#   if: from is not boss@example.org\n"
    "#   if: size over 2 MB\n"
    "# Each action has a line \"then:\", which is move FOLDER, copy FOLDER or delete.\n"
    "# quarrow-rules(5) tells all tests and actions.\n";

struct FilterAddOptions {
  std::string user;
  FilterOptions filter;
  std::string file;  // with the text of the filter; empty: it is made of the options, or edited
  bool has_name = false;  // be it an empty one
  bool disabled = false;
  std::string before;  // empty: at the end
  std::string catalogue = system_catalogue;
  Delivery::FolderDots folder_dots = Delivery::FolderDots::inbox;
  ChangeMode mode;

  bool has_parts() const { return !filter.tests.empty() || !filter.actions.empty(); }
};

// Puts the number of the filter that the new one stands before into `number`; 0 for the end.
Refusal find_place(RulesTransaction& rules, const std::string& before, std::int32_t& number) {
  boost::shared_ptr<Filter__> next;
  if (!before.empty())
    if (const Refusal refusal = Administration::find_filter(rules.filters(), before, next))
      return refusal;
  number = next ? next->id : 0;
  return rules.check_place(number);
}

// A user's new filter on its way into their filters.
class NewFilter {
 public:
  NewFilter(const Settings& settings, const FilterAddOptions& options, const EmailAddress& user)
      : settings_(settings), options_(options), user_(user) {}

  int of_options() {
    if (!options_.has_name && !options_.has_parts())
      return complain("filter add",
                      "give --name, --if and --then, or --file; without them, an editor opens "
                      "where standard input and output are a terminal",
                      EX_USAGE);
    Refusal refusal =
        Administration::check_counts(options_.filter.tests.size(), options_.filter.actions.size());
    if (refusal) {
      refusal.object = "filter add";
      return complain(refusal);
    }
    refusal = read([this](const auto& catalogue) {
      return read_filter(options_.filter, "--name", options_.folder_dots, catalogue, *filter_);
    });
    return refusal ? complain(refusal) : commit(options_.mode);
  }

  int of_file() { return take_filter_file(options_.file, use(options_.mode)); }

  int of_editor() {
    const GuardedOutcome found = Administration::with_rules_of(
        user_, [this](RulesTransaction& rules) { return look_at(rules); });
    if (found.refusal) return complain(settings_, found.refusal);
    ChangeMode mode = options_.mode;
    mode.consent.if_revision = found.answer;
    return edit_filter(first_text(), use(mode),
                       "quarrow filter add " + shell_quoted(options_.user));
  }

 private:
  // The answer is the revision of the rules, which a filter can be added to.
  GuardedOutcome look_at(RulesTransaction& rules) const {
    const auto& consent = options_.mode.consent;
    std::int32_t place = 0;
    Refusal refusal = rules.check_revision(consent.if_revision);
    if (!refusal) refusal = find_place(rules, options_.before, place);
    if (!refusal) refusal = rules.check_commit(consent);
    return {refusal, rules.revision()};
  }

  std::string first_text() const {
    const FilterOptions& given = options_.filter;
    return template_comment + std::string("name: ") + given.name +
           "\nenabled: " + (options_.disabled ? "no" : "yes") +
           "\nmatch: " + (given.any ? "any" : "all") + "\nif: \nthen: \n";
  }

  TextUse use(const ChangeMode& mode) {
    return {[this](const std::string& text) {
              return read([&](const auto& catalogue) {
                return Administration::read_filter_text(text, options_.folder_dots, *filter_,
                                                        catalogue);
              });
            },
            [this, mode] { return commit(mode); }};
  }

  Refusal read(const std::function<Refusal(const std::list<MessageFilters::Field>&)>& read_new) {
    return read_with_fields(
        user_, options_.catalogue,
        [&](const auto& catalogue) {
          filter_ = Filter__::Create();
          filter_->enabled = !options_.disabled;
          return read_new(catalogue);
        });
  }

  // Adds the filter; the answer is its number.
  GuardedOutcome add(RulesTransaction& rules) const {
    std::int32_t before = 0;
    Refusal refusal = find_place(rules, options_.before, before);
    if (!refusal) refusal = rules.add(filter_, before);
    if (refusal) return {refusal, ""};
    warn_of_rules(*rules.filters().filters, filter_->id);
    warn_of_folders(Administration::user_folder(user_), *filter_, options_.folder_dots);
    return {{}, std::to_string(filter_->id) + '\n'};
  }

  int commit(const ChangeMode& mode) const {
    const int status = with_filters_of(settings_, options_.user, [&](RulesTransaction& rules) {
      return Administration::change_rules(rules, mode,
                                          [this](RulesTransaction& opened) { return add(opened); });
    });
    return remark_on_actions(filter_->actions, status);
  }

  const Settings& settings_;
  const FilterAddOptions& options_;
  const EmailAddress user_;
  boost::shared_ptr<Filter__> filter_;
};

int filter_add(const Settings& settings, const FilterAddOptions& options) {
  if (!options.has_name && options.has_parts())
    return complain("arguments", "--name is required; see quarrow filter add --help", EX_USAGE);
  EmailAddress user;
  Refusal refusal = find_user(settings, options.user, user);
  if (!refusal) refusal = Administration::open_configuration(settings.root);
  if (refusal) return complain(settings, refusal);
  NewFilter filter(settings, options, user);
  if (!options.file.empty()) return filter.of_file();
  return options.has_parts() || !has_terminal() ? filter.of_options() : filter.of_editor();
}

}  // namespace

Run declare_filter_add(CLI::App& app) {
  const auto options = std::make_shared<FilterAddOptions>();
  add_user_option(app, options->user);
  const auto parts = add_filter_options(app, "--name", "Name of the filter", options->filter);
  const auto disabled =
      add_flag(app, "--disabled", options->disabled, "Store the filter, but do not run it");
  const auto file = add_filter_file_option(app, options->file);
  for (const Option& part : parts) file.excludes(part);
  file.excludes(disabled);
  add_option(app, "--before", options->before, "Try it before this filter instead of last")
      .type_name("OTHER");
  add_catalogue_option(app, options->catalogue);
  add_action_folder_dots(app, options->folder_dots);
  add_change_options(app, options->mode);
  return [options, name = parts.front()](const Settings& settings) {
    options->has_name = name.is_given();
    return filter_add(settings, *options);
  };
}

}  // namespace Quarrow::Command
