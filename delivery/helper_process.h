// The process that evaluates messages for an Evaluator.
#ifndef QUARROW_DELIVERY_HELPER_PROCESS_H_
#define QUARROW_DELIVERY_HELPER_PROCESS_H_

#include <sys/types.h>

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
// only `socket`.
pid_t start_helper(int socket, const EvaluatorLimits& limits);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_HELPER_PROCESS_H_
