// Names and descriptions of the counters.
#include "lmtp/delivery_counters.h"

#include <iterator>
#include <vector>

namespace Quarrow::Lmtp {
namespace {

using std::chrono::microseconds;
using std::chrono::milliseconds;
using std::chrono::seconds;

// A row for each Counter, in their order.
const Server::CounterRow rows[] = {
    {"quarrow_delivered_total", "{folder=\"inbox\"}", "Copies of messages that were stored."},
    {"quarrow_delivered_total", "{folder=\"other\"}", ""},
    {"quarrow_rejected_total", "", "Messages that a rule refused."},
    {"quarrow_discarded_total", "", "Messages that a rule threw away."},
    {"quarrow_loops_total", "", "Messages refused because they came back."},
    {"quarrow_kept_total", "{reason=\"no_rule\"}", "Messages in the inbox that no rule put there."},
    {"quarrow_kept_total", "{reason=\"failure\"}", ""},
    {"quarrow_temporary_failures_total", "", "Deliveries that the client was asked to try again."},
    {"quarrow_unknown_recipients_total", "", "Recipients without a mailbox."},
    {"quarrow_workers_replaced_total", "", "Worker processes that ended unasked."}};
static_assert(std::size(rows) == static_cast<std::size_t>(Counter::count));

Server::Histogram evaluations() {
  return {"quarrow_evaluation_seconds",
          "Time that running a script over a message took.",
          {microseconds(500), milliseconds(1), milliseconds(2), milliseconds(5), milliseconds(10),
           milliseconds(20), milliseconds(50), milliseconds(100), seconds(1), seconds(10)}};
}

}  // namespace

DeliveryCounters::DeliveryCounters()
    : Counters({std::begin(rows), std::end(rows)}, evaluations()) {}

}  // namespace Quarrow::Lmtp
