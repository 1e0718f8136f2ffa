// Mailbox names to folders.
#include "delivery/folder_name.h"

#include <strings.h>

#include <string_view>

namespace Quarrow::Delivery {
namespace {

constexpr std::size_t longest_folder = 255;  // NAME_MAX

bool begins_with_inbox(std::string_view text) {
  const std::string_view inbox = "inbox";
  return text.size() >= inbox.size() && strncasecmp(text.data(), inbox.data(), inbox.size()) == 0;
}

std::string_view without_inbox(std::string_view mailbox) {
  while (begins_with_inbox(mailbox)) {
    const std::string_view rest = mailbox.substr(5);
    if (rest.empty()) return rest;
    if (rest.front() != '/') break;
    mailbox = rest.substr(1);
  }
  return mailbox;
}

bool is_folder_byte(char c) { return c >= ' ' && c <= '~'; }

// Adds "." and `level` to `folder`; false when it can't be a level of a folder.
bool add_level(std::string_view level, std::string& folder) {
  if (level.empty() || level == "." || level == "..") return false;
  folder += '.';
  for (const char c : level) {
    if (!is_folder_byte(c)) return false;
    if (c == '.')
      folder += "&AC4-";
    else
      folder += c;
  }
  return true;
}

}  // namespace

std::optional<std::string> maildir_folder(const std::string& mailbox) {
  std::string_view rest = without_inbox(mailbox);
  std::string folder;
  if (rest.empty()) return folder;
  if (rest.front() == '~') return std::nullopt;
  for (;;) {
    const std::size_t end = rest.find('/');
    if (!add_level(rest.substr(0, end), folder)) return std::nullopt;
    if (end == std::string_view::npos) break;
    rest.remove_prefix(end + 1);
  }
  if (folder.size() > longest_folder) return std::nullopt;
  return folder;
}

}  // namespace Quarrow::Delivery
