// Running a user's script over a message.
#ifndef QUARROW_TRIAL_MESSAGE_EVALUATOR_H_
#define QUARROW_TRIAL_MESSAGE_EVALUATOR_H_

#include <ctime>
#include <memory>
#include <string>

#include "quarrow/delivery/evaluation_outcome.h"
#include "trial/mail_contents.h"

namespace Quarrow::Trial {

// A user's script, and a way to run it.
class MessageEvaluator {
 public:
  virtual ~MessageEvaluator() = default;

  // Runs the script over `message`, which was received at `received`. The outcome of an evaluation
  // that failed is another one than `done`, with a reason.
  virtual Delivery::Evaluation evaluate(const FoundMessage& message, std::time_t received) = 0;
};

// Runs the script at `path` in a process that can do nothing else, which gets a message by its
// descriptor: neither the message nor the script can harm this process. The script is read anew for
// each message. Null when it is missing, unreadable, empty or not valid.
std::unique_ptr<MessageEvaluator> isolated_evaluator(const std::string& path);

// The same for the script `text`, which is valid.
std::unique_ptr<MessageEvaluator> isolated_text_evaluator(const std::string& text);

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_MESSAGE_EVALUATOR_H_
