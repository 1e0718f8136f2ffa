// quarrow home: which of many machines each user lives on.
#include <sysexits.h>

#include <iostream>
#include <memory>

#include "apps/quarrow/commands/filter_command.h"
#include "apps/quarrow/commands/homes_file.h"
#include "apps/quarrow/complaint.h"
#include "homes/home_import.h"
#include "homes/home_listing.h"

namespace Quarrow::Command {
namespace {

using Administration::Refusal;
using Homes::HomeRefusal;
using Homes::HomesTransaction;
using Start = HomesTransaction::Start;

// Rows that are printed at a time: there may be millions.
constexpr std::size_t rows_at_a_time = 1000;

struct HomeOptions {
  std::string file = default_homes_file;
  std::string user;
  std::string node;
  bool off = false;
  ListingForm form = ListingForm::table;
};

// Has `work` change what the table has of the user.
int change_user(
    const Settings& settings, const HomeOptions& options,
    const std::function<HomeRefusal(HomesTransaction&, const std::string& user)>& work) {
  EmailAddress user;
  if (const Refusal refusal = read_user(settings, options.user, user)) return complain(refusal);
  return change_homes(options.file, Start::with_a_table, [&](HomesTransaction& transaction) {
    return work(transaction, user.address());
  });
}

int home_list(const HomeOptions& options) {
  Listing listing({"user", "node", "moving"});
  const auto add = [&](const Homes::Home& home) {
    listing.add({home.user, home.node, home.moving});
    if (listing.size() == rows_at_a_time) listing.print_part(options.form, std::cout);
  };
  const int status = told(Homes::list_homes(options.file, options.node, add));
  if (status == EX_OK) listing.print(options.form, std::cout);
  return status;
}

int home_import(const Settings& settings, const HomeOptions& options) {
  const Homes::UserReader reader = [&settings](std::string& text) {
    EmailAddress user;
    const Refusal refusal = read_user(settings, text, user);
    text = refusal ? text : user.address();
    return refusal.reason;
  };
  std::size_t count = 0;
  const int status =
      change_homes(options.file, Start::with_a_table, [&](HomesTransaction& transaction) {
        return Homes::import_homes(transaction, std::cin, reader, count);
      });
  if (status == EX_OK) std::cout << "users read: " << count << '\n';
  return status;
}

// The options and arguments of a change of one user.
std::shared_ptr<HomeOptions> add_home_change(CLI::App& app, bool has_node) {
  const auto options = std::make_shared<HomeOptions>();
  add_homes_option(app, options->file);
  add_user_option(app, options->user);
  if (has_node) add_option(app, "node", options->node, "The node's name").type_name("").required();
  return options;
}

}  // namespace

Run declare_home_list(CLI::App& app) {
  const auto options = std::make_shared<HomeOptions>();
  add_homes_option(app, options->file);
  add_option(app, "--node", options->node, "Only those who live there").type_name("NODE");
  add_format_option(app, options->form);
  return [options](const Settings& /*settings*/) { return home_list(*options); };
}

Run declare_home_set(CLI::App& app) {
  const auto options = add_home_change(app, true);
  return [options](const Settings& settings) {
    return change_user(settings, *options,
                       [&](HomesTransaction& transaction, const std::string& user) {
                         return transaction.set_home(user, options->node);
                       });
  };
}

Run declare_home_moving(CLI::App& app) {
  const auto options = add_home_change(app, false);
  add_flag(app, "--off", options->off, "Let their mail go to where they live again");
  return [options](const Settings& settings) {
    return change_user(settings, *options,
                       [&](HomesTransaction& transaction, const std::string& user) {
                         return transaction.set_moving(user, !options->off);
                       });
  };
}

Run declare_home_move(CLI::App& app) {
  const auto options = add_home_change(app, true);
  return [options](const Settings& settings) {
    return change_user(settings, *options,
                       [&](HomesTransaction& transaction, const std::string& user) {
                         return transaction.move_home(user, options->node);
                       });
  };
}

Run declare_home_remove(CLI::App& app) {
  const auto options = add_home_change(app, false);
  return [options](const Settings& settings) {
    return change_user(settings, *options,
                       [](HomesTransaction& transaction, const std::string& user) {
                         return transaction.remove_home(user);
                       });
  };
}

Run declare_home_import(CLI::App& app) {
  const auto options = std::make_shared<HomeOptions>();
  add_homes_option(app, options->file);
  return [options](const Settings& settings) { return home_import(settings, *options); };
}

}  // namespace Quarrow::Command
