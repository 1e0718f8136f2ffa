// Modes, then copies, then a commit of the rules as they are.
#include "doctor/repair.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

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

std::string failure(const std::string& path, int error) {
  return error == 0 ? "" : path + ": " + std::strerror(error);
}

class Repair {
 public:
  explicit Repair(const EmailAddress& address)
      : address_(address), folder_(Administration::user_folder(address)) {}

  std::string run(const Findings& findings) {
    if (const Refusal refusal = folder_.open()) return refusal.reason;
    if (!folder_.is_open()) return "there is no folder any more";
    std::string failed;
    for (const Finding& finding : findings)
      if (failed.empty() && can_be_mended(finding, findings)) failed = prepare(finding);
    if (failed.empty() && (commits_ || !leftovers_.empty())) failed = mend_rules();
    return failed;
  }

 private:
  std::string prepare(const Finding& finding) {
    if (finding.code == Code::open_mode) return close_to_others(finding.object);
    if (wants_commit(finding)) {
      commits_ = true;
      const std::string failed = keep_copy(script_name);
      return failed.empty() ? keep_copy(rules_document_of(script_name)) : failed;
    }
    const std::string name = finding.object.substr(folder_.path().size() + 1);
    leftovers_.push_back(name);
    return keep_copy(name);
  }

  std::string close_to_others(const std::string& path) const {
    if (path == folder_.path()) return close_to_others(folder_.fd(), path);
    const std::string name = path.substr(folder_.path().size() + 1);
    const Descriptor file(open_regular_at(folder_.fd(), name, O_RDONLY));
    return file.get() < 0 ? failure(path, errno) : close_to_others(file.get(), path);
  }

  static std::string close_to_others(int fd, const std::string& path) {
    struct stat status {};
    if (fstat(fd, &status) != 0) return failure(path, errno);
    const mode_t mode = status.st_mode & 07777U & ~mode_t{S_IWGRP | S_IWOTH};
    return failure(path, fchmod(fd, mode) == 0 ? 0 : errno);
  }

  // A file that is not there needs no copy.
  std::string keep_copy(const std::string& name) const {
    std::string text;
    const int error = folder_.read(name, MessageFilters::most_xml_bytes + 1, text);
    if (error == ENOENT) return "";
    if (error != 0) return failure(folder_.file(name), error);
    if (text.size() > MessageFilters::most_xml_bytes)
      return folder_.file(name) + ": too large to be copied";
    const std::string copy = name_of_copy(name);
    return failure(folder_.file(copy), folder_.write_new(copy, text));
  }

  std::string name_of_copy(const std::string& name) const {
    const std::string first = name + copy_ending;
    std::string copy = first;
    for (int number = 2; folder_.holds(copy); ++number) copy = first + '-' + std::to_string(number);
    return copy;
  }

  // A transaction takes up what stopped ones left when it opens the rules.
  std::string mend_rules() const {
    Administration::RulesTransaction rules(address_);
    Refusal refusal = rules.open();
    if (!refusal && commits_) refusal = rules.commit();
    if (refusal) return refusal.object + ": " + refusal.reason;
    for (const std::string& name : leftovers_) folder_.remove(name);
    return failure(folder_.path(), folder_.synchronise());
  }

  const EmailAddress& address_;
  UserFolder folder_;
  bool commits_ = false;
  std::vector<std::string> leftovers_;
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
