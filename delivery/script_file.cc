// Looking for a script, and waiting for a commit to bring it.
#include "delivery/script_file.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "message_filters/script_words.h"
#include "message_filters/user_files.h"
#include "system/descriptor.h"
#include "system/file_io.h"

namespace Quarrow::Delivery {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int pause_ms = 2;  // between two looks

ScriptFile not_found(int error) { return {false, {}, std::strerror(error)}; }

ScriptFile read_whole(int fd) {
  ScriptFile script{true, {}, {}};
  ssize_t count = 1;
  while (count > 0 && script.text.size() < script_limit) count = append_next(fd, script.text);
  if (count < 0) return not_found(errno);
  if (script.text.size() > script_limit) script.text.resize(script_limit);
  return script;
}

// The script as it is now; with ENOENT in `error` when there is no script.
ScriptFile look(const std::string& path, int& error) {
  // A fifo in place of the file must not hold the caller up.
  const Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  error = file.get() < 0 ? errno : 0;
  return error != 0 ? not_found(error) : read_whole(file.get());
}

bool exists(const std::string& path) { return access(path.c_str(), F_OK) == 0; }

// Whether a commit is under way that takes the script at `path` away for a moment.
bool is_due(const std::string& path) {
  return exists(temporary_path(path)) || exists(rules_document_of(path));
}

}  // namespace

ScriptFile read_script(const std::string& path, std::chrono::milliseconds wait) {
  const Clock::time_point end = Clock::now() + wait;
  for (;;) {
    int error = 0;
    ScriptFile script = look(path, error);
    if (error != ENOENT) return script;
    // Once more: the new script may have come into place between the look and the question.
    if (!is_due(path)) return look(path, error);
    if (Clock::now() >= end) return script;
    (void)poll(nullptr, 0, pause_ms);  // a signal only makes the next look earlier
  }
}

}  // namespace Quarrow::Delivery
