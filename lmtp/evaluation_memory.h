// The evaluations of one message, for as many recipients as it has.
#ifndef QUARROW_LMTP_EVALUATION_MEMORY_H_
#define QUARROW_LMTP_EVALUATION_MEMORY_H_

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <list>
#include <string>

#include "quarrow/delivery/mailbox_delivery.h"

namespace Quarrow::Lmtp {

// Keeps one message from taking the time of many evaluations. A script that was run over it is not
// run again: its evaluation counts for all recipients with a script of that text, such as the
// addresses of one user with several extensions. And once two scripts failed, with the time or the
// memory that they may take, no other script is run: their failure is the message's, and counts for
// all recipients that are left.
class EvaluationMemory {
 public:
  // Forgets the last message.
  void begin_message();

  // What `evaluate` gives for the message and the script at `script_path`, or gave before.
  Delivery::Evaluation evaluate(const Delivery::Evaluate& evaluate, int message_fd,
                                std::uint64_t size, std::time_t received,
                                const std::string& script_path);

 private:
  struct Known {
    std::string script;
    Delivery::Evaluation evaluation;
  };

  const Delivery::Evaluation* known(const std::string& script) const;
  void remember(const std::string& script, const Delivery::Evaluation& evaluation);

  std::list<Known> latest_first_;
  std::size_t failures_ = 0;
  Delivery::Evaluation failure_;  // the last one
};

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_EVALUATION_MEMORY_H_
