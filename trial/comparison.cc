// Two evaluations of each message, while it is at hand.
#include "trial/comparison.h"

#include <set>

#include "delivery/folder_name.h"
#include "trial/batch_evaluation.h"

namespace Quarrow::Trial {
namespace {

using Delivery::Evaluation;
using Delivery::FolderDots;
using Delivery::Plan;

// Evaluates a message by both scripts; the one evaluation that a run knows of is that of now.
class BothScripts : public MessageEvaluator {
 public:
  BothScripts(const std::string& path, const std::string& text) : path_(path), text_(text) {}

  Evaluation evaluate(const FoundMessage& message, std::time_t received) override {
    now_ = runs_.run_file(message, received, path_);
    then_ = runs_.run_text(message, received, text_);
    return now_;
  }

  // Of the latest message.
  const Evaluation& now() const { return now_; }
  const Evaluation& then() const { return then_; }

 private:
  const std::string& path_;
  const std::string& text_;
  IsolatedRuns runs_;
  Evaluation now_;
  Evaluation then_;
};

class Comparer : public Observer {
 public:
  Comparer(const BothScripts& scripts, FolderDots dots,
           const std::function<void(const SourceFailure&)>& on_failure)
      : scripts_(scripts), dots_(dots), tell_failure_(on_failure) {}

  void on_result(const std::string& name, const Evaluation& /*now*/) override { compare(name); }
  void on_not_evaluated(const std::string& name, const std::string& /*reason*/) override {
    compare(name);
  }
  void on_failure(const SourceFailure& failure) override { tell_failure_(failure); }
  void on_progress(std::uint64_t /*bytes*/) override {}

  ComparisonResult&& result() { return std::move(result_); }

 private:
  void compare(const std::string& name) {
    ++result_.messages;
    result_.failed_now += has_failed(scripts_.now()) ? 1 : 0;
    result_.failed_then += has_failed(scripts_.then()) ? 1 : 0;
    const Plan now = plan_for(scripts_.now(), dots_);
    const Plan then = plan_for(scripts_.then(), dots_);
    if (!is_same_place(now, then, dots_)) result_.differences.push_back({name, now, then});
  }

  const BothScripts& scripts_;
  const FolderDots dots_;
  const std::function<void(const SourceFailure&)>& tell_failure_;
  ComparisonResult result_;
};

// On disk, where several names may be one folder.
std::set<std::string> folders_of(const Plan& plan, FolderDots dots) {
  std::set<std::string> folders;
  for (const auto& mailbox : plan.mailboxes)
    folders.insert(Delivery::maildir_folder(mailbox, dots).value_or(""));
  return folders;
}

}  // namespace

ComparisonResult compare(const std::vector<MailSource>& sources, const std::string& script_path,
                         const std::string& text, const RunSettings& settings,
                         const std::function<void(const SourceFailure&)>& on_failure) {
  BothScripts scripts(script_path, text);
  Comparer comparer(scripts, settings.dots, on_failure);
  BatchEvaluation(sources, scripts, comparer, settings.received).evaluate({0, sources.size()});
  return comparer.result();
}

bool is_same_place(const Plan& a, const Plan& b, FolderDots dots) {
  return a.refusal == b.refusal && a.reject_text == b.reject_text &&
         folders_of(a, dots) == folders_of(b, dots);
}

}  // namespace Quarrow::Trial
