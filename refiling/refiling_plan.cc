// The observer of a run, from whose results the plan is made.
#include "refiling/refiling_plan.h"

#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "delivery/folder_name.h"
#include "quarrow/delivery/delivery_plan.h"
#include "trial/maildir_name.h"

namespace Quarrow::Refiling {
namespace {

using Delivery::Evaluation;
using Delivery::InboxReason;
using Delivery::Plan;
using Trial::MailSource;

// How often files are looked for that were renamed during a run.
constexpr int most_rounds = 3;

std::string folder_path(const std::string& maildir, const std::string& folder) {
  return folder.empty() ? maildir : maildir + '/' + folder;
}

std::string unique_of(const std::string& path) {
  return unique_part(std::string_view(path).substr(path.rfind('/') + 1));
}

std::time_t received(const MailSource& source) {
  if (const auto time = Trial::time_in_name(source.path)) return *time;
  struct stat status {};
  return lstat(source.path.c_str(), &status) == 0 ? status.st_mtime : 0;
}

class Planner : public Trial::Observer {
 public:
  Planner(const std::string& maildir, const Wish& wish, RefilingPlan& plan,
          const OnPlanned& on_planned)
      : wish_(wish),
        prefix_(folder_path(maildir, wish.folder).size() + 1),
        plan_(plan),
        on_planned_(on_planned) {}

  // The sources of the run that begins.
  void expect(const std::vector<MailSource>& sources) { sources_ = &sources; }

  void on_result(const std::string& name, const Evaluation& evaluation) override {
    PlannedMessage message{name.substr(prefix_), evaluation.rule, Fate::no_rule, {}, ""};
    decide(evaluation, message);
    add(name, std::move(message));
  }

  void on_not_evaluated(const std::string& name, const std::string& reason) override {
    add(name, {name.substr(prefix_), "", Fate::not_evaluated, {}, reason});
  }

  void on_failure(const Trial::SourceFailure& failure) override { failures_.push_back(failure); }

  void on_progress(std::uint64_t /*bytes*/) override {}

  std::vector<Trial::SourceFailure> take_failures() { return std::exchange(failures_, {}); }

  void give_up(const Trial::SourceFailure& failure) {
    add({failure.object.substr(prefix_), "", Fate::not_evaluated, {}, failure.reason});
  }

 private:
  void decide(const Evaluation& evaluation, PlannedMessage& message) const {
    const Plan plan = Delivery::plan_for(evaluation, wish_.dots);
    const bool failed = plan.inbox_reason == InboxReason::failure;
    if (failed) message.note = plan.note;
    if (evaluation.result.error != SieveMatchResult::NONE) {
      message.fate = Fate::not_evaluated;
    } else if (plan.refusal != Plan::Refusal::none) {
      message.fate = plan.refusal == Plan::Refusal::reject ? Fate::rejected : Fate::discarded;
      if (wish_.discard_to) go_to({*wish_.discard_to}, message);
    } else if (failed && plan.mailboxes.size() == 1) {
      message.fate = Fate::in_place;  // the inbox is only for mail that would be lost
    } else if (plan.inbox_reason != InboxReason::no_rule) {
      go_to(folders_of(plan), message);
    }
  }

  std::vector<std::string> folders_of(const Plan& plan) const {
    std::vector<std::string> folders;
    for (const auto& mailbox : plan.mailboxes)
      folders.push_back(*Delivery::maildir_folder(mailbox, wish_.dots));
    return folders;
  }

  void go_to(std::vector<std::string> folders, PlannedMessage& message) const {
    const auto here = std::remove(folders.begin(), folders.end(), wish_.folder);
    const bool stays = here != folders.end();
    folders.erase(here, folders.end());
    message.fate = folders.empty() ? Fate::in_place : stays ? Fate::copy : Fate::move;
    message.folders = std::move(folders);
  }

