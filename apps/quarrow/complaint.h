// How the command speaks of failures: one line on standard error, and an exit status of
// sysexits(3).
#ifndef QUARROW_APPS_QUARROW_COMPLAINT_H_
#define QUARROW_APPS_QUARROW_COMPLAINT_H_

#include <string>

#include "administration/refusal.h"

namespace Quarrow::Command {

// A reason, and the exit status that goes with it. An empty reason: nothing is wrong.
struct Fault {
  std::string reason;
  int status = 0;

  explicit operator bool() const { return !reason.empty(); }
};

// Writes "quarrow: object: reason" to standard error, control characters escaped and
// long texts shortened, and gives
// `status` back.
int complain(const std::string& object, const std::string& reason, int status);

// The same for the reason and the status of `fault`.
int complain(const std::string& object, const Fault& fault);

// The exit status for a refusal of that kind.
int exit_status(Administration::Refusal::Kind kind);

// Complains of a refusal, with a hint at the command's own words where its kind has one, and gives
// its exit status. `about` is what the hint names: the refusal's object unless it is given.
int complain(const Administration::Refusal& refusal);
int complain(const Administration::Refusal& refusal, const std::string& about);

// The exit status for a file operation that failed with `error` (an errno): no permission, try
// again, no input, or input/output.
int file_status(int error);

// Flushes standard output. `status`, or EX_IOERR with a complaint when not all of the output could
// be written.
int finish_output(int status);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_COMPLAINT_H_
