// Folders, level by level.
#include "administration/folder_check.h"

#include <algorithm>
#include <vector>

#include "delivery/folder_name.h"
#include "host/zvellparser/ascii_case.h"
#include "message_filters/mailbox_name.h"
#include "system/printable.h"

namespace Quarrow::Administration {
namespace {

using Delivery::FolderDots;

const char inbox[] = "INBOX";

std::vector<std::string> levels_of(const std::string& folder) {
  std::vector<std::string> levels;
  std::size_t start = 0;
  for (std::size_t end = folder.find('/'); end != std::string::npos;
       end = folder.find('/', start)) {
    levels.push_back(folder.substr(start, end - start));
    start = end + 1;
  }
  levels.push_back(folder.substr(start));
  return levels;
}

bool is_inbox(const std::string& level) { return zvellparser::equal_ignoring_case(level, inbox); }

bool is_relative(const std::string& level) { return level == "." || level == ".."; }

std::string trimmed(const std::string& level) {
  const std::size_t begin = level.find_first_not_of(' ');
  if (begin == std::string::npos) return "";
  return level.substr(begin, level.find_last_not_of(' ') + 1 - begin);
}

// For the first level, behind INBOX where that is: IMAP servers take names that begin with "~" for
// the folders of other users.
std::string without_tildes(const std::string& level) {
  const std::size_t begin = level.find_first_not_of("~ ");
  return begin == std::string::npos ? "" : level.substr(begin);
}

// What is wrong with one level; empty when nothing is.
std::string flaw_of(const std::string& level, FolderDots dots) {
  if (level.empty()) return "a level of it is empty";
  if (is_relative(level)) return "no level can be . or ..";
  if (trimmed(level) != level) return "there are blanks around a level of it";
  if (dots == FolderDots::inbox && level.find('.') != std::string::npos)
    return "IMAP can't open folders with a dot in the name unless --folder-dots=listescape is "
           "given, here and to delivery";
  return "";
}

// What is wrong with the levels together: delivery takes the inbox off their front.
std::string flaw_of(const std::vector<std::string>& levels, FolderDots dots) {
  for (const auto& level : levels)
    if (std::string flaw = flaw_of(level, dots); !flaw.empty()) return flaw;
  const bool in_inbox = is_inbox(levels.front());
  if (in_inbox && levels.front() != inbox && levels.front() != "Inbox")
    return "the inbox is spelled INBOX";
  if (in_inbox && levels.size() == 1) return "";
  const std::string& first = levels[in_inbox ? 1 : 0];
  if (in_inbox && is_inbox(first)) return "the inbox is named twice";
  if (dots == FolderDots::inbox && first.front() == '~')
    return "IMAP can't open folders that begin with ~";
  return "";
}

// The nearest name without a flaw; empty when nothing is left.
std::string mended(const std::vector<std::string>& levels, FolderDots dots) {
  std::string name;
  for (const auto& level : levels) {
    const bool is_first = name.empty() || name == inbox;
    const bool sheds_tildes = is_first && dots == FolderDots::inbox;
    std::string plain = trimmed(sheds_tildes ? without_tildes(level) : level);
    if (plain.empty() || is_relative(plain)) continue;
    if (dots == FolderDots::inbox) std::replace(plain.begin(), plain.end(), '.', '-');
    if (!is_inbox(plain))
      name += (name.empty() ? "" : "/") + plain;
    else if (name != inbox)
      name += (name.empty() ? "" : "/") + std::string(inbox);
  }
  return name;
}

}  // namespace

Refusal check_folder(const std::string& folder, FolderDots dots) {
  const std::vector<std::string> levels = levels_of(folder);
  const std::string name = '"' + shortened(folder) + '"';
  if (const std::string flaw = flaw_of(levels, dots); !flaw.empty()) {
    const std::string better = mended(levels, dots);
    return {Refusal::Kind::wrong_rule, "target",
            name + " can't be a folder: " + flaw + "; type " +
                (better.empty() ? "a name such as Work" : shortened(better))};
  }
  if (Delivery::maildir_folder(MessageFilters::imap_mailbox_name(folder), dots)) return {};
  return {Refusal::Kind::wrong_rule, "target",
          name + " can't be a folder: its name is too long for a disk; type a shorter one"};
}

}  // namespace Quarrow::Administration
