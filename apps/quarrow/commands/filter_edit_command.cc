// quarrow filter edit: parts of a filter put in place of others, or the filter as a text.
#include <sysexits.h>

#include <iterator>
#include <memory>
#include <set>
#include <sstream>

#include "administration/filter_reference.h"
#include "administration/filter_text.h"
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
using MessageFilters::Action;
using MessageFilters::Field;
using MessageFilters::Filter__;
using MessageFilters::Test;

struct FilterEditOptions {
  std::string user;
  std::string filter;
  std::string file;  // with the text of the filter; empty: it is changed by the options, or edited
  std::string name;
  std::vector<std::string> tests;
  std::vector<std::string> added_tests;
  std::vector<std::size_t> removed_tests;  // places among the tests, from 1 on
  std::vector<std::string> actions;
  bool all = false;
  bool any = false;
  std::string catalogue = system_catalogue;
  Delivery::FolderDots folder_dots = Delivery::FolderDots::inbox;
  ChangeMode mode;
};

// The options that change a part.
const char* const part_options[] = {"--name", "--if",  "--add-if", "--remove-if",
                                    "--then", "--all", "--any"};

bool changes_something(CLI::App& app) {
  for (const char* option : part_options)
    if (option_of(app, option).is_given()) return true;
  return false;
}

// What the texts in the options stand for.
struct Parts {
  std::list<Test> tests;  // in place of those that were there
  std::list<Test> added_tests;
  std::list<Action> actions;  // in place of those that were there
};

Refusal read_parts(const FilterEditOptions& options, const std::list<Field>& catalogue,
                   Parts& parts) {
  parts = {};
  Refusal refusal = read_tests("--if", options.tests, catalogue, parts.tests);
  if (!refusal) refusal = read_tests("--add-if", options.added_tests, catalogue, parts.added_tests);
  return refusal ? refusal : read_actions(options.actions, options.folder_dots, parts.actions);
}

// Removes the tests at these places, all of them counted before any is gone.
Refusal remove_tests(const std::vector<std::size_t>& places, Filter__& filter) {
  const std::set<std::size_t> from_behind(places.begin(), places.end());
  const std::size_t tests = filter.tests.size();
  for (auto place = from_behind.rbegin(); place != from_behind.rend(); ++place) {
    if (*place > tests)
      return {Refusal::Kind::wrong_rule, "--remove-if " + std::to_string(*place),
              Administration::title_of(filter) + " has " + std::to_string(tests) +
                  (tests == 1 ? " test" : " tests")};
    filter.tests.erase(std::next(filter.tests.begin(), static_cast<std::ptrdiff_t>(*place) - 1));
  }
  return {};
}

// Changes the parts of `filter` that options are given for.
Refusal edit(const FilterEditOptions& options, const Parts& parts, bool has_name,
             Filter__& filter) {
  if (has_name) {
    if (const Refusal refusal = Administration::check_name(options.name))
      return of_option("--name", options.name, refusal);
    filter.name = options.name;
  }
  if (options.any) filter.relation = Filter__::ANYOF;
  if (options.all) filter.relation = Filter__::ALLOF;
  if (const Refusal refusal = remove_tests(options.removed_tests, filter)) return refusal;
  if (!parts.tests.empty()) filter.tests = parts.tests;
  filter.tests.insert(filter.tests.end(), parts.added_tests.begin(), parts.added_tests.end());
  if (!parts.actions.empty()) filter.actions = parts.actions;
  return Administration::check_counts(filter.tests.size(), filter.actions.size());
}

// A user's filter that is changed.
class FilterChange {
 public:
  FilterChange(const Settings& settings, const FilterEditOptions& options, const EmailAddress& user)
      : settings_(settings), options_(options), user_(user) {}

  int by_options(bool has_name) {
    Parts parts;
    const Refusal refusal = read_with_fields(user_, options_.catalogue, [&](const auto& catalogue) {
      return read_parts(options_, catalogue, parts);
    });
    if (refusal) return complain(refusal);
    const int status =
        change(options_.filter, options_.mode, !parts.actions.empty(),
               [&](Filter__& filter) { return edit(options_, parts, has_name, filter); });
    return remark_on_actions(parts.actions, status);
  }

  int by_file() { return take_filter_file(options_.file, use(options_.filter, options_.mode)); }