  void add(PlannedMessage message) {
    const bool is_told = message.fate == Fate::not_evaluated;
    if (!is_told && wish_.rule && message.rule != *wish_.rule) return;
    plan_.add(std::move(message));
    on_planned_(plan_.messages().back());
  }

  // Adds the message `name` of a run. One in a file that may hold several, as an mbox file does, is
  // called "file#1", and the file can't be filed.
  void add(const std::string& name, PlannedMessage message) {
    const std::size_t mark = name.rfind('#');
    if (mark == std::string::npos || is_source(name)) return add(std::move(message));
    if (name.substr(mark) != "#1") return;
    add({name.substr(prefix_, mark - prefix_), "", Fate::not_evaluated, {}, "an mbox file"});
  }

  bool is_source(const std::string& name) const {
    return std::any_of(
        sources_->begin(), sources_->end(),
        [&](const MailSource& source) { return source.path == name; });
  }

  const Wish& wish_;
  const std::size_t prefix_;
  RefilingPlan& plan_;
  const OnPlanned& on_planned_;
  const std::vector<MailSource>* sources_ = nullptr;
  std::vector<Trial::SourceFailure> failures_;
};

// Those of `failed` that are in the folder under another name by now. Those that are there under
// the same name stay in `failed`.
std::vector<MailSource> renamed(const std::vector<MailSource>& there,
                                std::vector<Trial::SourceFailure>& failed) {
  std::map<std::string, std::string> wanted;  // paths by unique parts
  for (const auto& failure : failed) wanted[unique_of(failure.object)] = failure.object;
  std::vector<MailSource> sources;
  std::set<std::string> unchanged;
  for (const auto& source : there) {
    const auto found = wanted.find(unique_of(source.path));
    if (found == wanted.end()) continue;
    if (found->second == source.path)
      unchanged.insert(source.path);
    else
      sources.push_back(source);
  }
  failed.erase(std::remove_if(failed.begin(), failed.end(),
                              [&](const Trial::SourceFailure& failure) {
                                return unchanged.count(failure.object) == 0;
                              }),
               failed.end());
  return sources;
}

}  // namespace

void count_in(PlanSummary& counts, const PlannedMessage& message) {
  for (const auto& folder : message.folders) ++counts[{message.rule, message.fate, folder}];
  if (message.folders.empty()) ++counts[{message.rule, message.fate, ""}];
}

PlanSummary RefilingPlan::summary() const {
  PlanSummary counts;
  for (const auto& message : messages_) count_in(counts, message);
  return counts;
}

std::optional<Refiled> task_of(const PlannedMessage& message) {
  if (message.folders.empty()) return std::nullopt;
  return Refiled{unique_of(message.file), message.folders, message.fate == Fate::copy};
}

std::vector<MailSource> sources_for(const std::string& maildir, const Wish& wish,
                                    std::optional<Trial::SourceFailure>& failure) {
  auto found = Trial::find_mail({folder_path(maildir, wish.folder)});
  if (!found.failures.empty()) failure = found.failures.front();
  auto sources = std::move(found.sources);
  if (wish.since)
    sources.erase(
        std::remove_if(sources.begin(), sources.end(),
                       [&](const MailSource& source) { return received(source) < *wish.since; }),
        sources.end());
  return sources;
}

RefilingPlan plan_refiling(const std::string& maildir, const Wish& wish,
                           const std::vector<MailSource>& sources, const RunRules& run,
                           const OnPlanned& on_planned) {
  RefilingPlan plan;
  Planner planner(maildir, wish, plan, on_planned);
  std::vector<MailSource> round = sources;
  for (int rounds = 0; !round.empty() && rounds < most_rounds; ++rounds) {
    planner.expect(round);
    run(round, planner);
    auto failures = planner.take_failures();
    if (failures.empty()) break;
    round = renamed(Trial::find_mail({folder_path(maildir, wish.folder)}).sources, failures);
    for (const auto& failure : failures) planner.give_up(failure);
  }
  return plan;
}

}  // namespace Quarrow::Refiling
