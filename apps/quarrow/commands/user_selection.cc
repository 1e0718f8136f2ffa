// Naming users on the command line.
#include "apps/quarrow/commands/user_selection.h"

#include <sysexits.h>
#include <zvelluser.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

#include "administration/root_setup.h"
#include "administration/users.h"
#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/complaint.h"

namespace Quarrow::Command {
namespace {

using Administration::Refusal;

struct Place {
  Option option;
  std::string* value;
};

// The arguments were read as though the first one were the user, which it is not where several
// users are meant. Says what is missing or too much as the option parser does.
void settle(const UserSelection& users, const std::vector<Place>& places) {
  std::size_t first = 0;
  if (users.several()) {
    if (places.back().option.is_given()) refuse_both("user", users.all ? "--all-users" : "--users");
    for (std::size_t i = places.size() - 1; i > 0; --i) *places[i].value = *places[i - 1].value;
    first = 1;
  }
  for (std::size_t i = first; i < places.size(); ++i)
    if (!places[i - first].option.is_given()) refuse_missing(places[i].option.name());
}

std::string trimmed(const std::string& line) {
  const char blanks[] = " \t\r";
  const std::size_t begin = line.find_first_not_of(blanks);
  if (begin == std::string::npos) return "";
  return line.substr(begin, line.find_last_not_of(blanks) + 1 - begin);
}

// Lines without a text are left out. 0, or the errno.
int read_lines(std::istream& in, std::vector<std::string>& lines) {
  std::string line;
  while (std::getline(in, line))
    if (!(line = trimmed(line)).empty()) lines.push_back(line);
  return in.bad() ? EIO : 0;
}

int read_file(const std::string& path, std::vector<std::string>& users) {
  int error = 0;
  if (path == "-") {
    error = read_lines(std::cin, users);
  } else {
    errno = 0;
    std::ifstream file(path);
    error = file ? read_lines(file, users) : errno;
  }
  return error == 0 ? EX_OK : complain(path, std::strerror(error), file_status(error));
}

int list_all(const Settings& settings, std::vector<std::string>& users) {
  mailuser_set_root(settings.root);
  Refusal refusal = Administration::open_configuration(settings.root);
  if (!refusal) refusal = Administration::list_users(settings.root, users);
  return refusal ? complain(settings, refusal) : EX_OK;
}

}  // namespace

void add_user_selection(CLI::App& app, UserSelection& users, const std::vector<Argument>& behind) {
  const auto add = [&app](const char* name, std::string& value, const char* help) {
    return Place{add_option(app, name, value, help).type_name(""), &value};
  };
  std::vector<Place> places = {add("user", users.user, "The user, by mail address")};
  for (const Argument& argument : behind)
    places.push_back(add(argument.name, *argument.value, argument.help));
  const auto all = add_flag(app, "-A,--all-users", users.all, "All users, instead of one");
  add_option(app, "-F,--users", users.file, "The users in FILE, one a line; - is standard input")
      .type_name("FILE")
      .excludes(all);
  on_parsed(app, [&users, places] { settle(users, places); });
}

int for_each_user(const Settings& settings, const UserSelection& users,
                  const std::function<int(const Settings&, const std::string& user)>& work) {
  if (!users.several()) return work(settings, users.user);
  Settings finding = settings;
  // the names of folders that are there, which a user with capitals is found by
  if (users.all) finding.address_case = Delivery::AddressCase::kept;
  std::vector<std::string> names;
  int status = users.all ? list_all(settings, names) : read_file(users.file, names);
  if (status != EX_OK) return status;
  for (const std::string& name : names)
    if (const int failed = work(finding, name)) status = failed;
  return status;
}

}  // namespace Quarrow::Command
