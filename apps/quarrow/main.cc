// The command line tool: administers users' filters, and tries them on messages.
#include <sysexits.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <exception>
#include <iostream>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include "administration/near_names.h"
#include "apps/quarrow/commands/command.h"
#include "apps/quarrow/complaint.h"
#include "apps/quarrow/known_values.h"
#include "apps/quarrow/usage_error.h"
#include "completion/answer.h"
#include "system/printable.h"

namespace Quarrow::Command {
namespace {

// Runs the command with these arguments, without its name; gives the exit status.
int run_quarrow(const std::vector<std::string>& arguments);

// quarrow help: the same as --help behind the subcommand.
Run declare_help(CLI::App& app) {
  const auto words = std::make_shared<std::vector<std::string>>();
  app.add_option("subcommand", *words, "What to explain")->type_name("");
  return [words](const Settings& /*settings*/) {
    std::vector<std::string> arguments = *words;
    arguments.emplace_back("--help");
    return run_quarrow(arguments);
  };
}

const std::vector<Subcommand> user_commands = {
    {"add", "Make the folder of a user, who gets mail from then on.",
     "quarrow user add alice@example.org", declare_user_add},
    {"list", "List the addresses of all users.", "quarrow user list", declare_user_list},
    {"show", "Say what there is of a user.", "quarrow user show alice@example.org",
     declare_user_show},
    {"rehash", "Move users' folders below folders that are named by a hash, or back.",
     "quarrow user rehash --all-users", declare_user_rehash},
    {"remove", "Remove a user with their filters.", "quarrow user remove alice@example.org",
     declare_user_remove},
    {"lock", "Have mail wait, and nothing change, while a user is moved to another machine.",
     "quarrow user lock alice@example.org --reason 'goes to mail2'", declare_user_lock},
    {"unlock", "Take that lock away.", "quarrow user unlock alice@example.org",
     declare_user_unlock},
    {"export", "Write all of a locked user, mail included, to an archive.",
     "quarrow user export alice@example.org alice.tar", declare_user_export},
    {"import", "Make a user out of such an archive.",
     "quarrow user import alice@example.org alice.tar", declare_user_import}};

const std::vector<Subcommand> filter_commands = {
    {"add", "Add a filter.",
     "quarrow filter add alice@example.org --name Reports --any \\\n"
     "      --if 'string subject contains quarterly' \\\n"
     "      --if 'not address from is boss@example.org' --then 'move Reports'",
     declare_filter_add},
    {"list", "Show the filters in the order in which they are tried.",
     "quarrow filter list alice@example.org", declare_filter_list},
    {"show", "Show one filter.", "quarrow filter show alice@example.org Reports",
     declare_filter_show},
    {"edit", "Change parts of a filter.",
     "quarrow filter edit alice@example.org Reports --add-if 'size less 500'", declare_filter_edit},
    {"rename", "Give a filter another name.",
     "quarrow filter rename alice@example.org Reports Figures", declare_filter_rename},
    {"enable", "Have a filter run.", "quarrow filter enable alice@example.org Reports",
     declare_filter_enable},
    {"disable", "Keep a filter, but do not run it.", "quarrow filter disable --all-users Reports",
     declare_filter_disable},
    {"copy", "Make a filter like another one, for the same user or for another.",
     "quarrow filter copy alice@example.org Reports --to bob@example.org", declare_filter_copy},
    {"move", "Try a filter earlier or later.",
     "quarrow filter move alice@example.org Reports --before Lists", declare_filter_move},
    {"remove", "Remove a filter.", "quarrow filter remove alice@example.org Reports",
     declare_filter_remove}};

const std::vector<Subcommand> field_commands = {
    {"list", "List the fields that a user's tests may name.",
     "quarrow field list alice@example.org", declare_field_list},
    {"add", "Add a field of the user's own.",
     "quarrow field add alice@example.org string X-Project", declare_field_add},
    {"remove", "Remove a field of the user's own.",
     "quarrow field remove alice@example.org X-Project", declare_field_remove},
    {"clear", "Remove all fields of the user's own.", "quarrow field clear alice@example.org",
     declare_field_clear}};

const std::vector<Subcommand> config_commands = {
    {"list", "List the settings of the system.", "quarrow config list", declare_config_list},
    {"get", "Print a setting.", "quarrow config get grade", declare_config_get},
    {"set", "Change a setting.", "quarrow config set grade 19", declare_config_set}};

const std::vector<Subcommand> node_commands = {
    {"add", "Make a node known, or give it another transport.",
     "quarrow home node add node1 lmtp:inet:[127.0.0.1]:2401", declare_home_node_add},
    {"list", "List the nodes with their transports.", "quarrow home node list",
     declare_home_node_list},
    {"remove", "Forget a node where no user lives.", "quarrow home node remove node3",
     declare_home_node_remove}};

const std::vector<Subcommand> home_commands = {
    {"node", "Add, list and remove nodes.", "quarrow home node list", nullptr, node_commands},
    {"list", "List the users with the nodes that they live on.", "quarrow home list --node node1",
     declare_home_list},
    {"set", "Say which node a user lives on.", "quarrow home set alice@example.org node1",
     declare_home_set},
    {"moving", "Have the mail of a user wait while they are moved.",
     "quarrow home moving alice@example.org", declare_home_moving},
    {"move", "Say which node a user was moved to.", "quarrow home move alice@example.org node2",
     declare_home_move},
    {"remove", "Forget where a user lives.", "quarrow home remove alice@example.org",
     declare_home_remove},
    {"import", "Read which nodes many users live on, a line each, from standard input.",
     "quarrow home import <users", declare_home_import}};

const std::vector<Subcommand> commands = {
    {"init", "Make the configuration file and the system's catalogue of fields.",
     "quarrow --root /var/spool/quarrow init", declare_init},
    {"user", "Add, list, show, remove and move users.", "quarrow user add alice@example.org",
     nullptr, user_commands},
    {"filter", "Add, show, change and remove the filters of a user.",
     "quarrow filter list alice@example.org", nullptr, filter_commands},
    {"history", "List the changes of a user's filters.", "quarrow history alice@example.org",
     declare_history},
    {"diff", "Say what differs between two states of a user's filters.",
     "quarrow diff alice@example.org 0123456789ab", declare_diff},
    {"undo", "Take back the last change of a user's filters.", "quarrow undo alice@example.org",
     declare_undo},
    {"redo", "Make the change again that was undone last.", "quarrow redo alice@example.org",
     declare_redo},
    {"restore", "Put back the filters of an earlier revision.",
     "quarrow restore alice@example.org 0123456789ab", declare_restore},
    {"export", "Write the filters of a user as JSON, as XML or as Sieve.",
     "quarrow export alice@example.org -o alice.json", declare_export},
    {"import", "Take over the filters of a file, from here or from elsewhere.",
     "quarrow import alice@example.org old.sieve --append --dry-run", declare_import},
    {"field", "List and change the fields that a user's tests may name.",
     "quarrow field list alice@example.org", nullptr, field_commands},
    {"config", "Show and change the settings of the system.", "quarrow config list", nullptr,
     config_commands},
    {"home", "Say which of many machines each user lives on.", "quarrow home list", nullptr,
     home_commands},
    {"match", "Say what a user's filters do with messages.",
     "quarrow match alice@example.org inbox/*.eml Maildir/ mail.mbox -", declare_match},
    {"explain", "Say why a message goes where a user's filters put it.",
     "quarrow explain alice@example.org mail.eml", declare_explain},
    {"test", "Say which messages a test holds for, and what it becomes in Sieve.",
     "quarrow test 'string subject begin_with [news]' inbox/*.eml", declare_test},
    {"stats", "Count what each filter decides, in the mail of a user.",
     "quarrow stats alice@example.org --html stats.html", declare_stats},
    {"doctor", "Say what is wrong with users' files and rules.", "quarrow doctor -A",
     declare_doctor},
    {"apply", "File mail that is there already as a user's filters say.",
     "quarrow apply alice@example.org --folder INBOX --yes", declare_apply},
    {"deliver", "Deliver the message on standard input as a user's filters say.",
     "quarrow deliver -d alice@example.org -f bob@example.net <message", declare_deliver},
    {"help", "Explain the command or a subcommand.", "quarrow help filter add", declare_help}};

// The exit status for arguments that are not understood. A mail server runs "deliver": there it is
// the configuration that is wrong, and the message must wait until that is mended. Looked for
// anywhere, since it is not known what the other words are.
int usage_status(const std::vector<std::string>& arguments) {
  const bool by_mail_server =
      std::find(arguments.begin(), arguments.end(), "deliver") != arguments.end();
  return by_mail_server ? EX_TEMPFAIL : EX_USAGE;
}

// "did you mean ...?" for a word that looks like a subcommand of `app`.
std::string near_subcommands(const CLI::App& app, const std::string& word) {
  std::vector<std::string> names;
  for (const CLI::App* sub : app.get_subcommands(nullptr)) names.push_back(sub->get_name());
  return Administration::did_you_mean(word, names);
}

// Says what is wrong, and where to read more.
int refuse_arguments(const CLI::App& app, const CLI::ParseError& error, int status) {
  const CLI::App* innermost = &app;
  std::string words = app.get_name();
  while (!innermost->get_subcommands().empty()) {
    innermost = innermost->get_subcommands().front();
    words += ' ' + innermost->get_name();
  }
  // a word too many says more than what is missing in its place
  const auto unknown = app.remaining(true);
  const std::string help = words + " --help";
  if (unknown.empty())
    return complain("arguments", plain_usage_error(error.what()) + "; see " + help, status);
  const std::string reason = '"' + shortened(unknown.front()) + "\" is not understood; ";
  const std::string question = near_subcommands(*innermost, unknown.front());
  return complain("arguments", reason + (question.empty() ? "see " : question + " See ") + help,
                  status);
}

int run_or_complain(const Run& run, const Settings& settings) {
  try {
    return run(settings);
  } catch (const std::exception& error) {  // a library that is missing, say, or memory
    return complain("unexpected", error.what(), EX_UNAVAILABLE);
  }
}

Run declare(CLI::App& app, Settings& settings) {
  app.set_version_flag("--version", "quarrow " QUARROW_VERSION);
  return declare_commands(app, commands, settings);
}

int run_quarrow(const std::vector<std::string>& arguments) {
  Settings settings;
  CLI::App app("Per-user mail filters: made into Sieve scripts, and run over messages.", "quarrow");
  const Run run = declare(app, settings);
  try {
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
  } catch (const CLI::Success& help) {
    if (!app.remaining(true).empty()) return refuse_arguments(app, help, usage_status(arguments));
    return finish_output(app.exit(help));
  } catch (const CLI::ParseError& error) {
    return refuse_arguments(app, error, usage_status(arguments));
  }
  return finish_output(run_or_complain(run, settings));
}

// Behind "help" stands what would stand there without it.
Completion::Offer subcommands_to_explain(const Completion::Cursor& cursor) {
  std::vector<std::string> words = cursor.option->results();
  words.back() = cursor.typed;
  Settings settings;
  CLI::App app("", "quarrow");
  (void)declare(app, settings);
  const auto nothing = [](const Completion::Cursor&) { return Completion::Offer(); };
  return Completion::offer_at(Completion::find_cursor(app, words), nothing);
}

// Answers the script of a shell: see completion/answer.h. No failure is told, since a person is
// typing.
int complete(const std::vector<std::string>& request) {
  Settings settings;
  CLI::App app("", "quarrow");
  (void)declare(app, settings);
  const auto values = [](const Completion::Cursor& cursor) {
    return command_words(cursor) == "help" ? subcommands_to_explain(cursor) : known_values(cursor);
  };
  try {
    Completion::answer(app, request, values, std::cout);
  } catch (const std::exception&) {
    return EX_UNAVAILABLE;
  }
  return std::cout.flush() ? EX_OK : EX_IOERR;
}

}  // namespace
}  // namespace Quarrow::Command

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  try {
    const std::vector<std::string> arguments(argv + std::min(argc, 1), argv + argc);
    if (Quarrow::Completion::is_request(arguments)) return Quarrow::Command::complete(arguments);
    return Quarrow::Command::run_quarrow(arguments);
  } catch (const std::bad_alloc&) {  // a mail server keeps the message
    std::cerr << "quarrow: out of memory\n";
    return EX_TEMPFAIL;
  }
}
