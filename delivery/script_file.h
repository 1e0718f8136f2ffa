// Finding a user's script.
#ifndef QUARROW_DELIVERY_SCRIPT_FILE_H_
#define QUARROW_DELIVERY_SCRIPT_FILE_H_

#include <chrono>
#include <string>

namespace Quarrow::Delivery {

struct ScriptFile {
  bool found = false;
  std::string text;    // at most the 32768 bytes that count
  std::string reason;  // why it was not found
};

// Reads the script at `path`. When the script is missing although its rules document, or its next
// version, lies beside it, waits for the script up to `wait`: a commit removes the old script just
// before it puts the new script in place. Where both are missing, the user has no rules, and there
// is no wait.
ScriptFile read_script(const std::string& path, std::chrono::milliseconds wait);

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_SCRIPT_FILE_H_
