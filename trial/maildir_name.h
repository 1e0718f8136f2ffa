// What the name of a file in a Maildir says about the message in it.
#ifndef QUARROW_TRIAL_MAILDIR_NAME_H_
#define QUARROW_TRIAL_MAILDIR_NAME_H_

#include <ctime>
#include <optional>
#include <string>

namespace Quarrow::Trial {

// The time of delivery in the name of the file at `path`:
// "1777896000.M52P7131Q1R9c2e51a07bd3f468.host,S=8". None when it is not named as messages in a
// Maildir are.
std::optional<std::time_t> time_in_name(const std::string& path);

// Whether the file at `path` is named as our delivery names files.
bool is_name_of_ours(const std::string& path);

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_MAILDIR_NAME_H_
