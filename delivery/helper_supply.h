// Where an evaluator gets its helper processes from.
#ifndef QUARROW_DELIVERY_HELPER_SUPPLY_H_
#define QUARROW_DELIVERY_HELPER_SUPPLY_H_

#include <sys/types.h>

#include <string>

#include "quarrow/delivery/evaluator.h"

namespace Quarrow::Delivery {

// A child of this process that answers requests on `socket`. Who takes it closes the socket, ends
// the process and waits for it. Negative numbers: there is none.
struct Helper {
  pid_t process = -1;
  int socket = -1;
};

// Makes helpers one at a time: ahead, through a process of its own, or by forking the calling
// process (see EvaluatorLimits::made_ahead).
class HelperSupply {
 public:
  // `limits` outlives this object.
  explicit HelperSupply(const EvaluatorLimits& limits);
  ~HelperSupply();
  HelperSupply(const HelperSupply&) = delete;
  HelperSupply& operator=(const HelperSupply&) = delete;

  // Has the next helper made while the caller does something else. Does nothing when one was
  // ordered already, or helpers are not made ahead.
  void order();

  // The next helper; none when none can be made now.
  Helper take();

  // Why the last take() gave none; empty when the system just could not make a process.
  const std::string& fault() const { return fault_; }

 private:
  Helper fork_helper() const;
  bool start_maker();
  void end_maker();
  Helper receive() const;

  const EvaluatorLimits& limits_;
  pid_t maker_ = -1;
  int control_ = -1;
  bool ordered_ = false;
  std::string fault_;
};

// How a process of an evaluator ended, for a log.
std::string text_of_end(pid_t process);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_HELPER_SUPPLY_H_
