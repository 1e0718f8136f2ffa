// The two ways in which the command runs a user's script over a message.
#ifndef QUARROW_TRIAL_MESSAGE_EVALUATOR_H_
#define QUARROW_TRIAL_MESSAGE_EVALUATOR_H_

#include <ctime>
#include <memory>
#include <string>

#include "quarrow/delivery/evaluation_outcome.h"
#include "trial/mail_sources.h"

namespace Quarrow::Trial {

class MessageEvaluator {
 public:
  virtual ~MessageEvaluator() = default;

  // Runs the script over `message`, which was received at `received`. What is not done has a
  // reason.
  virtual Delivery::Evaluation evaluate(const Message& message, std::time_t received) = 0;
};

// Runs the script at `path` in a process that can do nothing else, which gets a message by its
// descriptor: neither the message nor the script can harm this process. The script is read anew for
// each message. Null when it is missing, unreadable, empty or not valid.
std::unique_ptr<MessageEvaluator> isolated_evaluator(const std::string& path);

// Runs the script at `path` in this process and writes the interpreter's log to standard error.
// Never tells which rule decided. Null in the same cases, with the log saying why.
std::unique_ptr<MessageEvaluator> logged_evaluator(const std::string& path);

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_MESSAGE_EVALUATOR_H_
