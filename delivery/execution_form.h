// The form in which a user's script is run: it means the same and takes less time.
//
// The interpreter reads the whole script for every message and compiles each regular expression
// again. Whether a value begins or ends with a text can be tested by :matches (RFC 5228, section
// 2.7.1), which compiles nothing.
#ifndef QUARROW_DELIVERY_EXECUTION_FORM_H_
#define QUARROW_DELIVERY_EXECUTION_FORM_H_

#include <quarrow/evaluation.h>

#include <string>
#include <vector>

namespace Quarrow::Delivery {

struct ExecutionForm {
  // One branch of the script's chain.
  struct Branch {
    std::string rule;  // the filter's name
    std::vector<SieveAction> actions;
  };

  std::string script;            // to be run
  std::vector<Branch> branches;  // empty: the form is the script itself
};

// The execution form of `script`. A script of exactly the shape that FilterList__::SaveToSieve
// writes loses comments, blank lines and indentation, and gets :matches "text*" for :regex "^text"
// and :matches "*text" for :regex "text$", unless :matches takes a character of the text for more
// than itself. Instead of its actions, each branch has a single action by which complete() knows
// the branch, and so has the script's end. Any other script is run as it stands.
ExecutionForm execution_form(const std::string& script);

// Whether `result`, of running `form`, came before the script's end: the interpreter ends a run
// that takes too much memory without saying so. Always false where the form is the script itself.
// To be asked before complete().
bool is_cut_short(const ExecutionForm& form, const SieveMatchResult& result);

// Turns the result of running `form` into the result of running the script itself. Returns the name
// of the filter that decided; empty when no filter did, or when the form is the script itself.
std::string complete(const ExecutionForm& form, SieveMatchResult& result);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_EXECUTION_FORM_H_
