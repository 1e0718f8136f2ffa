// A table of what the arguments' names stand for.
#include "apps/quarrow/known_values.h"

#include <quarrow/rule_model.h>
#include <zvelluser.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "administration/rule_text.h"
#include "administration/rule_words.h"
#include "administration/settings_change.h"
#include "administration/users.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/commands/homes_file.h"
#include "apps/quarrow/names_in_use.h"
#include "homes/home_listing.h"
#include "importing/rules_format.h"

namespace Quarrow::Command {
namespace {

using Completion::Cursor;
using Completion::Offer;
using Completion::Paths;
using MessageFilters::Action;

// The shell has not replaced a tilde yet.
std::string with_home(const std::string& path) {
  const char* const home = std::getenv("HOME");
  return home != nullptr && path.rfind("~/", 0) == 0 ? home + path.substr(1) : path;
}

// The line that is typed.
struct Line {
  Settings settings;
  const Cursor& cursor;
};

Offer users(const Line& line) {
  std::vector<std::string> names;
  mailuser_set_root(line.settings.root);
  (void)Administration::list_users(line.settings.root, names, line.cursor.typed);
  return Completion::offer_of(names);
}

// The user whom the line names.
std::string named_user(const Cursor& cursor) {
  const std::string user = given(cursor, "user");
  return user.empty() ? given(cursor, "-d") : user;
}

// What `look` finds in the files of that user; nothing when they are not known.
Offer in_use(const Line& line, std::vector<NameInUse> (*look)(const EmailAddress&)) {
  EmailAddress user;
  if (read_user(line.settings, named_user(line.cursor), user)) return {};
  Offer offer;
  for (NameInUse& each : look(user))
    offer.candidates.push_back({std::move(each.name), std::move(each.meaning)});
  return offer;
}

// A name with a dash in front would be read as an option. The filter has an id as well.
Offer filters(const Line& line) {
  Offer offer = in_use(line, filters_in_use);
  auto& all = offer.candidates;
  all.erase(std::remove_if(all.begin(), all.end(),
                           [](const auto& each) { return each.text.rfind('-', 0) == 0; }),
            all.end());
  return offer;
}

Offer revisions(const Line& line) { return in_use(line, revisions_in_use); }

Offer own_fields(const Line& line) { return in_use(line, own_fields_in_use); }

Offer folders(const Line& line) { return in_use(line, folders_in_use); }

Offer actions(const Line& line) {
  std::vector<std::string> texts = {Action::DELETE};
  for (const auto& folder : folders(line).candidates)
    for (const std::string& method : {Action::MOVE, Action::COPY})
      texts.push_back(Administration::action_text({method, folder.text, ""}));
  return Completion::offer_of(texts);
}

Offer types(const Line& /*line*/) { return Completion::offer_of(Administration::type_words()); }

Offer formats(const Line& /*line*/) { return Completion::offer_of(Importing::format_words()); }

Offer setting_names(const Line& /*line*/) {
  return Completion::offer_of(Administration::setting_names());
}

Offer nodes(const Line& line) {
  std::vector<std::string> names;
  const std::string file = given(line.cursor, "--homes");
  (void)Homes::list_nodes(file.empty() ? default_homes_file : with_home(file),
                          [&names](const Homes::Node& node) { names.push_back(node.name); });
  return Completion::offer_of(names);
}

// What is new has no name yet.
Offer no_values(const Line& /*line*/) { return {}; }

Offer file_paths(const Line& /*line*/) { return {{}, Paths::files}; }

Offer folder_paths(const Line& /*line*/) { return {{}, Paths::folders}; }

// What an argument, an option, or an option's value of that name is; of one subcommand alone, or
// else of all. The first row that fits counts.
const struct Row {
  const char* command;  // null for all
  const char* name;
  Offer (*values)(const Line& line);
} rows[] = {{"filter copy", "--to", users},
            {"field remove", "name", own_fields},
            {"config get", "name", setting_names},
            {"config set", "name", setting_names},
            {nullptr, "user", users},
            {nullptr, "users", users},
            {nullptr, "USER", users},
            {nullptr, "filter", filters},
            {nullptr, "FILTER", filters},
            {nullptr, "OTHER", filters},
            {nullptr, "older", revisions},
            {nullptr, "newer", revisions},
            {nullptr, "revision", revisions},
            {nullptr, "REVISION", revisions},
            {"home node add", "node", no_values},
            {nullptr, "node", nodes},
            {nullptr, "NODE", nodes},
            {nullptr, "type", types},
            {nullptr, "FORMAT", formats},
            {nullptr, "FOLDER", folders},
            {nullptr, "ACTION", actions},
            {nullptr, "file", file_paths},
            {nullptr, "message", file_paths},
            {nullptr, "messages", file_paths},
            {nullptr, "FILE", file_paths},
            {nullptr, "DIR", folder_paths}};

// Where options stand for several users, the first argument is that behind the user, and so on.
const CLI::Option* argument_at(const Cursor& cursor) {
  const bool several = has(cursor, "--all-users") || has(cursor, "--users");
  if (!several || !cursor.option->get_positional()) return cursor.option;
  bool is_next = false;
  for (const CLI::Option* option : cursor.command->get_options()) {
    if (is_next && option->get_positional()) return option;
    is_next = is_next || option == cursor.option;
  }
  return nullptr;
}

bool fits(const Row& row, const CLI::Option& option, const std::string& command) {
  if (row.command != nullptr && command != row.command) return false;
  return option.check_name(row.name) || option.get_type_name() == row.name;
}

Settings settings_on(const Cursor& cursor) {
  Settings settings;
  const std::string root = given(cursor, "--root");
  if (!root.empty()) settings.root = with_home(root);
  if (has(cursor, "--keep-case")) settings.address_case = Delivery::AddressCase::kept;
  return settings;
}

}  // namespace

Offer known_values(const Cursor& cursor) {
  const CLI::Option* const option = argument_at(cursor);
  if (option == nullptr) return {};
  const std::string command = command_words(cursor);
  for (const Row& row : rows)
    if (fits(row, *option, command)) return row.values({settings_on(cursor), cursor});
  return {};
}

}  // namespace Quarrow::Command
