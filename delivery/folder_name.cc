// Mailbox names to folders.
#include "delivery/folder_name.h"

#include <strings.h>

#include <algorithm>
#include <string_view>

#include "message_filters/mailbox_name.h"

namespace Quarrow::Delivery {
namespace {

constexpr std::size_t longest_folder = 255;  // NAME_MAX

const char inbox_word[] = "inbox";
const char listescape_word[] = "listescape";

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

auto dots_in(std::string_view text) { return std::count(text.begin(), text.end(), '.'); }

// IMAP servers open no folder whose name has an encoded dot: a dot stands for itself (RFC 3501,
// section 5.1.3).
bool has_encoded_dot(std::string_view level) {
  return dots_in(MessageFilters::readable_mailbox_name(std::string(level))) > dots_in(level);
}

bool can_be_level(std::string_view level, FolderDots dots) {
  if (level.empty() || level == "." || level == "..") return false;
  if (dots == FolderDots::inbox && dots_in(level) > 0) return false;
  return std::all_of(level.begin(), level.end(), is_folder_byte) && !has_encoded_dot(level);
}

// `level` as Dovecot 2.3 spells it with the plugin listescape: a backslash and the byte in
// hexadecimal for a dot, for a backslash and for a tilde at the beginning.
std::string listescaped(std::string_view level) {
  std::string name;
  for (const char c : level)
    if (c == '.')
      name += "\\2e";
    else if (c == '\\')
      name += "\\5c";
    else if (c == '~' && name.empty())
      name += "\\7e";
    else
      name += c;
  return name;
}

}  // namespace

std::optional<std::string> maildir_folder(const std::string& mailbox, FolderDots dots) {
  std::string_view rest = without_inbox(mailbox);
  std::string folder;
  if (rest.empty()) return folder;
  if (rest.front() == '~' && dots == FolderDots::inbox) return std::nullopt;
  for (;;) {
    const std::size_t end = rest.find('/');
    const std::string_view level = rest.substr(0, end);
    if (!can_be_level(level, dots)) return std::nullopt;
    folder += '.' + (dots == FolderDots::listescape ? listescaped(level) : std::string(level));
    if (end == std::string_view::npos) break;
    rest.remove_prefix(end + 1);
  }
  if (folder.size() > longest_folder) return std::nullopt;
  return folder;
}

std::string no_folder_note(const std::string& mailbox) {
  if (maildir_folder(mailbox, FolderDots::listescape)) {
    const bool has_dot = dots_in(mailbox) > 0;
    return std::string("IMAP can't open folders ") +
           (has_dot ? "with a dot in the name" : "that begin with ~") +
           ", hence the inbox: " + MessageFilters::readable_mailbox_name(mailbox);
  }
  return "not a folder name, hence the inbox: " + mailbox;
}

FolderDots folder_dots_of(const std::string& word) {
  return word == listescape_word ? FolderDots::listescape : FolderDots::inbox;
}

std::string folder_dots_fault(const std::string& word) {
  return word == inbox_word || word == listescape_word ? ""
                                                       : "neither inbox nor listescape: " + word;
}

}  // namespace Quarrow::Delivery
