// Opening, editing and committing a user's filters.
#include "administration/rules_transaction.h"

#include <base.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#include <zvelluser.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

#include "administration/kept_file.h"
#include "administration/rule_check.h"
#include "administration/write_error.h"
#include "message_filters/filter_list_xml.h"
#include "message_filters/script_words.h"
#include "message_filters/sieve_script.h"
#include "message_filters/user_files.h"
#include "system/exists.h"

namespace Quarrow::Administration {
namespace {

using Kind = Refusal::Kind;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using MessageFilters::UserMessageFilters__;

// The code that UserMessageFilters__::persist gives when the Sieve compiler refuses a rule.
constexpr int refused_by_compiler = 3;

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

std::string document_text(const boost::shared_ptr<FilterList__>& list) {
  std::ostringstream text;
  auto document = filter_list_to_xml(list);
  return document && write_xml(std::move(document), text) ? text.str() : "";
}

// The document of a list without filters, which the library reads as no list at all.
bool is_empty_document(const std::string& path) {
  std::error_code ignored;  // a file that can't be looked at is not that document
  return std::filesystem::is_regular_file(path, ignored) &&
         contents(path) == document_text(FilterList__::Create());
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

Refusal RulesTransaction::open(bool create) {
  if (create && create_path(folder_, 0700) < 0) return making_refusal(folder_, errno);
  if (const Refusal refusal = lock()) return refusal;
  return load();
}

Refusal RulesTransaction::lock() {
  lock_.emplace(::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (lock_->get() < 0 && errno == ENOENT) return {};
  if (lock_->get() < 0) return system_refusal(folder_, "", errno);
  while (flock(lock_->get(), LOCK_EX) != 0)
    if (errno != EINTR)
      return {Kind::try_again, folder_, std::string("can't be locked: ") + std::strerror(errno)};
  take_up_kept(document_);
  take_up_kept(script_);
  return {};
}

Refusal RulesTransaction::load() {
  if (exists(document_) && access(document_.c_str(), R_OK) != 0)
    return system_refusal(document_, "", errno);
  {
    const SilencedErrors quiet;
    filters_ = UserMessageFilters__::Create(address_);
  }
  if (filters_->filters->filters.empty() && exists(document_) && !is_empty_document(document_))
    return {Kind::damaged_document, document_,
            "damaged filter document: no filter can be read from it; restore it from a copy, or "
            "remove it to start anew"};
  return {};
}

Refusal RulesTransaction::check_filter(std::int32_t id) const {
  if (filters_->filters->find_filter(id)) return {};
  return {Kind::no_such_filter, address_.address(), "no filter " + std::to_string(id)};
}

Refusal RulesTransaction::check_place(std::int32_t before) const {
  if (filters_->max_filters_reached())
    return {Kind::limit_reached, address_.address(),
            "has " + std::to_string(UserMessageFilters__::max_filters()) +
                " filters, the most there may be; remove one first"};
  return before == 0 ? Refusal() : check_filter(before);
}

Refusal RulesTransaction::add(const boost::shared_ptr<Filter__>& filter, std::int32_t before) {
  if (const Refusal refusal = check_place(before)) return refusal;
  if (const Refusal refusal = check_name(filter->name)) return refusal;
  if (const Refusal refusal = check_relation(filter->relation)) return refusal;
  if (const Refusal refusal = check_counts(filter->tests.size(), filter->actions.size()))
    return refusal;
  if (filters_->add_filter(filter, static_cast<std::uint32_t>(before))) return {};
  return {Kind::no_number_left, address_.address(),
          "no filter number is left; the highest one is in use"};
}

Refusal RulesTransaction::remove(std::int32_t id) {
  if (filters_->remove_filter(static_cast<std::uint32_t>(id))) return {};
  return check_filter(id);
}

// The script with the disabled filters in it, which must compile, too. Empty when a filter is not
// valid.
std::string RulesTransaction::script() const {
  std::ostringstream text;
  return write_script(filters_->filters, true, text) ? text.str() : "";
}

Refusal RulesTransaction::check_script_size() const {
  const std::size_t size = script().size();
  if (size <= script_limit) return {};
  return {Kind::script_too_long, address_.address(),
          "the rules make a script of " + std::to_string(size) + " bytes, of which only " +
              std::to_string(script_limit) +
              " would be read; nothing was changed; remove or shorten some"};
}

// The errno of writing the files once more; 0 when that goes well.
int RulesTransaction::writing_error() const {
  if (const int error = error_of_opening(temporary_path(document_))) return error;
  if (const int error = error_of_opening(temporary_path(script_))) return error;
  return error_of_writing(folder_, document_text(filters_->filters).size() + script().size());
}

Refusal RulesTransaction::writing_refusal(const std::string& step) const {
  return system_refusal(folder_, step + "; nothing was changed", writing_error());
}

// A script that the disk cut off is refused by the compiler, too.
Refusal RulesTransaction::explain(int code) const {
  if (code != refused_by_compiler ||
      !ends_with(contents(temporary_path(script_)), ScriptWords::end))
    return writing_refusal("the rules could not be written");
  return {Kind::rules_refused, address_.address(),
          "the Sieve compiler refused the rules as a whole; nothing was changed"};
}

// The library does not look at whether all bytes reached the disk.
bool RulesTransaction::is_committed() const {
  if (!ends_with(contents(script_), ScriptWords::end)) return false;
  const auto& written = filters_->filters->filters;
  const auto read = FilterList__::LoadFromXML(document_);
  return read ? read->filters.size() == written.size()
              : written.empty() && is_empty_document(document_);
}

Refusal RulesTransaction::replace() {
  KeptFile document(document_);
  KeptFile script(script_);
  const std::string keeping = "could not be kept while it is replaced; nothing was changed";
  if (document.error() != 0) return system_refusal(document_, keeping, document.error());
  if (script.error() != 0) return system_refusal(script_, keeping, script.error());
  if (const int code = filters_->persist()) return explain(code);
  if (is_committed()) return {};
  const Refusal refusal = writing_refusal("the rules could not be written in full");
  document.restore();
  script.restore();
  return refusal;
}

// Removes the files that a failed write, or the search for its cause, left behind.
void RulesTransaction::remove_drafts() const {
  (void)unlink(temporary_path(document_).c_str());
  (void)unlink(temporary_path(script_).c_str());
}

Refusal RulesTransaction::commit() {
  if (const Refusal refusal = check_script_size()) return refusal;
  if (access(folder_.c_str(), W_OK) != 0)
    return system_refusal(folder_, "nothing was changed", errno);
  const Refusal refusal = replace();
  if (refusal) remove_drafts();
  return refusal;
}

}  // namespace Quarrow::Administration
