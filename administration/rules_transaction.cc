// Opening, editing and committing a user's filters.
#include "administration/rules_transaction.h"

#include <fcntl.h>
#include <unistd.h>
#include <zvelluser.h>

#include <boost/make_shared.hpp>
#include <cerrno>

#include "administration/document_loss.h"
#include "administration/rule_check.h"
#include "administration/rules_replacement.h"
#include "administration/rules_text.h"
#include "message_filters/script_words.h"
#include "message_filters/user_files.h"
#include "message_filters/xml_text.h"

namespace Quarrow::Administration {
namespace {

using Kind = Refusal::Kind;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using MessageFilters::UserMessageFilters__;

const std::string document_name = rules_document_of(script_name);

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

boost::shared_ptr<FilterList__> list_of_unchecked(const std::string& document) {
  const SilencedErrors quiet;  // a failed assertion would write to it
  return list_of(document);
}

std::string user_folder(const std::string& address) {
  return ZvMailUserId(MAILBOX_USER, address).prefpath();
}

Refusal damaged(const std::string& document, const std::string& why) {
  return {
      Kind::damaged_document, document,
      "damaged filter document: " + why + "; restore it from a copy, or remove it to start anew"};
}

// A file system that can't be written refuses with the errno.
Refusal check_writable(const UserFolder& folder) {
  if (faccessat(folder.fd(), ".", W_OK, AT_EACCESS) == 0) return {};
  return system_refusal(folder.path(), "nothing was changed", errno);
}

}  // namespace

std::string rules_document(const std::string& address) {
  return rules_document_of(rules_script(address));
}

std::string rules_script(const std::string& address) {
  return in_folder(user_folder(address), script_name);
}

RulesTransaction::RulesTransaction(const EmailAddress& address, std::chrono::milliseconds patience)
    : address_(address), patience_(patience), folder_(user_folder(address.address())) {}

Refusal RulesTransaction::open() {
  // Made for nobody: the library would open the document by its name, and follow a link there.
  filters_ = boost::make_shared<UserMessageFilters__>(EmailAddress());
  filters_->address = address_;
  if (const Refusal refusal = folder_.open()) return refusal;
  if (!folder_.is_open()) return {};
  if (const Refusal refusal = lock_.take(folder_, patience_)) return refusal;
  if (lock_.may_change()) take_up_earlier_commit(folder_);
  if (const Refusal refusal = load()) return refusal;
  // Without the lock, what is there may belong to a commit that is under way.
  if (lock_.may_change()) finish_replacement(folder_, committed_script_);
  return {};
}

// No document is an empty text, other than an empty document.
Refusal RulesTransaction::read_document(std::string& text) const {
  const std::string path = folder_.file(document_name);
  const int error = folder_.read(document_name, MessageFilters::most_xml_bytes + 1, text);
  if (error == ELOOP) return damaged(path, "it is a link, which is not followed");
  if (error == EINVAL || error == ENXIO) return damaged(path, "it is not a regular file");
  if (error != 0 && error != ENOENT) return system_refusal(path, "", error);
  if (error == 0 && (text.empty() || text.size() > MessageFilters::most_xml_bytes))
    return damaged(path, "no filter can be read from it");
  return {};
}

Refusal RulesTransaction::load() {
  std::string document;
  if (const Refusal refusal = read_document(document)) return refusal;
  if (document.empty()) return {};
  filters_->filters = list_of_unchecked(document);
  if (!filters_->filters)
    return damaged(folder_.file(document_name), "no filter can be read from it");
  loss_ = document_loss(document, filters_->filters);
  committed_script_ = script_text(filters_->filters, false);
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

Refusal RulesTransaction::check_loss() const {
  if (loss_.empty()) return {};
  return {Kind::unreadable_part, folder_.file(document_name),
          "can't be read in full, and a change would lose " + loss_};
}

// A script that is no regular file is none that Quarrow made.
Refusal RulesTransaction::check_replaced_script() const {
  std::string text;
  const int error = folder_.read(script_name, script_limit + 1, text);
  if (error == ENOENT || (error == 0 && is_made_script(text, filters_->filters))) return {};
  return {Kind::foreign_script, folder_.file(script_name),
          "was not made from filters, and a change would replace it"};
}

// The script with the disabled filters in it must compile, too. What is read back from the texts
// must be the filters as they are.
Refusal RulesTransaction::check_texts(const std::string& document,
                                      const std::string& script) const {
  const std::string whole_script = script_text(filters_->filters, true);
  if (whole_script.size() > script_limit)
    return {Kind::script_too_long, address_.address(),
            "the rules make a script of " + std::to_string(whole_script.size()) +
                " bytes, of which only " + std::to_string(script_limit) +
                " would be read; nothing was changed; remove or shorten some"};
  const auto list = document.empty() || script.empty() ? nullptr : list_of(document);
  if (!list || document_text(list) != document)
    return {Kind::not_written, address_.address(),
            "the rules can't be written in a form that reads back; nothing was changed"};
  if (const Refusal refusal = check_compiles(whole_script, address_.address())) return refusal;
  return check_compiles(script, address_.address());
}

Refusal RulesTransaction::commit(const CommitConsent& consent) {
  if (!folder_.is_open()) return system_refusal(folder_.path(), "nothing was changed", ENOENT);
  if (const Refusal refusal = check_writable(folder_)) return refusal;
  if (!lock_.may_change())
    return {Kind::not_permitted, folder_.path(),
            "nothing was changed; the rules are changed by the owner of the folder, or by root"};
  Refusal refusal = consent.accept_loss ? Refusal() : check_loss();
  if (!refusal && !consent.replace_script) refusal = check_replaced_script();
  if (refusal) return refusal;
  const std::string document = document_text(filters_->filters);
  const std::string script = script_text(filters_->filters, false);
  if ((refusal = check_texts(document, script))) return refusal;
  return replace_rules(folder_, document, script);
}

}  // namespace Quarrow::Administration
