// The reason, and what to do about it.
#include "apps/quarrow/missing_script.h"

#include <fcntl.h>
#include <sysexits.h>

#include <cerrno>

#include "apps/quarrow/complaint.h"
#include "message_filters/user_files.h"
#include "system/descriptor.h"
#include "system/exists.h"
#include "system/regular_file.h"

namespace Quarrow::Command {

int complain_of_script(const std::string& user, const std::string& path) {
  const Descriptor script(open_regular(path, O_RDONLY));
  const int error = script.get() < 0 ? errno : 0;
  if (error == ENOENT && exists(rules_document_of(path)))
    return complain(path, "missing beside the filters; adding or removing a filter writes it anew",
                    EX_DATAERR);
  if (error == ENOENT)
    return complain(
        user, "no rules, so that every message is kept; add some with quarrow filter add " + user,
        EX_NOINPUT);
  if (error != 0)
    return complain(path, "can't be read: " + reason_for_no_file(error), file_status(error));
  return complain(path,
                  "damaged script: empty or not valid; adding or removing a filter with "
                  "--replace-script writes it anew, and quarrow match --log says more",
                  EX_DATAERR);
}

}  // namespace Quarrow::Command
