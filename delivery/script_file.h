// Finding a user's script.
#ifndef QUARROW_DELIVERY_SCRIPT_FILE_H_
#define QUARROW_DELIVERY_SCRIPT_FILE_H_

#include <chrono>
#include <ctime>
#include <string>

namespace Quarrow::Delivery {

struct ScriptFile {
  bool found = false;
  std::string text;         // at most the 32768 bytes that count
  bool is_missing = false;  // there is nothing at its path
  std::string reason;       // why it was not found
};

// Reads the script at `path`, which must be a regular file: a link is not followed.
//
// When the script is missing, waits for it up to `wait` while a commit of the library's own seems
// to be under way, which removes the old script just before it puts the new script in place: its
// rules document, or its next version, lies beside it, and was changed within ten seconds of `now`.
// The same when a network file system says that the script was replaced while it was opened or
// read. Where the files beside it are older, the script is lost; where they are missing, the user
// has no rules. In neither case is there a wait.
ScriptFile read_script(const std::string& path, std::chrono::milliseconds wait, std::time_t now);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_SCRIPT_FILE_H_