  int by_editor() {
    const GuardedOutcome found = Administration::with_rules_of(
        user_, [this](RulesTransaction& rules) { return look_at(rules); });
    if (found.refusal) return complain(settings_, found.refusal);
    ChangeMode mode = options_.mode;
    std::string id;
    std::string text;
    std::istringstream answer(found.answer);
    answer >> mode.consent.if_revision >> id >> std::ws;
    std::getline(answer, text, '\0');
    return edit_filter(text, use(id, mode),
                       "quarrow filter edit " + shell_quoted(options_.user) + ' ' + id);
  }

 private:
  // The answer is the revision of the rules, the filter's number and its text.
  GuardedOutcome look_at(RulesTransaction& rules) const {
    const auto& consent = options_.mode.consent;
    boost::shared_ptr<Filter__> filter;
    Refusal refusal = rules.check_revision(consent.if_revision);
    if (!refusal) refusal = Administration::find_filter(rules.filters(), options_.filter, filter);
    if (!refusal) refusal = rules.check_commit(consent);
    if (refusal) return {refusal, ""};
    return {{},
            rules.revision() + ' ' + std::to_string(filter->id) + ' ' +
                Administration::filter_text(*filter)};
  }

  TextUse use(const std::string& name, const ChangeMode& mode) {
    return {[this](const std::string& text) {
              return read_with_fields(
                  user_, options_.catalogue,
                  [&](const auto& catalogue) {
                    return Administration::read_filter_text(text, options_.folder_dots, *written_,
                                                            catalogue);
                  });
            },
            [this, name, mode] {
              const int status = change(
                  name, mode, true,
                  [this](Filter__& filter) {
                    written_->id = filter.id;
                    filter = *written_;
                    return Refusal();
                  });
              return remark_on_actions(written_->actions, status);
            }};
  }

  int change(const std::string& name, const ChangeMode& mode, bool changes_actions,
             const std::function<Refusal(Filter__&)>& edit_one) const {
    return change_filter_of(
        settings_, UserSelection{options_.user}, name, mode,
        [&](RulesTransaction& /*rules*/, Filter__& filter) -> GuardedOutcome {
          const Refusal refusal = edit_one(filter);
          if (!refusal && changes_actions)
            warn_of_folders(Administration::user_folder(user_), filter, options_.folder_dots);
          return {refusal, ""};
        });
  }

  const Settings& settings_;
  const FilterEditOptions& options_;
  const EmailAddress user_;
  const boost::shared_ptr<Filter__> written_ = Filter__::Create();  // as a text
};

int filter_edit(const Settings& settings, const FilterEditOptions& options, CLI::App& app) {
  const bool has_parts = changes_something(app);
  if (!has_parts && options.file.empty() && !has_terminal())
    return complain("filter edit",
                    "nothing to change is given; see quarrow filter edit --help; without "
                    "options, an editor opens where standard input and output are a terminal",
                    EX_USAGE);
  EmailAddress user;
  if (const Refusal refusal = find_user(settings, options.user, user))
    return complain(settings, refusal);
  FilterChange change(settings, options, user);
  if (has_parts) return change.by_options(option_of(app, "--name").is_given());
  return options.file.empty() ? change.by_editor() : change.by_file();
}

void add_part_options(CLI::App& app, FilterEditOptions& options) {
  add_option(app, "--name", options.name, "The new name of the filter").type_name("TEXT");
  add_text_option(app, "--if", options.tests, "TEST",
                  "A test in place of all that were there; repeat it for more tests");
  add_text_option(app, "--add-if", options.added_tests, "TEST",
                  "A further test; repeat it for more tests");
  add_repeated(
      app, "--remove-if",
      [&options](const std::string& place) {
        options.removed_tests.push_back(std::stoul(place, nullptr, 0));
      },
      "Remove the test N, as filter show has them; repeat it for more tests")
      .type_name("N")
      .in_range(1, 1000)
      .excludes(option_of(app, "--if"));
  add_text_option(app, "--then", options.actions, "ACTION",
                  "An action in place of all that were there; repeat it for more actions");
  const auto all = add_flag(app, "--all", options.all, "All tests must hold");
  add_flag(app, "--any", options.any, "One of the tests must hold").excludes(all);
}

}  // namespace

Run declare_filter_edit(CLI::App& app) {
  const auto options = std::make_shared<FilterEditOptions>();
  add_user_option(app, options->user);
  add_filter_option(app, options->filter);
  add_part_options(app, *options);
  const auto file = add_filter_file_option(app, options->file);
  for (const char* part : part_options) file.excludes(option_of(app, part));
  add_catalogue_option(app, options->catalogue);
  add_action_folder_dots(app, options->folder_dots);
  add_change_options(app, options->mode);
  return [options, &app](const Settings& settings) { return filter_edit(settings, *options, app); };
}

}  // namespace Quarrow::Command
