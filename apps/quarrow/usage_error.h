// What the option parser found wrong, in the command's own words.
#ifndef QUARROW_APPS_QUARROW_USAGE_ERROR_H_
#define QUARROW_APPS_QUARROW_USAGE_ERROR_H_

#include <string>

namespace Quarrow::Command {

// `message`, a text of CLI11, in plain English, with what the user typed cut as shortened() does. A
// text that is not known comes back as it is.
std::string plain_usage_error(const std::string& message);

}  // namespace Quarrow::Command

#endif  // QUARROW_APPS_QUARROW_USAGE_ERROR_H_
