// A temporary file, and system(3).
#include "apps/quarrow/text_editor.h"

#include <fcntl.h>
#include <sysexits.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "apps/quarrow/shell_word.h"
#include "system/descriptor.h"
#include "system/file_io.h"
#include "system/process_end.h"
#include "system/regular_file.h"

namespace Quarrow::Command {
namespace {

// What a shell says of a program that it does not find.
constexpr int not_found = 127;

// A command for the shell.
const char default_editor[] = "$(command -v editor || echo vi)";

// The first of these environment variables with a text; `otherwise` without one.
std::string setting(std::initializer_list<const char*> names, const char* otherwise) {
  for (const char* name : names)
    if (const char* const text = std::getenv(name); text != nullptr && *text != '\0') return text;
  return otherwise;
}

Fault fault_of(const std::string& editor, const ProcessEnd& end) {
  if (end.signal == 0 && end.status == 0) return {};
  const std::string name = editor == default_editor ? "editor or vi" : editor;
  if (end.signal != 0)
    return {name + " was ended by signal " + std::to_string(end.signal), EX_UNAVAILABLE};
  if (end.status == not_found)
    return {name + " is not found; name your editor in VISUAL or EDITOR", EX_UNAVAILABLE};
  return {name + " ended with status " + std::to_string(end.status), EX_UNAVAILABLE};
}

}  // namespace

EditedFile::~EditedFile() {
  if (!is_kept_) (void)unlink(path_.c_str());  // what stays in TMPDIR harms nobody
}

Fault EditedFile::make(const std::string& text) {
  path_ = setting({"TMPDIR"}, "/tmp") + "/quarrow-filter-XXXXXX";
  const Descriptor file(mkostemp(path_.data(), O_CLOEXEC));
  if (file.get() < 0)
    return {std::string("can't be made: ") + std::strerror(errno) +
                "; name a folder that you may write to in TMPDIR",
            EX_CANTCREAT};
  is_kept_ = false;
  if (write_all(file.get(), text)) return {};
  return {std::string("can't be written: ") + std::strerror(errno), file_status(errno)};
}

Fault EditedFile::edit() const {
  const std::string editor = setting({"VISUAL", "EDITOR"}, default_editor);
  const int end = std::system((editor + ' ' + shell_quoted(path_)).c_str());
  if (end < 0) return {std::string("no editor can be started: ") + std::strerror(errno), EX_OSERR};
  return fault_of(editor, process_end(end));
}

// By its path: many editors put a new file in the place of the old one.
Fault EditedFile::read(std::size_t limit, std::string& text) const {
  const Descriptor file(open_regular(path_, O_RDONLY));
  if (file.get() < 0) return {reason_for_no_file(errno), file_status(errno)};
  text.clear();
  ssize_t count = 1;
  while (count > 0 && text.size() <= limit) count = append_from(file.get(), text);
  if (count < 0) return {reason_for_no_file(errno), file_status(errno)};
  if (text.size() <= limit) return {};
  return {"has more than " + std::to_string(limit) + " bytes", EX_DATAERR};
}

}  // namespace Quarrow::Command
