// The folders of one message, and storing it in each of them.
#include "quarrow/delivery/mailbox_delivery.h"

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <exception>

#include "delivery/delivery_journal.h"
#include "delivery/folder_name.h"
#include "delivery/header_end.h"
#include "delivery/user_lock.h"
#include "message_filters/mailbox_name.h"
#include "message_filters/user_files.h"
#include "quarrow/delivery/maildir_store.h"

namespace Quarrow::Delivery {
namespace {

void add_text(const std::string& text, const char* separator, std::string& list) {
  if (text.empty()) return;
  if (!list.empty()) list += separator;
  list += text;
}

// A folder to store a message in, and the action that leads there.
struct Target {
  std::string mailbox;
  std::string folder;
  std::string action;
};

const Target inbox{"Inbox", "", "keep"};

Target target_for(const std::string& mailbox, FolderDots dots) {
  return {mailbox, *maildir_folder(mailbox, dots), "fileinto:" + mailbox};
}

void add_failure(const std::string& note, Report& report) {
  report.inbox_reason = InboxReason::failure;
  add_text(note, "; ", report.note);
}

// The place of the plan's inbox: the recipient's mailbox, when that can be a folder.
Target kept_target(const Recipient& recipient, Report& report) {
  const auto folder = maildir_folder(recipient.mailbox, recipient.folder_dots);
  if (!folder) add_failure(no_folder_note(recipient.mailbox), report);
  if (!folder || folder->empty()) return inbox;
  return {recipient.mailbox, *folder, "keep"};
}

std::vector<Target> targets_of(const Plan& plan, const Recipient& recipient, Report& report) {
  std::vector<Target> targets;
  for (const auto& mailbox : plan.mailboxes) {
    Target target = mailbox.empty() ? kept_target(recipient, report)
                                    : target_for(mailbox, recipient.folder_dots);
    const bool known = std::any_of(targets.begin(), targets.end(), [&target](const Target& each) {
      return each.folder == target.folder;
    });
    if (!known) targets.push_back(std::move(target));
  }
  return targets;
}

// Stores one message in folders, and falls back to the inbox.
class Storing {
 public:
  Storing(const MaildirStore& store, const MessageFile& message, Report& report)
      : store_(store), message_(message), report_(report) {}

  void store_all(const std::vector<Target>& targets) {
    bool complete = true;
    for (const auto& target : targets) complete = store(target) && complete;
    if (!complete) complete = store_in_inbox();
    report_.status = complete ? Report::Status::delivered : Report::Status::temporary_failure;
  }

  // Removes the message from all folders that have it.
  void take_back() {
    Report report;
    report.user_is_locked = true;
    report.note = locked_note;
    for (const Stored& each : stored_)
      if (const auto result = store_.take_back(each.folder, each.name); !result)
        add_text("can't take the message back: " + result.reason, "; ", report.note);
    report_ = std::move(report);
  }

 private:
  bool store(const Target& target) {
    Report stored = report_;  // made ahead: behind the storing, memory must not be short
    stored.folders.push_back(target.mailbox);
    add_text(target.action, ",", stored.action);
    stored_.push_back({target.folder, ""});
    auto result = store_.store(target.folder, message_);
    if (target.folder.empty()) inbox_ = result ? Inbox::has_it : Inbox::failed;
    if (!result) {
      stored_.pop_back();
      add_failure("can't store in " + MessageFilters::readable_mailbox_name(target.mailbox) + ": " +
                      result.reason,
                  report_);
      return false;
    }
    stored_.back().name = std::move(result.name);
    report_ = std::move(stored);
    return true;
  }

  // Whether the inbox has the message, from the plan or from now on. An inbox that failed is not
  // tried a second time.
  bool store_in_inbox() {
    if (inbox_ == Inbox::untried) store(inbox);
    return inbox_ == Inbox::has_it;
  }

  enum class Inbox { untried, has_it, failed };

  // A folder that has the message, and the file's name there.
  struct Stored {
    std::string folder;
    std::string name;
  };

  const MaildirStore& store_;
  const MessageFile& message_;
  Report& report_;
  std::vector<Stored> stored_;
  Inbox inbox_ = Inbox::untried;
};

// Whether the user may have been locked while the message was stored.
//
// No delivery takes a lock. Whoever looks up a user looks for the lock, and once more here, between
// the storing and the success. Where it is not there, the message was stored before the user was
// locked, and a copy of the folder that is begun later has it. Where it is there, a copy may have
// missed the message, and the success must not be told.
bool is_locked_by_now(const Recipient& recipient) {
  return look_for_user_lock(recipient.folder) != ENOENT;
}

// Evaluation and plan in the terms of a report, and the message stored where they say.
Report carry_out(const Evaluation& evaluation, const Recipient& recipient,
                 const MessageFile& message, const std::string& host_name) {
  const Plan plan = plan_for(evaluation, recipient.folder_dots);
  Report report;
  report.rule = evaluation.rule;
  report.inbox_reason = plan.inbox_reason;
  report.note = plan.note;
  report.reject_text = plan.reject_text;
  if (plan.refusal == Plan::Refusal::reject) {
    report.status = Report::Status::rejected;
    report.action = "reject";
  } else if (plan.refusal == Plan::Refusal::discard) {
    report.status = Report::Status::discarded;
    report.action = "discard";
  } else {
    const MaildirStore store(in_folder(recipient.folder, maildir_name), host_name);
    Storing storing(store, message, report);
    storing.store_all(targets_of(plan, recipient, report));
    if (report.status == Report::Status::delivered && is_locked_by_now(recipient))
      storing.take_back();
  }
  return report;
}

// The revision of the rules that the recipient's journal is to name.
std::string revision_for_journal(const Recipient& recipient) {
  try {
    return document_revision(recipient.folder);
  } catch (const std::exception&) {  // out of memory: the message goes on without it
    return "";
  }
}

// Notes the delivery in the recipient's journal. The message may be stored by now: a failure to
// note that is none of the delivery.
void note(const Recipient& recipient, const MessageFile& message, const std::string& revision,
          Report& report) {
  try {
    JournalRecord record = record_of(report);
    record.time = std::time(nullptr);
    record.message_id = recorded_message_id(read_header(message.fd, message_id_range).value_or(""));
    record.revision = revision;
    report.journal_fault = append_to_journal(recipient.folder, record);
  } catch (const std::exception& failure) {
    report.journal_fault = failure.what();
  }
}

}  // namespace

Report deliver(const Recipient& recipient, const MessageFile& message, std::time_t received,
               const std::string& host_name, const Evaluate& evaluate) {
  const Evaluation evaluation =
      evaluate(message.fd, message.size, received, in_folder(recipient.folder, script_name));
  if (!recipient.keeps_journal) return carry_out(evaluation, recipient, message, host_name);
  // Now, since storing takes a while, in which the rules may change.
  const std::string revision = revision_for_journal(recipient);
  Report report = carry_out(evaluation, recipient, message, host_name);
  if (!report.user_is_locked) note(recipient, message, revision, report);
  return report;
}

}  // namespace Quarrow::Delivery
