// Dovecot's file of keywords: a line "0 name" for the letter a.
#include "refiling/folder_keywords.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstring>
#include <ctime>
#include <memory>
#include <sstream>

#include "quarrow/delivery/maildir_store.h"
#include "system/descriptor.h"
#include "system/file_io.h"
#include "system/regular_file.h"

namespace Quarrow::Refiling {
namespace {

constexpr char file_name[] = "dovecot-keywords";
constexpr char lock_name[] = "dovecot-uidlist.lock";
constexpr char draft_name[] = "dovecot-keywords.lock";  // as Dovecot calls it
constexpr char lock_draft_name[] = ".refiling.lock";

// No 26 keywords are that long: in bytes.
constexpr std::size_t longest_file = 65536;

constexpr int new_file_flags = O_WRONLY | O_CREAT | O_EXCL;
constexpr int pause_ms = 20;  // between two attempts to lock

std::string read_file(int folder, const char* name) {
  const Descriptor file(open_regular_at(folder, name, O_RDONLY));
  std::string text;
  while (file.get() >= 0 && text.size() < longest_file && append_next(file.get(), text) > 0)
    continue;
  return text;
}

// Where in `info` the flags begin, of which letters are keywords: behind ":2,".
std::size_t flags_begin(const std::string& info) {
  return info.rfind(":2,", 0) == 0 ? 3 : info.size();
}

bool is_letter(char c) { return c >= 'a' && c <= 'z'; }

std::string owner_text() { return std::to_string(getpid()) + ':' + Delivery::host_name(); }

// Whether the text in a lock, "pid:host", names a process of this host that is gone.
bool names_a_process_gone(const std::string& text) {
  const std::size_t colon = text.find(':');
  pid_t process = 0;
  if (colon == std::string::npos || text.substr(colon + 1) != Delivery::host_name()) return false;
  const auto read = std::from_chars(text.data(), text.data() + colon, process);
  return read.ec == std::errc() && process > 0 && kill(process, 0) != 0 && errno == ESRCH;
}

// The lock of a folder's lists of messages and keywords, which Dovecot takes for each change of
// these, until this object is gone.
class UidlistLock {
 public:
  UidlistLock(int folder, std::chrono::milliseconds patience) : folder_(folder) {
    const auto end = std::chrono::steady_clock::now() + patience;
    while (!take() && error_ == EEXIST && std::chrono::steady_clock::now() < end)
      if (names_a_process_gone(read_file(folder_, lock_name)))
        (void)unlinkat(folder_, lock_name, 0);
      else
        (void)poll(nullptr, 0, pause_ms);
  }
  ~UidlistLock() {
    if (error_ == 0) (void)unlinkat(folder_, lock_name, 0);
  }
  UidlistLock(const UidlistLock&) = delete;
  UidlistLock& operator=(const UidlistLock&) = delete;

  // 0 when the lock was taken; EEXIST when another process has it.
  int error() const { return error_; }

 private:
  // The lock appears with its owner in it, by which others see that the owner ended.
  bool take() {
    (void)unlinkat(folder_, lock_draft_name, 0);  // of a process that was killed
    const Descriptor file(open_regular_at(folder_, lock_draft_name, new_file_flags, 0600));
    const bool done = file.get() >= 0 && write_all(file.get(), owner_text()) &&
                      linkat(folder_, lock_draft_name, folder_, lock_name, 0) == 0;
    error_ = done ? 0 : errno;
    (void)unlinkat(folder_, lock_draft_name, 0);
    return done;
  }

