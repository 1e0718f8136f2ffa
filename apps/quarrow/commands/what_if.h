// quarrow match with other rules than the user has.
#ifndef QUARROW_APPS_QUARROW_COMMANDS_WHAT_IF_H_
#define QUARROW_APPS_QUARROW_COMMANDS_WHAT_IF_H_

#include <zvellparser.h>

#include <cstddef>
#include <string>
#include <vector>

#include "apps/quarrow/commands/filter_options.h"
#include "apps/quarrow/option.h"
#include "trial/mail_sources.h"
#include "trial/run.h"

namespace Quarrow::Command {

// The changes to the user's rules, as they are given.
struct WhatIfOptions {
  FilterOptions with;                // the name is empty without a further filter
  std::size_t at = 0;                // its place, counted from 1; 0 is the end
  std::vector<std::string> without;  // numbers or names
  std::string rules;                 // a file with other rules, or empty

  bool is_asked() const { return !with.name.empty() || !without.empty() || !rules.empty(); }
};

// Gives the options that ask for a comparison.
std::vector<Option> add_what_if_options(CLI::App& app, WhatIfOptions& options);

// Prints which messages of `sources` would go elsewhere than by the rules of `user`, as a table or
// as JSON, and their number. `status` is the exit status so far; gives that at the end. Nothing of
// the user's is changed.
int compare_rules(const WhatIfOptions& options, const EmailAddress& user,
                  const std::vector<Trial::MailSource>& sources, const Trial::RunSettings& settings,
                  bool json, int status);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_COMMANDS_WHAT_IF_H_
