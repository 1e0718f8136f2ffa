// The conversation with a person who edits.
#include "apps/quarrow/filter_editing.h"

#include <sysexits.h>
#include <unistd.h>

#include <cstddef>
#include <iostream>

#include "apps/quarrow/complaint.h"
#include "apps/quarrow/shell_word.h"
#include "apps/quarrow/text_editor.h"
#include "apps/quarrow/whole_file.h"
#include "system/exists.h"

namespace Quarrow::Command {
namespace {

using Administration::Refusal;

// In bytes: far more than a filter takes.
constexpr std::size_t longest_text = std::size_t{1} << 20;

// Without the hints of complain(refusal), which name options.
int complain_of_text(const std::string& path, const Refusal& refusal) {
  const int status = exit_status(refusal.kind);
  return complain((path.empty() ? "" : path + ": ") + refusal.object, refusal.reason,
                  status == EX_USAGE ? EX_DATAERR : status);
}

bool wants_to_go_on(const std::string& path) {
  std::cout << "The text is in " << path << ". Edit it again? [y/n] " << std::flush;
  std::string answer;
  while (std::getline(std::cin, answer)) {
    if (answer == "y" || answer == "Y" || answer == "yes") return true;
    if (answer == "n" || answer == "N" || answer == "no") return false;
    std::cout << "Please type y or n: " << std::flush;
  }
  std::cout << '\n';
  return false;
}

// The person's text, in its file.
class Session {
 public:
  Session(const std::string& text, const TextUse& use) : original_(text), use_(use) {}

  int run(const std::string& again) {
    if (const Fault fault = file_.make(original_)) return complain(file_.path(), fault);
    const int status = edit();
    if (status == EX_OK || !is_changed_) return status;
    file_.keep();
    return complain(
        file_.path(),
        "holds your text; " + again + " --file " + shell_quoted(file_.path()) + " takes it",
        status);
  }

 private:
  int edit() {
    for (;;) {
      const Fault no_editor = file_.edit();
      const Fault unreadable = file_.read(longest_text, text_);
      is_changed_ = unreadable ? exists(file_.path()) : text_ != original_;
      if (no_editor)
        return complain("editor", no_editor.reason + "; nothing was changed", no_editor.status);
      if (unreadable) return complain(file_.path(), unreadable);
      if (!is_changed_)
        return complain("editor", "the text is as it was; nothing was changed", EX_OK);
      const Refusal refusal = use_.read(text_);
      if (!refusal) return use_.commit();
      const int status = complain_of_text("", refusal);
      if (!wants_to_go_on(file_.path())) return status;
    }
  }

  const std::string& original_;
  const TextUse& use_;
  EditedFile file_;
  std::string text_;
  bool is_changed_ = false;
};

}  // namespace

bool has_terminal() { return isatty(STDIN_FILENO) == 1 && isatty(STDOUT_FILENO) == 1; }

int edit_filter(const std::string& text, const TextUse& use, const std::string& again) {
  return Session(text, use).run(again);
}

int take_filter_file(const std::string& path, const TextUse& use) {
  std::string text;
  if (const Fault fault = read_file(path, longest_text, text)) return complain(path, fault);
  if (text.size() > longest_text)
    return complain(path, "has more than " + std::to_string(longest_text) + " bytes", EX_DATAERR);
  if (const Refusal refusal = use.read(text)) return complain_of_text(path, refusal);
  return use.commit();
}

}  // namespace Quarrow::Command
