// The journal of a batch first, then its messages; at the end the folders.
#include "refiling/refiler.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "message_filters/user_files.h"
#include "quarrow/delivery/maildir_store.h"

namespace Quarrow::Refiling {
namespace {

using Administration::Refusal;
using Administration::system_refusal;
using Kind = Step::Kind;

const char no_longer_there[] = "is no longer there";

// A keyword that a client gave the message after the batch began.
constexpr int keyword_is_missing = EAGAIN;

std::string other_message_in(const std::string& folder) {
  return "another message of that name is in " + readable_folder(folder);
}

}  // namespace

Refiler::Refiler(const std::string& user_folder, Journal& journal, RefilingObserver& observer)
    : maildir_(in_folder(user_folder, maildir_name)), journal_(journal), observer_(observer) {}

Refiler::OpenFolder& Refiler::folder(const std::string& name, Missing missing) {
  const auto [found, is_new] = folders_.try_emplace(name);
  OpenFolder& folder = found->second;
  if (!is_new) return folder;
  const Delivery::MaildirStore store(maildir_, "");
  int error = folder.mail.open(maildir_, name);
  if (error == ENOENT && missing == Missing::is_empty) return folder;
  if (error == ENOENT) {
    folder.fault = store.make(name).reason;
    if (folder.fault.empty()) error = folder.mail.open(maildir_, name);
  }
  if (error == 0) error = folder.mail.read();
  if (error != 0 && folder.fault.empty())
    folder.fault = readable_folder(name) + ": " + std::strerror(error);
  if (error == 0) folder.keywords.read(folder.mail.fd());
  return folder;
}

void Refiler::want_keywords(const std::string& unique, const std::string& from,
                            const std::string& to) {
  const OpenFolder& source = folder(from);
  const auto place = source.mail.find(unique);
  if (place) folder(to).wanted.merge(source.keywords.names_in(place->info));
}

void Refiler::provide_keywords() {
  for (auto& [name, folder] : folders_) {
    if (!folder.fault.empty() || folder.wanted.empty()) continue;
    folder.keywords_fault = folder.keywords.add(folder.mail.fd(), folder.wanted);
    folder.wanted.clear();
  }
}

Refusal Refiler::begin(const std::string& from) {
  from_ = from;
  journal_.begin_run();
  const std::string& fault = folder(from, Missing::is_empty).fault;
  if (fault.empty()) return {};
  return {Refusal::Kind::not_written, readable_folder(from), fault};
}

Refusal Refiler::add(Refiled message) {
  added_.push_back(std::move(message));
  return added_.size() < refiling_batch ? Refusal() : refile_added();
}

Refusal Refiler::finish() {
  if (const Refusal refusal = refile_added()) return refusal;
  return synchronise();
}

Refusal Refiler::refile_added() {
  const std::vector<Refiled> messages = std::exchange(added_, {});
  folder(from_).keywords.read(folder(from_).mail.fd());  // clients may have made new ones
  for (const Refiled& message : messages)
    for (const auto& target : message.folders) want_keywords(message.unique, from_, target);
  provide_keywords();
  std::vector<Task> tasks;
  for (const Refiled& message : messages) {
    tasks.push_back(task_for(from_, message));
    for (const Step& step : tasks.back().steps) journal_.add(step);
  }
  if (const Refusal refusal = journal_.write()) return refusal;
  for (const Task& task : tasks) perform(task);
  return {};
}

Refiler::Task Refiler::task_for(const std::string& from, const Refiled& message) {
  Task task{message.unique, {}, ""};
  const MailFolder& source = folder(from).mail;
  if (!source.find(message.unique)) task.fault = no_longer_there;
  for (const auto& name : message.folders) {
    const OpenFolder& target = folder(name);
    if (!target.fault.empty()) task.fault = target.fault;
    if (!task.fault.empty()) return {message.unique, {}, task.fault};
    const bool is_last = !message.stays && &name == &message.folders.back();
    const bool has_it = target.mail.find(message.unique).has_value();
    if (has_it && !source.shares(message.unique, target.mail))
      return {message.unique, {}, other_message_in(name)};
    if (is_last)
      task.steps.push_back({has_it ? Kind::drop : Kind::move, message.unique, from, name});
    else if (!has_it)
      task.steps.push_back({Kind::copy, message.unique, from, name});
  }
  return task;
}

void Refiler::perform(const Task& task) {
  if (!task.fault.empty()) return observer_.on_failure(task.unique, task.fault);
  for (const Step& step : task.steps)
    if (const int error = perform(step))
      return observer_.on_failure(task.unique, reason_of(step, error));
  observer_.on_done();
}

int Refiler::perform(const Step& step) {
  return transfer(step.unique, folder(step.from), folder(step.to), step.kind);
}

// A client changes flags at any time, and with them the name of the file: it is looked for once
// more then.
int Refiler::transfer(const std::string& unique, OpenFolder& from, OpenFolder& to, Kind kind) {
  for (bool is_again = false;; is_again = true) {
    const auto place = from.mail.find(unique);
    if (!place) return ENOENT;
    const auto info = from.keywords.translated(place->info, to.keywords);
    int error = 0;
    if (kind == Kind::drop)
      error = from.mail.remove(unique);
    else if (!info)
      error = keyword_is_missing;
    else
      error = kind == Kind::copy ? from.mail.link(unique, to.mail, *info)
                                 : from.mail.move(unique, to.mail, *info);
    if (error != ENOENT || is_again) return error;
    if (const int unreadable = from.mail.read()) return unreadable;
  }
}

std::string Refiler::reason_of(const Step& step, int error) {
  if (error == ENOENT) return no_longer_there;
  if (error == EEXIST) return other_message_in(step.to);
  if (error != keyword_is_missing)
    return "can't be filed in " + readable_folder(step.to) + ": " + std::strerror(error);
  const std::string& fault = folder(step.to).keywords_fault;
  return "its keywords can't be kept in " + readable_folder(step.to) + ": " +
         (fault.empty() ? "a mail client has just given it one; try again" : fault);
}

Refusal Refiler::undo(const std::vector<Step>& steps) {
  const std::vector<Step> reversed(steps.rbegin(), steps.rend());
  may_work_later_ = false;
  for (std::size_t done = 0; done < reversed.size(); done += refiling_batch) {
    const Step* const begin = reversed.data() + done;
    const std::size_t count = std::min(refiling_batch, reversed.size() - done);
    undo_batch(begin, begin + count);
  }
  if (const Refusal refusal = synchronise()) return refusal;
  if (may_work_later_) return {};
  journal_.add_undone();
  return journal_.write();
}

void Refiler::undo_batch(const Step* begin, const Step* end) {
  for (auto& [name, open] : folders_)
    if (open.fault.empty()) open.keywords.read(open.mail.fd());
  for (const Step* step = begin; step != end; ++step)
    (void)folder(step->to, Missing::is_empty);  // a client may have removed it
  for (const Step* step = begin; step != end; ++step)
    if (step->kind != Kind::copy) want_keywords(step->unique, step->to, step->from);
  provide_keywords();
  for (const Step* step = begin; step != end; ++step) {
    const std::string fault = undo_step(*step);
    if (fault.empty())
      observer_.on_done();
    else
      observer_.on_failure(step->unique, fault);
  }
}

// Why it was not undone; empty when it was, or there was nothing to undo.
std::string Refiler::undo_step(const Step& step) {
  OpenFolder& from = folder(step.from);
  OpenFolder& to = folder(step.to);
  for (const OpenFolder* each : {&from, &to}) {
    may_work_later_ = may_work_later_ || !each->fault.empty();
    if (!each->fault.empty()) return each->fault;
  }
  const bool is_back = from.mail.find(step.unique).has_value();
  const bool is_there = to.mail.find(step.unique).has_value();
  if (!is_there) return is_back || step.kind == Kind::copy ? "" : no_longer_there;
  if (step.kind == Kind::copy && !is_back)
    return "a copy stays in " + readable_folder(step.to) + ": the message " + no_longer_there;
  if (is_back && step.kind == Kind::drop) return "";
  if (is_back && !from.mail.shares(step.unique, to.mail)) return other_message_in(step.from);
  const Kind kind = is_back ? Kind::drop : step.kind == Kind::drop ? Kind::copy : Kind::move;
  const int error = transfer(step.unique, to, from, kind);
  if (error == 0) return "";
  may_work_later_ = may_work_later_ || error != ENOENT;
  return reason_of({kind, step.unique, step.to, step.from}, error);
}

Refusal Refiler::synchronise() {
  for (const auto part : {&MailFolder::synchronise_gains, &MailFolder::synchronise_losses})
    for (auto& [name, folder] : folders_)
      if (const int error = (folder.mail.*part)())
        return system_refusal(readable_folder(name), "can't be put on the disk", error);
  return {};
}

}  // namespace Quarrow::Refiling
