// Questions about files.
#include "apps/quarrow/files.h"

#include <sysexits.h>
#include <unistd.h>

#include <cstring>

#include "apps/quarrow/complaint.h"

namespace Quarrow::Command {

bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

int cannot_make(const std::string& path, int error) {
  const bool forbidden = file_status(error) == EX_NOPERM;
  return complain(path, std::string("can't be made: ") + std::strerror(error),
                  forbidden ? EX_NOPERM : EX_CANTCREAT);
}

}  // namespace Quarrow::Command
