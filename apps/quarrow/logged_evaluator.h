// A user's script run in this process, for the interpreter's log.
#ifndef QUARROW_APPS_QUARROW_LOGGED_EVALUATOR_H_
#define QUARROW_APPS_QUARROW_LOGGED_EVALUATOR_H_

#include <memory>
#include <string>

#include "trial/message_evaluator.h"

namespace Quarrow::Command {

// Runs the script at `path` in this process and writes the interpreter's log to standard error.
// Never tells which rule decided. Null when the script is missing, no regular file, unreadable,
// empty or not valid; of the last two the log says why.
std::unique_ptr<Trial::MessageEvaluator> logged_evaluator(const std::string& path);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_LOGGED_EVALUATOR_H_
