// From an address to a folder.
#include <md5.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdint>
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

// An address's parts as paths; both empty where one is missing.
struct Parts {
  std::string domain;
  std::string local_part;
};

Parts parts_of(const std::string& address, IsEscaped is_escaped) {
  const auto at = address.rfind('@');
  if (at == std::string::npos) return {};
  Parts parts = {file_name(lower_case(address.substr(at + 1)), is_escaped),
                 file_name(address.substr(0, at), is_escaped)};
  return parts.domain.empty() || parts.local_part.empty() ? Parts() : parts;
}

// The folder of the user `address`; empty without a local part or a domain.
std::string folder_of(const std::string& address, IsEscaped is_escaped) {
  const Parts parts = parts_of(address, is_escaped);
  return parts.domain.empty() ? "" : root() + "/" + parts.domain + "/" + parts.local_part;
}

// The folders between a domain and the user's own.
std::string hash_folders(const std::string& local_part) {
  std::array<char, MD5_DIGEST_STRING_LENGTH> digits{};
  (void)MD5Data(reinterpret_cast<const std::uint8_t*>(local_part.data()), local_part.size(),
                digits.data());
  const std::string hash(digits.data(), 4);
  return "%/" + hash.substr(0, 2) + "/" + hash.substr(2);
}

// What stat(2) tells of `path`: 0, or the errno.
int look_at(const std::string& path, struct stat& status) {
  return stat(path.c_str(), &status) == 0 ? 0 : errno;
}

// Whether there is something, with what look_at() says of it in `error`. A link that leads nowhere
// is there, as is what can't be looked at, so that no user is moved to another folder.
bool is_there(const std::string& path, struct stat& status, int& error) {
  error = look_at(path, status);
  if (error != ENOENT) return true;
  struct stat link {};
  if (lstat(path.c_str(), &link) != 0) return false;
  error = look_at(path, status);  // no link: the folder has come just now
  return true;
}

}  // namespace

ZvMailUserId::ZvMailUserId(MailBoxType, const std::string& address) : address_(address) {}

std::string ZvMailUserId::prefpath() const {
  std::string folder;
  struct stat status {};
  (void)find_prefpath(folder, status);
  return folder;
}

int ZvMailUserId::find_prefpath(std::string& folder, struct stat& status) const {
  const std::string escaped = folder_of(address_, is_unsafe);
  const std::string plain = plain_prefpath();
  int error = ENOENT;
  const auto is_at = [&](const std::string& path) {
    folder = path;
    return is_there(path, status, error);
  };
  const auto is_flat = [&] { return is_at(escaped) || (plain != escaped && is_at(plain)); };
  // Once more behind the hashed folder: the user may have been moved out of it just then.
  const bool is_found = !escaped.empty() && (is_flat() || is_at(hashed_prefpath()) || is_flat());
  if (!is_found) folder = escaped;
  return error;
}

std::string ZvMailUserId::plain_prefpath() const { return folder_of(address_, is_impossible); }

std::string ZvMailUserId::hashed_prefpath() const {
  const Parts parts = parts_of(address_, is_impossible);
  if (parts.domain.empty()) return "";
  return root() + "/" + parts.domain + "/" + hash_folders(parts.local_part) + "/" +
         parts.local_part;
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
