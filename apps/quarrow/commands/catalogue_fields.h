// The fields that a user's tests may name without a type.
#ifndef QUARROW_APPS_QUARROW_COMMANDS_CATALOGUE_FIELDS_H_
#define QUARROW_APPS_QUARROW_COMMANDS_CATALOGUE_FIELDS_H_

#include <quarrow/rule_model.h>
#include <zvellparser.h>

#include <functional>
#include <list>
#include <string>

#include "administration/refusal.h"
#include "apps/quarrow/commands/command.h"

namespace Quarrow::Command {

// Adds --catalogue, the path of the system's catalogue of fields.
void add_catalogue_option(CLI::App& app, std::string& catalogue);

// What `read` makes of texts with tests in them. It is called without fields first: most tests need
// none. Where it refuses, it is called again with the fields of the system's catalogue at
// `catalogue` and of the user's own one. A machine without that catalogue has no such fields.
Administration::Refusal read_with_fields(
    const EmailAddress& user, const std::string& catalogue,
    const std::function<Administration::Refusal(const std::list<MessageFilters::Field>&)>& read);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_COMMANDS_CATALOGUE_FIELDS_H_
