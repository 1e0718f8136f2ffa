// Modes, then copies, then a commit of the rules as they are.
#include "doctor/repair.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>

#include "administration/locked_user.h"
#include "administration/rules_lock.h"
#include "administration/rules_transaction.h"
#include "administration/user_folder.h"
#include "administration/users.h"
#include "doctor/file_examination.h"
#include "message_filters/user_files.h"
#include "message_filters/xml_text.h"
#include "system/descriptor.h"
#include "system/regular_file.h"

namespace Quarrow::Doctor {
namespace {

using Administration::Refusal;
using Administration::UserFolder;

bool is_of(const Finding& finding, std::initializer_list<const char*> codes) {
  return std::find(codes.begin(), codes.end(), finding.code) != codes.end();
}

bool is_document_sound(const Findings& findings) {
  return std::none_of(
      findings.begin(), findings.end(),
      [](const Finding& finding) {
        return is_of(finding, {Code::damaged_document, Code::unreadable_part, Code::lost_document,
                               Code::not_regular, Code::unreadable});
      });
}

bool wants_commit(const Finding& finding) {
  return is_of(finding, {Code::no_script, Code::other_script});
}

// A copy that is not whole yet: a leftover where it stays.
constexpr char copy_draft_name[] = ".delivery_filter.copy.new";

std::string failure(const std::string& path, int error) {
  return error == 0 ? "" : path + ": " + std::strerror(error);
}

class Repair {
 public:
  explicit Repair(const EmailAddress& address) : address_(address) {}

  std::string run(const Findings& findings) {
    const std::string failed = prepare(findings);
    return failed.empty() && (commits_ || !leftovers_.empty()) ? mend_rules() : failed;
  }

 private:
  // All copies are on the disk before anything is replaced or removed.
  std::string prepare(const Findings& findings) {
    UserFolder folder(Administration::user_folder(address_));
    if (const Refusal refusal = folder.open()) return refusal.reason;
    if (!folder.is_open()) return "there is no folder any more";
    if (const Refusal refusal =
            Administration::RulesLock::take_to_read(folder, Administration::lock_patience))
      return refusal.object + ": " + refusal.reason;
    if (const Refusal refusal = Administration::check_unlocked(folder))
      return refusal.object + ": " + refusal.reason;
    std::string failed;
    for (const Finding& finding : findings)
      if (failed.empty() && can_be_mended(finding, findings)) failed = prepare(folder, finding);
    for (const std::string& name : touched_)
      if (failed.empty()) failed = keep_copy(folder, name);
    if (!failed.empty() || touched_.empty()) return failed;
    return failure(folder.path(), folder.synchronise());
  }

  std::string prepare(const UserFolder& folder, const Finding& finding) {
    if (finding.code == Code::open_mode) return close_to_others(folder, finding.object);
    if (wants_commit(finding)) {
      commits_ = true;
      touched_.insert({script_name, rules_document_of(script_name), rules_history_of(script_name)});
      return "";
    }
    const std::string name = finding.object.substr(folder.path().size() + 1);
    leftovers_.push_back(name);
    if (name == copy_draft_name) return "";  // what it is a copy of is there
    touched_.insert(name);
    // A draft may be what a stopped change was about to put in place.
    if (name.rfind('.') == name.find(".new")) touched_.insert(name.substr(0, name.rfind('.')));
    return "";
  }

  static std::string close_to_others(const UserFolder& folder, const std::string& path) {
    if (path == folder.path()) return close_to_others(folder.fd(), path);
    const std::string name = path.substr(folder.path().size() + 1);
    const Descriptor file(open_regular_at(folder.fd(), name, O_RDONLY));
    return file.get() < 0 ? failure(path, errno) : close_to_others(file.get(), path);
  }

  static std::string close_to_others(int fd, const std::string& path) {
    struct stat status {};
    if (fstat(fd, &status) != 0) return failure(path, errno);
    const mode_t mode = status.st_mode & 07777U & ~mode_t{S_IWGRP | S_IWOTH};
    return failure(path, fchmod(fd, mode) == 0 ? 0 : errno);
  }

  // A file that is not there needs no copy. What has the name of a copy is always whole.
  static std::string keep_copy(const UserFolder& folder, const std::string& name) {
    std::string text;
    const int error = folder.read(name, MessageFilters::most_xml_bytes + 1, text);
    if (error == ENOENT) return "";
    if (error != 0) return failure(folder.file(name), error);
    if (text.size() > MessageFilters::most_xml_bytes)
      return folder.file(name) + ": too large to be copied";
    const std::string copy = name_of_copy(folder, name);
    int unkept = folder.write_new(copy_draft_name, text);
    if (unkept == 0) unkept = folder.rename(copy_draft_name, copy);
    if (unkept != 0) folder.remove(copy_draft_name);
    return failure(folder.file(copy), unkept);
  }

  static std::string name_of_copy(const UserFolder& folder, const std::string& name) {
    const std::string first = name + copy_ending;
    std::string copy = first;
    for (int number = 2; folder.holds(copy); ++number) copy = first + '-' + std::to_string(number);
    return copy;
  }

  // A transaction takes up what stopped ones left when it opens the rules.
  std::string mend_rules() const {
    Administration::RulesTransaction rules(address_);
    Refusal refusal = rules.open();
    if (!refusal && commits_) refusal = rules.commit();
    if (refusal) return refusal.object + ": " + refusal.reason;
    UserFolder folder(Administration::user_folder(address_));
    if (const Refusal unopened = folder.open()) return unopened.reason;
    for (const std::string& name : leftovers_) folder.remove(name);
    return failure(folder.path(), folder.synchronise());
  }

  const EmailAddress& address_;
  bool commits_ = false;
  std::vector<std::string> leftovers_;
  std::set<std::string> touched_;  // files that may be replaced or removed
};

}  // namespace

bool can_be_mended(const Finding& finding, const Findings& all) {
  const std::string maildir = std::string("/") + maildir_name;
  if (finding.code == Code::open_mode) return finding.object.find(maildir) == std::string::npos;
  return is_document_sound(all) && (wants_commit(finding) || finding.code == Code::leftover);
}

std::string repair(const EmailAddress& address, const Findings& findings) {
  return Repair(address).run(findings);
}

}  // namespace Quarrow::Doctor
