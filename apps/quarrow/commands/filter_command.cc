// quarrow filter: the filters of a user.
#include "apps/quarrow/commands/filter_command.h"

#include <sysexits.h>
#include <zvelluser.h>

#include "administration/guarded_process.h"
#include "administration/rules_transaction.h"
#include "apps/quarrow/complaint.h"

namespace Quarrow::Command {

using namespace Administration;

EmailAddress user_address(const std::string& text) {
  const EmailAddress address(text);
  if (address.isNull())
    complain(text, "no mail address; a user is named like alice@example.org", EX_NOUSER);
  return address;
}

int with_filters_of(const Settings& settings, const std::string& user, bool create,
                    const std::function<int(RulesTransaction&)>& work) {
  const EmailAddress address = user_address(user);
  if (address.isNull()) return EX_NOUSER;
  mailuser_set_root(settings.root);
  return run_guarded(rules_document(address.address()), [&] {
    RulesTransaction rules(address);
    if (const int status = rules.open(create)) return status;
    return work(rules);
  });
}

int no_such_filter(const std::string& user, std::int32_t id) {
  return complain(user, "no filter " + std::to_string(id) + "; see quarrow filter list " + user,
                  EX_DATAERR);
}

void add_user_option(CLI::App& app, std::string& user) {
  app.add_option("user", user, "Whose filters, by mail address")->type_name("")->required();
}

Run declare_filter(CLI::App& app) {
  return declare_commands(
      app, {{"add", "Add a filter.",
             "quarrow filter add alice@example.org --name Reports --any \\\n"
             "      --if 'string subject contains quarterly' \\\n"
             "      --if 'not address from is boss@example.org' --then 'move Reports'",
             declare_filter_add},
            {"list", "Show the filters in the order in which they are tried.",
             "quarrow filter list alice@example.org", declare_filter_list},
            {"remove", "Remove a filter.", "quarrow filter remove alice@example.org 3",
             declare_filter_remove}});
}

}  // namespace Quarrow::Command
