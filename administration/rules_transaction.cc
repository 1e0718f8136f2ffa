// Opening and committing a user's filters.
#include "administration/rules_transaction.h"

#include <base.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sysexits.h>
#include <unistd.h>
#include <zvelluser.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "message_filters/script_words.h"
#include "message_filters/user_files.h"

#include "apps/quarrow/complaint.h"
#include "apps/quarrow/files.h"

namespace Quarrow::Administration {
namespace {

using MessageFilters::FilterList__;
using MessageFilters::UserMessageFilters__;

std::string contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

bool ends_with(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// Keeps standard error quiet for its lifetime.
class SilencedErrors {
 public:
  SilencedErrors() : kept_(fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) {
    const int null = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (kept_ >= 0 && null >= 0) dup2(null, STDERR_FILENO);
    if (null >= 0) close(null);
  }
  ~SilencedErrors() {
    if (kept_ < 0) return;
    dup2(kept_, STDERR_FILENO);
    close(kept_);
  }
  SilencedErrors(const SilencedErrors&) = delete;
  SilencedErrors& operator=(const SilencedErrors&) = delete;

 private:
  int kept_;
};

std::string kept_name(const std::string& path) { return path + ".kept"; }

// A second name for a file while it is replaced, so that it can be had back. The library replaces a
// file by removing it first: a process that is stopped between leaves the second name alone, and
// the next one takes it up again.
class KeptFile {
 public:
  explicit KeptFile(const std::string& path) : path_(path) {
    unlink(kept_name(path_).c_str());
    kept_ = link(path_.c_str(), kept_name(path_).c_str()) == 0;
    ok_ = kept_ || errno == ENOENT;
  }
  ~KeptFile() {
    if (kept_) unlink(kept_name(path_).c_str());
  }
  KeptFile(const KeptFile&) = delete;
  KeptFile& operator=(const KeptFile&) = delete;

  // Whether the file, if there is one, is kept.
  bool ok() const { return ok_; }

  // Puts the file back as it was, which may be absent.
  void restore() {
    if (!kept_) {
      unlink(path_.c_str());
      return;
    }
    // where both names still are one file, rename leaves both
    if (rename(kept_name(path_).c_str(), path_.c_str()) == 0) unlink(kept_name(path_).c_str());
    kept_ = false;
  }

 private:
  std::string path_;
  bool kept_ = false;
  bool ok_ = false;
};

void take_up_kept(const std::string& path) {
  if (Command::exists(path))
    unlink(kept_name(path).c_str());
  else
    (void)rename(kept_name(path).c_str(), path.c_str());  // mostly there is none
}

// The document that the library writes for a list without filters, which it reads as no list at
// all.
std::string empty_document() {
  const TempFile file("");
  return FilterList__::Create()->SaveToXML(file.name()) ? contents(file.name()) : "";
}

bool is_empty_document(const std::string& path) {
  std::error_code ignored;  // what can't be looked at is not that document
  return std::filesystem::is_regular_file(path, ignored) && contents(path) == empty_document();
}

std::string user_folder(const std::string& address) {
  return ZvMailUserId(MAILBOX_USER, address).prefpath();
}

}  // namespace

std::string rules_document(const std::string& address) {
  return rules_document_of(rules_script(address));
}

std::string rules_script(const std::string& address) {
  return in_folder(user_folder(address), script_name);
}

RulesTransaction::RulesTransaction(const EmailAddress& address)
    : address_(address),
      folder_(user_folder(address.address())),
      document_(rules_document(address.address())),
      script_(rules_script(address.address())) {}

RulesTransaction::~RulesTransaction() {
  if (lock_ >= 0) close(lock_);
}

int RulesTransaction::open(bool create) {
  if (create && create_path(folder_, 0700) < 0) return Command::cannot_make(folder_, errno);
  if (const int status = lock()) return status;
  return load();
}

int RulesTransaction::lock() {
  lock_ = ::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (lock_ < 0 && errno == ENOENT) return EX_OK;
  if (lock_ < 0)
    return Command::complain(folder_, std::strerror(errno), Command::file_status(errno));
  while (flock(lock_, LOCK_EX) != 0)
    if (errno != EINTR)
      return Command::complain(folder_, std::string("can't be locked: ") + std::strerror(errno),
                               EX_TEMPFAIL);
  take_up_kept(document_);
  take_up_kept(script_);
  return EX_OK;
}

int RulesTransaction::load() {
  if (Command::exists(document_) && access(document_.c_str(), R_OK) != 0)
    return Command::complain(document_, std::strerror(errno), Command::file_status(errno));
  {
    const SilencedErrors quiet;
    filters_ = UserMessageFilters__::Create(address_);
  }
  if (filters_->filters->filters.empty() && Command::exists(document_) &&
      !is_empty_document(document_))
    return Command::complain(
        document_,
        "damaged filter document: no filter can be read from it; restore it from a "
        "copy, or remove it to start anew",
        EX_DATAERR);
  return EX_OK;
}

int RulesTransaction::check_script_size() {
  const TempFile file("");
  if (!filters_->filters->SaveToSieve(file.name(), true)) return EX_OK;  // persist says why
  const std::size_t size = contents(file.name()).size();
  if (size <= script_limit) return EX_OK;
  return Command::complain(address_.address(),
                           "the rules make a script of " + std::to_string(size) +
                               " bytes, of which only " + std::to_string(script_limit) +
                               " would be read; nothing was changed; remove or shorten some",
                           EX_DATAERR);
}

int RulesTransaction::refuse_commit(int code) {
  if (code == 3)
    return Command::complain(
        address_.address(),
        "the Sieve compiler refused the rules as a whole; nothing was changed; see "
        "quarrow filter list for a rule that looks odd",
        EX_DATAERR);
  if (access(folder_.c_str(), W_OK) != 0)
    return Command::complain(folder_, std::string("nothing was changed: ") + std::strerror(errno),
                             Command::file_status(errno));
  return Command::complain(
      folder_, "the rules could not be written; nothing was changed; is the disk full?", EX_IOERR);
}

// The library does not look at whether all bytes reached the disk.
bool RulesTransaction::is_committed() {
  if (!ends_with(contents(script_), ScriptWords::end)) return false;
  const auto& written = filters_->filters->filters;
  const auto read = FilterList__::LoadFromXML(document_);
  return read ? read->filters.size() == written.size()
              : written.empty() && is_empty_document(document_);
}

int RulesTransaction::commit() {
  if (const int status = check_script_size()) return status;
  KeptFile document(document_);
  KeptFile script(script_);
  if (!document.ok() || !script.ok()) return refuse_commit(2);
  if (const int code = filters_->persist()) return refuse_commit(code);
  if (is_committed()) return EX_OK;
  document.restore();
  script.restore();
  return refuse_commit(2);
}

}  // namespace Quarrow::Administration
