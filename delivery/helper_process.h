// The process that evaluates messages for an Evaluator.
#ifndef QUARROW_DELIVERY_HELPER_PROCESS_H_
#define QUARROW_DELIVERY_HELPER_PROCESS_H_

#include <sys/types.h>

#include <chrono>
#include <string_view>

#include "quarrow/delivery/evaluator.h"

namespace Quarrow::Delivery {

// Exit status of a helper that could not be confined: it serves no message then.
constexpr int not_confined = 70;  // EX_SOFTWARE of sysexits(3)

// Loads everything that a confined process can't load any more: charset converters, the time zone,
// and the data that a first evaluation sets up. Helpers that are forked later inherit it. Only the
// first call in a process, of this function or of prepare_for_message, does something.
void prepare_for_helpers();

// The same for a process that evaluates one message only, before its Evaluator is made. It loads
// only the charsets that the message's header may need: loading all of them would take most of the
// time of such a process.
void prepare_for_message(std::string_view message);

// Forks a helper that answers requests on `socket` (see wire.h) until the other end is closed or
// this process ends. Gives its process id, or -1. Of this process's descriptors the helper keeps
// only `socket`, and none of its memory that others may write.
pid_t start_helper(int socket, const EvaluatorLimits& limits);

// Forks a process that makes helpers, each as a child of this process. It makes one at once and one
// more for each order, and sends its process id, -1 if there is none, with its socket over
// `control`, until the other end is closed. It sees no message: whatever a message does to a
// helper, the next one is as new. Gives its process id, or -1.
pid_t start_helper_maker(int control, const EvaluatorLimits& limits);

// Orders another helper at the other end of `control`.
void order_helper(int control);

// Bounds each recv(2) on a socket.
bool set_time_limit(int socket, std::chrono::milliseconds time);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_HELPER_PROCESS_H_
