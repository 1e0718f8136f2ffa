// Complaints and exit statuses.
#include "apps/quarrow/complaint.h"

#include <sysexits.h>

#include <cerrno>
#include <iostream>

#include "system/printable.h"

namespace Quarrow::Command {

int complain(const std::string& object, const std::string& reason, int status) {
  std::cout.flush();  // so that both streams stay in order where they end in one place
  std::cerr << "quarrow: " << printable(object) << ": " << printable(reason) << '\n';
  return status;
}

int complain(const std::string& object, const Fault& fault) {
  return complain(object, fault.reason, fault.status);
}

int file_status(int error) {
  static const struct {
    int error;
    int status;
  } statuses[] = {{EACCES, EX_NOPERM},  {EPERM, EX_NOPERM},    {EROFS, EX_NOPERM},
                  {ENOENT, EX_NOINPUT}, {ENOTDIR, EX_NOINPUT}, {EAGAIN, EX_TEMPFAIL},
                  {EINTR, EX_TEMPFAIL}, {EMFILE, EX_TEMPFAIL}, {ENFILE, EX_TEMPFAIL},
                  {ENOMEM, EX_TEMPFAIL}};
  for (const auto& row : statuses)
    if (row.error == error) return row.status;
  return EX_IOERR;
}

int finish_output(int status) {
  std::cout.flush();
  if (std::cout) return status;
  return complain("standard output", "not all could be written; is the disk full?", EX_IOERR);
}

}  // namespace Quarrow::Command
