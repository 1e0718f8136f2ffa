// Confinement, then clients.
//
// SECURITY: clients are all programs of this host, and those beyond a proxy that it has. They are
// told counts, and nothing of mail or users. A client that takes this process over can tell others
// what it likes, and nothing else: it has no file, no user's data and no socket of the mail's.
#include "monitoring/monitor.h"

#include <sys/prctl.h>
#include <sysexits.h>

#include <ctime>
#include <optional>

#include "delivery/sandbox.h"
#include "monitoring/brief_clients.h"
#include "monitoring/limits.h"
#include "system/inheritance.h"

namespace Quarrow::Monitoring {
namespace {

bool leave_everything(int listener) {
  tzset();  // reads a file
  const auto filter = Delivery::SystemCallFilter::for_listener(listener);
  return prctl(PR_SET_DUMPABLE, 0, 0, 0, 0) == 0 && freeze_shared_memory() &&
         Delivery::confine(memory, /*file_size=*/0) && filter.apply();
}

}  // namespace

int monitor(int listener, Sources sources, const Look& look) {
  (void)prctl(PR_SET_NAME, "quarrow-monitor");  // for a list of processes
  std::optional<Watch> watch;
  if (look) {
    watch.emplace(look);
    sources.fault = [&watch] { return watch->fault(); };
  }
  const Server::StopSignal stop;
  if (!leave_everything(listener)) return EX_OSERR;
  serve_briefly(
      listener, [&sources](const Http::Request& request) { return answer(request, sources); },
      stop);
  return EX_OK;
}

}  // namespace Quarrow::Monitoring
