// The users that a subcommand works for: one who is named, or several.
#ifndef QUARROW_APPS_QUARROW_COMMANDS_USER_SELECTION_H_
#define QUARROW_APPS_QUARROW_COMMANDS_USER_SELECTION_H_

#include <functional>
#include <string>
#include <vector>

#include "apps/quarrow/commands/command.h"

namespace Quarrow::Command {

struct UserSelection {
  std::string user;       // the one, by mail address
  bool all = false;       // all users of the root
  std::string file = {};  // or else those in this file, one a line; "-" is standard input

  bool several() const { return all || !file.empty(); }
};

// An argument that stands behind the user, and must be given.
struct Argument {
  const char* name;
  const char* help;
  std::string* value;
};

// Adds the argument that names a user, those that stand `behind` it, and the options that stand for
// several users in the user's place. All of these outlive the parsing.
void add_user_selection(CLI::App& app, UserSelection& users,
                        const std::vector<Argument>& behind = {});

// Calls `work` for each of the users, with settings by which they are found. A user for whom it
// fails stops no other. Gives the exit status of the last failure, after a complaint when the users
// can't be known.
int for_each_user(const Settings& settings, const UserSelection& users,
                  const std::function<int(const Settings&, const std::string& user)>& work);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_COMMANDS_USER_SELECTION_H_
