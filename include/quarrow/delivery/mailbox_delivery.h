// One message to one user: evaluated, and stored where his rules say.
#ifndef QUARROW_DELIVERY_MAILBOX_DELIVERY_H_
#define QUARROW_DELIVERY_MAILBOX_DELIVERY_H_

#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "quarrow/delivery/evaluation_outcome.h"
#include "quarrow/delivery/message_file.h"

namespace Quarrow::Delivery {

// Runs the script at `script_path` over a message: Evaluator::evaluate, or what stands in for it.
using Evaluate = std::function<Evaluation(int message_fd, std::uint64_t size, std::time_t received,
                                          const std::string& script_path)>;

// Whose mail it is.
struct Recipient {
  std::string folder;   // his folder, which exists: it holds his script and his Maildir
  std::string mailbox;  // gets what the plan leaves in the inbox; "" is the inbox
};

// What became of a message.
struct Report {
  // delivered: in at least one folder, and in each that the rules named or else in the inbox.
  // temporary_failure: the message is the sender's still, though some folders may have it.
  enum class Status { delivered, rejected, discarded, temporary_failure };

  Status status = Status::temporary_failure;
  std::vector<std::string> folders;  // mailbox names; "Inbox" is the inbox
  std::string rule;                  // the name of the rule that decided, where known
  std::string action;  // "fileinto:Work", "keep", "reject", "discard"; several with commas
  std::string note;    // why the inbox, and what could not be written; for the log, may be empty
  std::string reject_text;
};

// Evaluates `message`, which was received at `received`, with the script `.delivery_filter` in the
// recipient's folder, and stores it below `Maildir` there, under file names with `host_name`.
// Rules see the message without its added headers.
//
// Whatever can't be written is stored in the inbox instead, once. When the inbox can't be written,
// the result is a temporary failure even if other folders have the message: the sender tries
// again, and a folder may hold it twice, which is better than not at all.
Report deliver(const Recipient& recipient, const MessageFile& message, std::time_t received,
               const std::string& host_name, const Evaluate& evaluate);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_MAILBOX_DELIVERY_H_
