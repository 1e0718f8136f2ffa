// Opening, editing and committing a user's filters.
#include "administration/rules_transaction.h"

#include <fcntl.h>
#include <unistd.h>
#include <zvelluser.h>

#include <boost/make_shared.hpp>
#include <cerrno>
#include <ctime>

#include "administration/document_loss.h"
#include "administration/guarded_process.h"
#include "administration/locked_user.h"
#include "administration/rule_check.h"
#include "administration/rules_replacement.h"
#include "administration/rules_text.h"
#include "message_filters/rules_revision.h"
#include "message_filters/script_words.h"
#include "message_filters/user_files.h"
#include "message_filters/xml_text.h"
#include "system/login_name.h"
#include "system/printable.h"
#include "system/regular_file.h"

namespace Quarrow::Administration {
namespace {

using Kind = Refusal::Kind;
using MessageFilters::Filter__;
using MessageFilters::FilterList__;
using MessageFilters::UserMessageFilters__;

const std::string document_name = rules_document_of(script_name);
const std::string history_name = rules_history_of(script_name);

std::string folder_in_use(const std::string& address) {
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
  return in_folder(folder_in_use(address), script_name);
}

RulesTransaction::RulesTransaction(const EmailAddress& address, std::chrono::milliseconds patience)
    : address_(address),
      patience_(patience),
      folder_(folder_in_use(address.address())),
      user_(getuid()),
      document_(document_text(FilterList__::Create())) {}

Refusal RulesTransaction::open() {
  // Made for nobody: the library would open the document by its name, and follow a link there.
  filters_ = boost::make_shared<UserMessageFilters__>(EmailAddress());
  filters_->address = address_;
  const auto find = [this] { return folder_in_use(address_.address()); };
  if (const Refusal refusal = folder_.open(find)) return refusal;
  if (!folder_.is_open()) return {};
  if (const Refusal refusal = lock_.take(folder_, patience_)) return refusal;
  if (lock_.may_change()) take_up_earlier_commit(folder_);
  if (const Refusal refusal = load()) return refusal;
  // Without the lock, what is there may belong to a commit that is under way.
  if (lock_.may_change()) finish_replacement(folder_, document_, committed_script_);
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
  filters_->filters = list_of_quietly(document);
  if (!filters_->filters)
    return damaged(folder_.file(document_name), "no filter can be read from it");
  document_ = document;
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
  if (error == EACCES)
    return system_refusal(folder_.file(script_name), "nothing was changed", error);
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

std::string RulesTransaction::revision() const { return rules_revision(document_); }

Refusal RulesTransaction::check_revision(const std::string& expected) const {
  if (expected.empty() || expected == revision()) return {};
  Refusal refusal = {Kind::outdated, address_.address(),
                     "nothing was changed, since the rules are of revision " + revision() +
                         ", not of " + expected};
  RulesHistory history;
  (void)read_history(history);  // what can be read will do
  const RulesState* const known = history.find(expected);
  boost::shared_ptr<FilterList__> list;
  if (!known || load_state(*known, list)) {
    refusal.reason += ", which the history does not hold";
    return refusal;
  }
  const char* separator = "; meanwhile: ";
  for (const auto& difference : rules_differences(*list, *list_of(document_))) {
    refusal.reason += separator + difference_text(difference);
    separator = ", ";
  }
  return refusal;
}

Refusal RulesTransaction::read_history(RulesHistory& history) const {
  const std::string path = folder_.path() + '/' + history_name;
  std::string text;
  const int error =
      folder_.is_open() ? folder_.read(history_name, most_history_bytes + 1, text) : ENOENT;
  Refusal refusal;
  history = error == 0 ? RulesHistory(text) : RulesHistory();
  if (error == EACCES)
    refusal = system_refusal(path, "", error);
  else if (error != 0 && error != ENOENT)
    refusal = {Kind::damaged_history, path,
               reason_for_no_file(error) + ": no state can be read from it"};
  else if (history.is_damaged())
    refusal = {Kind::damaged_history, path,
               "damaged history; states that can still be read: " +
                   std::to_string(history.states().size())};
  // rules of another writer, or none so far
  if (history.states().empty() || history.states().back().document != document_)
    history.add(make_state(document_, Origin::found,
                           folder_.is_open() ? folder_.changed(document_name) : 0, ""));
  return refusal;
}

// The user may have written the state themself: it is loaded in a process of its own first.
Refusal RulesTransaction::load_state(const RulesState& state,
                                     boost::shared_ptr<FilterList__>& list) const {
  const auto trial = run_guarded(folder_.path(), [&state]() -> GuardedOutcome {
    return {{}, list_of_quietly(state.document) ? "loaded" : ""};
  });
  if (!trial.answer.empty()) list = list_of(state.document);
  if (list) return {};
  return {Kind::damaged_history, folder_.path() + '/' + history_name,
          "the state of revision " + state.revision + " can't be loaded"};
}

Refusal RulesTransaction::no_such_revision(const std::string& revision) const {
  return {Kind::no_revision, address_.address(),
          "the history holds no revision \"" + shortened(revision) + '"'};
}

Refusal RulesTransaction::take_state(const RulesState& state, Origin origin) {
  boost::shared_ptr<FilterList__> list;
  if (const Refusal refusal = load_state(state, list)) return refusal;
  filters_->filters = list;
  origin_ = origin;
  return {};
}

Refusal RulesTransaction::undo() {
  RulesHistory history;
  const Refusal damage = read_history(history);
  if (const RulesState* const state = history.undone()) return take_state(*state, Origin::undo);
  if (damage) return damage;
  return {Kind::nothing_to_undo, address_.address(), "there is no change to undo"};
}

Refusal RulesTransaction::redo() {
  RulesHistory history;
  const Refusal damage = read_history(history);
  if (const RulesState* const state = history.redone()) return take_state(*state, Origin::redo);
  if (damage) return damage;
  return {Kind::nothing_to_undo, address_.address(),
          "there is nothing to redo; only an undo can be redone, until the next change"};
}

Refusal RulesTransaction::restore(const std::string& revision) {
  RulesHistory history;
  const Refusal damage = read_history(history);
  if (const RulesState* const state = history.find(revision))
    return take_state(*state, Origin::restore);
  if (damage) return damage;
  return no_such_revision(revision);
}

std::vector<RulesDifference> RulesTransaction::changes() const {
  return rules_differences(*list_of(document_), *filters_->filters);
}

// Nothing is written but the texts that were checked here.
Refusal RulesTransaction::make_texts(const CommitConsent& consent, RulesTexts& texts) const {
  if (!folder_.is_open()) return system_refusal(folder_.path(), "nothing was changed", ENOENT);
  if (const Refusal refusal = check_unlocked(folder_)) return refusal;
  if (const Refusal refusal = check_revision(consent.if_revision)) return refusal;
  if (const Refusal refusal = check_writable(folder_)) return refusal;
  if (!lock_.may_change())
    return {Kind::not_permitted, folder_.path(),
            "nothing was changed; the rules are changed by the owner of the folder, or by root"};
  Refusal refusal = consent.accept_loss ? Refusal() : check_loss();
  if (!refusal && !consent.replace_script) refusal = check_replaced_script();
  if (refusal) return refusal;
  texts = {document_text(filters_->filters), script_text(filters_->filters, false), ""};
  return check_texts(texts.document, texts.script);
}

Refusal RulesTransaction::check_commit(const CommitConsent& consent) const {
  RulesTexts texts;
  return make_texts(consent, texts);
}

// The history's new text; empty where it has to stay as it is.
std::string RulesTransaction::history_with(const RulesState& state, std::size_t most_states) {
  for (const std::string& name : {history_name, std::string(history_draft_name)})
    if (folder_.holds_folder(name)) {
      remark_ = {Kind::damaged_history, folder_.file(name),
                 "is a folder: the change is not in the history; remove the folder"};
      return "";
    }
  RulesHistory history;
  remark_ = read_history(history);
  if (remark_ && remark_.kind != Kind::damaged_history) {  // another time it may be read
    remark_.reason += "; the change is not in the history";
    return "";
  }
  if (remark_) remark_.reason += "; what can't be read is lost with this change";
  history.add(state);
  return history.text(most_states);
}

Refusal RulesTransaction::commit(const CommitConsent& consent) {
  RulesTexts texts;
  if (const Refusal refusal = make_texts(consent, texts)) return refusal;
  if (texts.document != document_) {
    const std::string who = consent.author.empty() ? login_name(user_) : consent.author;
    texts.history = history_with(make_state(texts.document, origin_, std::time(nullptr), who),
                                 consent.history_states);
  }
  if (const Refusal refusal = replace_rules(folder_, texts)) return refusal;
  document_ = texts.document;
  origin_ = Origin::change;
  return {};
}

}  // namespace Quarrow::Administration
