// The process that answers balancers and monitoring programs.
#ifndef QUARROW_MONITORING_MONITOR_H_
#define QUARROW_MONITORING_MONITOR_H_

#include "monitoring/answers.h"
#include "monitoring/watch.h"

namespace Quarrow::Monitoring {

// Turns this process, which has one thread, into a monitor that answers at `listener` until
// SIGTERM. Before that it gives up all that it does not need: files, other sockets, processes, the
// right to change memory that others see. Descriptors below `listener` lead nowhere. Gives the exit
// status: EX_OK (sysexits.h), or EX_OSERR where it can't be confined.
//
// A process of its own, which is not confined, calls `look`, if there is one, for the fault in
// `sources`.
int monitor(int listener, Sources sources, const Look& look = {});

}  // namespace Quarrow::Monitoring

#endif  // QUARROW_MONITORING_MONITOR_H_
