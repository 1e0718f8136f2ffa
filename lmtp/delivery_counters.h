// The counters of the LMTP server.
#ifndef QUARROW_LMTP_DELIVERY_COUNTERS_H_
#define QUARROW_LMTP_DELIVERY_COUNTERS_H_

#include <chrono>
#include <cstddef>

#include "server/counters.h"

namespace Quarrow::Lmtp {

// In the order in which they are written.
enum class Counter : std::size_t {
  delivered_inbox,     // copies in inboxes
  delivered_other,     // copies in other folders
  rejected,            // messages refused by a rule
  discarded,           // messages thrown away by a rule
  looped,              // messages refused because the recipient had them before
  kept_without_rule,   // in the inbox, because there are no rules or none matched
  kept_after_failure,  // in the inbox, because a script, an evaluation or a folder failed
  temporary_failure,   // deliveries answered with 4xx
  unknown_recipient,   // recipients refused at RCPT
  workers_replaced,    // worker processes that ended unasked
  count                // how many counters there are
};

// Counts what becomes of messages, and how long evaluations take.
class DeliveryCounters : public Server::Counters {
 public:
  DeliveryCounters();

  void add(Counter counter) { Counters::add(static_cast<std::size_t>(counter)); }

  void add_evaluation(std::chrono::microseconds took) { add_duration(took); }
};

}  // namespace Quarrow::Lmtp

#endif  // QUARROW_LMTP_DELIVERY_COUNTERS_H_
