// A look at each name in the folder that is ours.
#include "doctor/file_examination.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <string_view>

#include "message_filters/user_files.h"
#include "system/folder_names.h"

namespace Quarrow::Doctor {
namespace {

using Administration::UserFolder;

constexpr mode_t writable_by_others = S_IWGRP | S_IWOTH;

bool ends(std::string_view text, std::string_view with) {
  return text.size() >= with.size() && text.substr(text.size() - with.size()) == with;
}

bool is_ours(const std::string& name) {
  return name.rfind(script_name, 0) == 0 || name.rfind(journal_name, 0) == 0;
}

bool is_copy(const std::string& name) { return name.find(copy_ending) != std::string::npos; }

bool is_leftover(const std::string& name) {
  const std::string_view endings[] = {".tmp", ".new", ".kept"};
  return std::any_of(std::begin(endings), std::end(endings),
                     [&name](std::string_view ending) { return ends(name, ending); });
}

const char* kind_of(mode_t mode) {
  if (S_ISLNK(mode)) return "a symbolic link";
  if (S_ISFIFO(mode)) return "a fifo";
  return S_ISDIR(mode) ? "a folder" : "no regular file";
}

void examine_rights(const UserFolder& folder, const std::string& path, const struct stat& status,
                    Findings& findings) {
  if (status.st_uid != folder.owner())
    findings.push_back({Severity::error, Code::foreign_owner, path,
                        "belongs to another user than the folder that it is in",
                        "give it to the owner of the folder, with chown"});
  if ((status.st_mode & writable_by_others) != 0)
    findings.push_back({Severity::error, Code::open_mode, path, "others may write to it",
                        "use --repair, or chmod go-w"});
}

void examine_file(const UserFolder& folder, const std::string& name, Findings& findings) {
  struct stat status {};
  if (fstatat(folder.fd(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return;  // it went
  const std::string path = folder.file(name);
  if (!S_ISREG(status.st_mode)) {
    findings.push_back({Severity::error, Code::not_regular, path,
                        std::string(kind_of(status.st_mode)) + " in the place of a file",
                        "remove it, and restore the file from a copy"});
    return;
  }
  if (is_leftover(name))
    findings.push_back({Severity::warning, Code::leftover, path,
                        "left by a process that was stopped in a change of the rules",
                        "use --repair, or change the rules once more"});
  examine_rights(folder, path, status, findings);
}

}  // namespace

void examine_files(const UserFolder& folder, Findings& findings) {
  struct stat status {};
  if (fstat(folder.fd(), &status) == 0) examine_rights(folder, folder.path(), status, findings);
  for (const std::string& name : names_in(folder.fd()))
    if (is_ours(name) && !is_copy(name)) examine_file(folder, name, findings);
}

}  // namespace Quarrow::Doctor
