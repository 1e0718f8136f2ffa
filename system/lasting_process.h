// A process that goes on when the one that started it is gone.
#ifndef QUARROW_SYSTEM_LASTING_PROCESS_H_
#define QUARROW_SYSTEM_LASTING_PROCESS_H_

#include <functional>
#include <optional>
#include <string>

namespace Quarrow {

// Gives a text to the process that waits for it.
using Report = std::function<void(const std::string&)>;

// Runs `work` in a process that nothing ties to this one, or to what may end this one: it has a
// session and a parent of its own, answers signals as usual, has no alarm and no descriptor of this
// one, and its standard ones lead nowhere. The system lets others have the processors first. It
// keeps the user and the limits of this process, which has one thread.
//
// Waits until `work` reports once, and gives that text; nothing, with errno set, when no process
// can be made, and with errno 0 when it ended without a report.
std::optional<std::string> start_lasting_process(const std::function<void(const Report&)>& work);

}  // namespace Quarrow

#endif  // QUARROW_SYSTEM_LASTING_PROCESS_H_
