// What an evaluation means for a message.
#ifndef QUARROW_DELIVERY_DELIVERY_PLAN_H_
#define QUARROW_DELIVERY_DELIVERY_PLAN_H_

#include <string>
#include <vector>

#include "quarrow/delivery/evaluation_outcome.h"

namespace Quarrow::Delivery {

// Where a message goes.
struct Plan {
  enum class Refusal { none, reject, discard };

  std::vector<std::string> mailboxes;  // in order, each folder once; "" is the inbox
  Refusal refusal = Refusal::none;     // other than none: there are no mailboxes
  std::string reject_text;             // for the sender
  std::string note;  // why the inbox, for the log; empty when the script asked for each mailbox
};

// The plan for `evaluation`:
//
//   no script, bad script, evaluation failed    the inbox, with a note
//   an error result                             the inbox, with a note
//   no action at all                            the inbox, with a note: no rule matched
//   any FILEINTO or KEEP                        each of them, the same folder once; REJECT and
//                                               DISCARD beside them do not count
//   REJECT, with or without DISCARD             refused with the first text: the sender learns of
//                                               it, so that nothing is lost
//   DISCARD                                     discarded
//   other actions only                          the inbox, with a note
//
// A mailbox whose name can't be a folder is the inbox, with a note. A user without any script gets
// a note as well, since only the log tells him from one whose script went away.
Plan plan_for(const Evaluation& evaluation);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_DELIVERY_PLAN_H_
