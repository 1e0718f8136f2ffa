// Where a block of commands leaves a message.
#include "importing/sieve_actions.h"

#include <algorithm>
#include <cstddef>

#include "host/zvellparser/ascii_case.h"
#include "message_filters/mailbox_name.h"

namespace Quarrow::Importing {
namespace {

using MessageFilters::Action;

const char inbox_name[] = "INBOX";

// The tags of "fileinto" that change nothing here: folders are made when they are needed.
bool is_harmless_tag(const std::string& tag) { return tag == "create"; }

class Block {
 public:
  explicit Block(SieveStrings strings) : strings_(strings) {}

  SieveActions read(const std::vector<SieveNode>& commands) {
    for (const auto& command : commands) {
      if (command.name == "stop") {
        found_.stops = true;
        break;
      }
      read(command);
    }
    found_.actions = actions();
    return found_;
  }

 private:
  void read(const SieveNode& command) {
    if (command.name == "require") return;
    if (command.name == "keep") return keep(command);
    if (command.name == "fileinto") return file(command);
    if (command.name == "discard") {
      is_kept_by_itself_ = false;
      return lose(command, "discard has no equal; delete, which files into Trash, takes its place");
    }
    if (command.name == "if" || command.name == "elsif" || command.name == "else") {
      found_.is_nested = true;
      return lose(command, "conditions inside a block have no equal");
    }
    lose(command, "the action \"" + command.name + "\" has no equal; it is left out");
  }

  void keep(const SieveNode& command) {
    is_kept_ = true;
    if (!command.arguments.empty()) lose(command, "flags have no equal; they are left out");
  }

  void file(const SieveNode& command) {
    bool is_copy = false;
    bool is_operand = false;  // of a tag
    std::string folder;
    for (const auto& argument : command.arguments) {
      if (argument.kind == SieveArgument::Kind::tag) {
        is_copy = is_copy || argument.tag == "copy";
        is_operand = argument.tag != "copy" && !is_harmless_tag(argument.tag);
        if (is_operand) lose(command, "\":" + argument.tag + "\" has no equal; it is left out");
      } else if (!is_operand && argument.texts.size() == 1) {
        folder = folder_of(argument.texts.front());
      } else {
        is_operand = false;
      }
    }
    folders_.push_back(folder);
    if (!is_copy) is_kept_by_itself_ = false;
  }

  // A name that is written as IMAP writes them is meant so: no folder is named "A&-B".
  std::string folder_of(const SieveText& text) const {
    const std::string name =
        MessageFilters::readable_mailbox_name(strings_ == SieveStrings::raw ? text.raw : text.text);
    return zvellparser::equal_ignoring_case(name, inbox_name) ? inbox_name : name;
  }

  // A script that does nothing else keeps a message (RFC 5228, section 2.10.2).
  std::list<Action> actions() const {
    std::list<Action> all;
    const bool is_kept = is_kept_ || is_kept_by_itself_;
    for (const auto& folder : folders_)
      all.push_back({all.empty() && is_kept ? Action::COPY : Action::MOVE, folder, ""});
    if (all.empty() && is_kept) all.push_back({Action::MOVE, inbox_name, ""});
    if (all.empty()) all.push_back({Action::DELETE, "", ""});
    return all;
  }

  void lose(const SieveNode& command, const std::string& reason) {
    found_.losses.push_back({command.line, reason});
  }

  SieveStrings strings_;
  SieveActions found_;
  std::vector<std::string> folders_;
  bool is_kept_ = false;
  bool is_kept_by_itself_ = true;
};

}  // namespace

SieveActions sieve_actions(const std::vector<SieveNode>& commands, SieveStrings strings) {
  return Block(strings).read(commands);
}

}  // namespace Quarrow::Importing
