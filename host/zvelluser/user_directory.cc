// From an address to a folder.
#include <sys/stat.h>

#include <cerrno>
#include <cstring>

#include "zvelluser.h"

namespace {

constexpr std::size_t longest_file_name = 255;  // NAME_MAX of Linux file systems

std::string& root() {
  static std::string directory = "/var/spool/quarrow";
  return directory;
}

// by hand, not isalnum() and tolower(): the process's locale must not move a user's folder
bool is_upper(char c) { return c >= 'A' && c <= 'Z'; }

bool is_safe(char c) {
  return is_upper(c) || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
         (c != '\0' && std::strchr("._+=-", c));
}

char lower(char c) { return is_upper(c) ? static_cast<char>(c - 'A' + 'a') : c; }

std::string lower_case(std::string text) {
  for (char& c : text) c = lower(c);
  return text;
}

// Hides no file, and names neither its own folder nor the one above.
void escape_leading_dot(std::string& name) {
  if (!name.empty() && name.front() == '.') name.replace(0, 1, "%2E");
}

// `name` with a folder in between wherever it would be too long for a file's name. Such a folder
// ends in a lone "%", as no escaped name does.
std::string split(std::string name) {
  std::string path;
  escape_leading_dot(name);
  while (name.size() > longest_file_name) {
    path += name.substr(0, longest_file_name - 1) + "%/";
    name.erase(0, longest_file_name - 1);
    escape_leading_dot(name);
  }
  return path + name;
}

using IsEscaped = bool (*)(const std::string& part, std::size_t i);

bool is_unsafe(const std::string& part, std::size_t i) { return !is_safe(part[i]); }

bool is_hex_digit(char c) { return c != '\0' && std::strchr("0123456789abcdefABCDEF", c); }

// Whether the byte at `i` of `part` can't stand in a file's name, or would begin an escape there.
bool is_impossible(const std::string& part, std::size_t i) {
  const auto byte = static_cast<unsigned char>(part[i]);
  if (byte < ' ' || byte == 127 || byte == '/') return true;
  if (byte != '%') return false;
  const bool is_last = i + 1 == part.size();
  return is_last || (i + 2 < part.size() && is_hex_digit(part[i + 1]) && is_hex_digit(part[i + 2]));
}

// `part` as a file name.
std::string file_name(const std::string& part, IsEscaped is_escaped) {
  static constexpr char digits[] = "0123456789ABCDEF";
  std::string name;
  for (std::size_t i = 0; i < part.size(); ++i) {
    if (!is_escaped(part, i)) {
      name += part[i];
      continue;
    }
    const auto byte = static_cast<unsigned char>(part[i]);
    name += {'%', digits[byte >> 4], digits[byte & 15]};
  }
  return split(name);
}

// The folder of the user `address`; empty without a local part or a domain.
std::string folder_of(const std::string& address, IsEscaped is_escaped) {
  const auto at = address.rfind('@');
  if (at == std::string::npos) return {};
  const std::string local_part = file_name(address.substr(0, at), is_escaped);
  const std::string domain = file_name(lower_case(address.substr(at + 1)), is_escaped);
  if (local_part.empty() || domain.empty()) return {};
  return root() + "/" + domain + "/" + local_part;
}

// What can't be looked at counts as being there, so that no user is moved to another folder.
bool is_there(const std::string& path) {
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 || errno != ENOENT;
}

}  // namespace

ZvMailUserId::ZvMailUserId(MailBoxType, const std::string& address) : address_(address) {}

std::string ZvMailUserId::prefpath() const {
  const std::string escaped = folder_of(address_, is_unsafe);
  const std::string plain = plain_prefpath();
  const bool is_plain = plain != escaped && !is_there(escaped) && is_there(plain);
  return is_plain ? plain : escaped;
}

std::string ZvMailUserId::plain_prefpath() const { return folder_of(address_, is_impossible); }

int mailuser_filename(int kind, char* buffer, std::size_t size, const std::string& address) {
  if (!buffer || size == 0) return -1;
  buffer[0] = '\0';
  if (kind != MAILUSER_PREFERENCES) return -1;
  const std::string path = ZvMailUserId(MAILBOX_USER, address).prefpath();
  if (path.empty() || path.size() >= size) return -1;
  std::memcpy(buffer, path.c_str(), path.size() + 1);
  return 0;
}

void mailuser_set_root(const std::string& directory) { root() = directory; }
