// From the evaluation of a message to the places where the message goes.
#ifndef QUARROW_DELIVERY_DELIVERY_PLAN_H_
#define QUARROW_DELIVERY_DELIVERY_PLAN_H_

#include <cstddef>
#include <string>
#include <vector>

#include "quarrow/delivery/evaluation_outcome.h"
#include "quarrow/delivery/folder_dots.h"

namespace Quarrow::Delivery {

// Why a message is in the inbox.
enum class InboxReason {
  none,       // it is not: a rule refused it, or each of its mailboxes is another folder
  asked,      // the script asks for it
  no_rule,    // no rule of the user matched
  no_script,  // the user has no script
  failure  // the script or its evaluation failed, or a folder that the script names can't be used
};

// The most folders that get one message, beside the inbox: a script may name any number of them.
constexpr std::size_t most_folders = 32;

// Where a message goes.
struct Plan {
  enum class Refusal { none, reject, discard };

  std::vector<std::string> mailboxes;  // in order, each folder once; "" is the inbox
  Refusal refusal = Refusal::none;     // other than none: there are no mailboxes
  std::string reject_text;             // for the sender
  InboxReason inbox_reason = InboxReason::none;
  std::string note;  // the reason in words, for a log; empty for the reasons none and asked
};

// The plan for `evaluation`:
//
//   no script                                   the inbox: no_script
//   bad script, evaluation failed               the inbox: failure
//   an error result                             the inbox: failure
//   no action at all                            the inbox: no_rule
//   any FILEINTO or KEEP                        each of them, the same folder once; REJECT and
//                                               DISCARD beside them do not count
//   REJECT, with or without DISCARD             refused with the first text: the sender learns of
//                                               it, so that nothing is lost
//   DISCARD                                     discarded
//   other actions only                          the inbox: failure
//
// A mailbox whose name can't be a folder is the inbox: failure. So is each folder beyond
// most_folders. `dots` tells whether a name with a dot can be a folder.
Plan plan_for(const Evaluation& evaluation, FolderDots dots = FolderDots::inbox);

// `result` with a KEEP in the place of each FILEINTO whose mailbox can't be a folder.
SieveMatchResult as_delivered(SieveMatchResult result, FolderDots dots);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_DELIVERY_PLAN_H_
