// From an address to a folder.
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

// `part` as a file name.
std::string file_name(const std::string& part) {
  static constexpr char digits[] = "0123456789ABCDEF";
  std::string name;
  for (const char c : part) {
    if (is_safe(c)) {
      name += c;
      continue;
    }
    const auto byte = static_cast<unsigned char>(c);
    name += {'%', digits[byte >> 4], digits[byte & 15]};
  }
  return split(name);
}

}  // namespace

ZvMailUserId::ZvMailUserId(MailBoxType, const std::string& address) : address_(address) {}

std::string ZvMailUserId::prefpath() const {
  const auto at = address_.rfind('@');
  if (at == std::string::npos) return {};
  const std::string local_part = file_name(address_.substr(0, at));
  const std::string domain = file_name(lower_case(address_.substr(at + 1)));
  if (local_part.empty() || domain.empty()) return {};
  return root() + "/" + domain + "/" + local_part;
}

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
