// Delivering a message to one user: evaluating the rules, and storing the message as they say.
#ifndef QUARROW_DELIVERY_MAILBOX_DELIVERY_H_
#define QUARROW_DELIVERY_MAILBOX_DELIVERY_H_

#include <cstdint>
#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "quarrow/delivery/delivery_plan.h"
#include "quarrow/delivery/evaluation_outcome.h"
#include "quarrow/delivery/folder_dots.h"
#include "quarrow/delivery/message_file.h"

namespace Quarrow::Delivery {

// Runs the script at `script_path` over a message: Evaluator::evaluate, or a function that stands
// in for it.
using Evaluate = std::function<Evaluation(int message_fd, std::uint64_t size, std::time_t received,
                                          const std::string& script_path)>;

// The user whose mail it is.
struct Recipient {
  std::string folder;   // the user's folder, which exists: it holds the script and the Maildir
  std::string mailbox;  // takes the place of the plan's inbox; "" is the inbox itself
  FolderDots folder_dots = FolderDots::inbox;
  bool keeps_journal = false;  // whether the delivery is noted in the user's journal
};

// The result of a delivery.
struct Report {
  // delivered: the message is in each folder that the rules name; where one of these can't be
  // written, it is in the inbox.
  // temporary_failure: the sender keeps the message, though some folders may have it.
  enum class Status { delivered, rejected, discarded, temporary_failure };

  Status status = Status::temporary_failure;
  std::vector<std::string> folders;  // mailbox names; "Inbox" is the inbox
  InboxReason inbox_reason = InboxReason::none;
  std::string rule;    // the name of the rule that decided, where known
  std::string action;  // "fileinto:Work", "keep", "reject", "discard"; several with commas
  std::string note;    // the reason in words, and each folder that can't be written; for a log
  std::string reject_text;
  std::string journal_fault;  // why the journal does not have the delivery; for a log

  // temporary_failure: since the user is being moved to another machine. The message is in none of
  // their folders, but where the note tells of one.
  bool user_is_locked = false;
};

// Evaluates `message`, which was received at `received`, with the script `.delivery_filter` in the
// recipient's folder, and stores it below `Maildir` there, under file names with `host_name`.
// Rules see the message without its added headers.
//
// When a folder can't be written, the message is stored in the inbox instead, once. When the inbox
// can't be written, the result is a temporary failure even if other folders have the message: the
// sender tries again, and a folder may hold it twice, which is better than not at all.
//
// The message of a user who was locked meanwhile is taken back. Such a delivery is not noted.
Report deliver(const Recipient& recipient, const MessageFile& message, std::time_t received,
               const std::string& host_name, const Evaluate& evaluate);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_MAILBOX_DELIVERY_H_
