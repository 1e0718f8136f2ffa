// Looking for a script, and waiting for a commit to bring it.
#include "delivery/script_file.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>

#include "message_filters/script_words.h"
#include "message_filters/user_files.h"
#include "system/descriptor.h"
#include "system/file_io.h"
#include "system/regular_file.h"

namespace Quarrow::Delivery {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int pause_ms = 2;  // between two looks

// A commit takes the script away for less than a second. The clock of a file server may differ.
constexpr std::time_t longest_commit = 10;  // in seconds

ScriptFile not_found(int error) { return {false, {}, error == ENOENT, reason_for_no_file(error)}; }

ScriptFile read_whole(int fd, int& error) {
  ScriptFile script{true, {}, false, {}};
  ssize_t count = 1;
  while (count > 0 && script.text.size() < script_limit) count = append_next(fd, script.text);
  if (count < 0) return not_found(error = errno);
  if (script.text.size() > script_limit) script.text.resize(script_limit);
  return script;
}

// The script as it is now; with the errno in `error` when there is none.
ScriptFile look(const std::string& path, int& error) {
  const Descriptor file(open_regular(path, O_RDONLY));
  error = file.get() < 0 ? errno : 0;
  return error != 0 ? not_found(error) : read_whole(file.get(), error);
}

// Whether the file `path` was made, renamed or changed lately.
bool is_fresh(const std::string& path, std::time_t now) {
  struct stat status {};
  if (lstat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return false;
  return std::abs(now - status.st_ctime) <= longest_commit;
}

// Whether a commit is under way that takes the script at `path` away for a moment, or, as network
// file systems tell it, has just replaced it.
bool is_due(const std::string& path, int error, std::time_t now) {
  return error == ESTALE || is_fresh(temporary_path(path), now) ||
         is_fresh(rules_document_of(path), now);
}

}  // namespace

ScriptFile read_script(const std::string& path, std::chrono::milliseconds wait, std::time_t now) {
  const Clock::time_point end = Clock::now() + wait;
  for (;;) {
    int error = 0;
    ScriptFile script = look(path, error);
    if (error != ENOENT && error != ESTALE) return script;
    // Once more: the new script may have come into place between the look and the question.
    if (!is_due(path, error, now)) return look(path, error);
    if (Clock::now() >= end) return script;
    (void)poll(nullptr, 0, pause_ms);  // a signal only makes the next look earlier
  }
}

}  // namespace Quarrow::Delivery