  const int folder_;
  int error_ = 0;
};

std::string reason_of(int error) { return std::string(file_name) + ": " + std::strerror(error); }

}  // namespace

void FolderKeywords::read(int folder) {
  names_.fill("");
  std::istringstream lines(read_file(folder, file_name));
  std::size_t letter = 0;
  for (std::string name; lines >> letter && lines.get() == ' ' && std::getline(lines, name);)
    if (letter < names_.size()) names_[letter] = name;
}

// Folders and their keywords are read once in a while only, and may have changed: so once more
// under the lock.
std::string FolderKeywords::add(int folder, const std::set<std::string>& names,
                                std::chrono::milliseconds patience) {
  const FolderKeywords before = *this;
  if (take_in(names) && names_ == before.names_) return "";
  const UidlistLock lock(folder, patience);
  *this = before;
  if (lock.error() == EEXIST) return std::string(lock_name) + ": held by an IMAP server; try again";
  if (lock.error() != 0) return reason_of(lock.error());
  read(folder);
  const FolderKeywords current = *this;
  std::string fault;
  if (!take_in(names))
    fault = "the folder has as many keywords as there can be";
  else if (names_ != current.names_)
    fault = replace_file(folder);
  if (!fault.empty()) *this = current;
  return fault;
}

// Gives letters to those of `names` that have none. False, with some of them left, when there are
// not enough.
bool FolderKeywords::take_in(const std::set<std::string>& names) {
  for (const auto& name : names) {
    if (std::find(names_.begin(), names_.end(), name) != names_.end()) continue;
    const auto unused = std::find(names_.begin(), names_.end(), "");
    if (unused == names_.end()) return false;
    *unused = name;
  }
  return true;
}

std::string FolderKeywords::text() const {
  std::string text;
  for (std::size_t letter = 0; letter < names_.size(); ++letter)
    if (!names_[letter].empty()) text += std::to_string(letter) + ' ' + names_[letter] + '\n';
  return text;
}

// The time grows with each change: Dovecot reads the file again when it is another second's.
std::string FolderKeywords::replace_file(int folder) const {
  struct stat old {};
  const bool is_there = fstatat(folder, file_name, &old, AT_SYMLINK_NOFOLLOW) == 0;
  const mode_t mode = is_there ? old.st_mode & 0666U : 0600U;
  const timespec changed = {std::max(std::time(nullptr), is_there ? old.st_mtime + 1 : 0), 0};
  const timespec times[] = {changed, changed};
  (void)unlinkat(folder, draft_name, 0);  // of a process that was killed
  const Descriptor file(open_regular_at(folder, draft_name, new_file_flags, mode));
  if (file.get() < 0) return reason_of(errno);
  const bool done = fchmod(file.get(), mode) == 0 && write_all(file.get(), text()) &&
                    futimens(file.get(), times) == 0 && fsync(file.get()) == 0 &&
                    renameat(folder, draft_name, folder, file_name) == 0 && fsync(folder) == 0;
  return done ? "" : reason_of(errno);
}

std::set<std::string> FolderKeywords::names_in(const std::string& info) const {
  std::set<std::string> found;
  for (std::size_t i = flags_begin(info); i < info.size(); ++i) {
    if (!is_letter(info[i])) continue;
    const std::string& name = names_[static_cast<std::size_t>(info[i] - 'a')];
    if (!name.empty()) found.insert(name);
  }
  return found;
}

std::optional<std::string> FolderKeywords::translated(const std::string& info,
                                                      const FolderKeywords& target) const {
  const std::size_t begin = flags_begin(info);
  std::string flags;
  for (const char c : info.substr(begin)) {
    if (!is_letter(c)) {
      flags += c;
      continue;
    }
    const auto letter = static_cast<std::size_t>(c - 'a');
    if (names_[letter].empty()) {
      if (target.names_[letter].empty()) flags += c;
      continue;
    }
    const auto found = std::find(target.names_.begin(), target.names_.end(), names_[letter]);
    if (found == target.names_.end()) return std::nullopt;
    flags += static_cast<char>('a' + (found - target.names_.begin()));
  }
  std::sort(flags.begin(), flags.end());  // as the format has it
  return info.substr(0, begin) + flags;
}

}  // namespace Quarrow::Refiling
