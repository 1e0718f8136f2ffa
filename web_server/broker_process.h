// The broker in a process of its own.
#ifndef QUARROW_WEB_SERVER_BROKER_PROCESS_H_
#define QUARROW_WEB_SERVER_BROKER_PROCESS_H_

#include <sys/types.h>

#include <functional>
#include <string>

namespace Quarrow::WebServer {

struct BrokerProcess {
  pid_t process = -1;
  int introductions = -1;  // for Callers; the process ends some time after all copies are closed
};

// Starts a process that keeps the rights of this one, but no descriptor beside the standard ones,
// and that signals for the server do not end. There `serve` gets the other end of `introductions`;
// what it throws is logged. Without a process, `process` is negative and errno set.
BrokerProcess start_broker(const std::function<void(int introductions)>& serve);

// Gives up all files, and new rights, for good: what a worker does before it reads a stranger's
// byte. Where the kernel has no Landlock, files that its user may open stay open to it. False when
// that was not possible.
bool leave_files();

}  // namespace Quarrow::WebServer

#endif  // QUARROW_WEB_SERVER_BROKER_PROCESS_H_
