// The commands of a Sieve script's block as the actions of a filter.
#ifndef QUARROW_IMPORTING_SIEVE_ACTIONS_H_
#define QUARROW_IMPORTING_SIEVE_ACTIONS_H_

#include <quarrow/rule_model.h>

#include <list>
#include <string>
#include <vector>

#include "importing/sieve_condition.h"
#include "importing/sieve_syntax.h"

namespace Quarrow::Importing {

struct SieveActions {
  std::list<MessageFilters::Action> actions;
  std::vector<SieveMismatch> losses;
  bool stops = false;      // nothing behind the block is run
  bool is_nested = false;  // the block holds conditions of its own: the actions say nothing
};

// What the commands of a block do with a message on which nothing else was done.
SieveActions sieve_actions(const std::vector<SieveNode>& commands, SieveStrings strings);

}  // namespace Quarrow::Importing

#endif  // QUARROW_IMPORTING_SIEVE_ACTIONS_H_
