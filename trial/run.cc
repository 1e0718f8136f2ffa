// One message after the other.
#include "trial/run.h"

#include "quarrow/delivery/delivery_plan.h"
#include "trial/mail_contents.h"

namespace Quarrow::Trial {
namespace {

using Delivery::Evaluation;

class TrialRun {
 public:
  TrialRun(MessageEvaluator& evaluator, Observer& observer, std::optional<std::time_t> received,
           Delivery::FolderDots dots)
      : evaluator_(evaluator), observer_(observer), received_(received), dots_(dots) {}

  void evaluate(const MailSource& source) {
    MailContents contents;
    if (const auto failure = contents.open(source)) {
      ++result_.failed_sources;
      observer_.on_failure(*failure);
      return;
    }
    for (const auto& message : messages_of(source, contents))
      evaluate(message, received_.value_or(contents.time()));
  }

  const RunResult& result() const { return result_; }

 private:
  void evaluate(const FoundMessage& message, std::time_t received) {
    const Evaluation evaluation = evaluator_.evaluate(message, received);
    if (evaluation.outcome == Evaluation::Outcome::done) {
      result_.tally.add(Delivery::as_delivered(evaluation.result, dots_));
      observer_.on_result(message.name, evaluation);
    } else {
      result_.tally.add_not_evaluated();
      observer_.on_not_evaluated(message.name, evaluation.reason);
    }
    observer_.on_progress(message.bytes.size());
  }

  MessageEvaluator& evaluator_;
  Observer& observer_;
  const std::optional<std::time_t> received_;
  const Delivery::FolderDots dots_;
  RunResult result_;
};

}  // namespace

RunResult run(const std::vector<MailSource>& sources, MessageEvaluator& evaluator,
              Observer& observer, std::optional<std::time_t> received, Delivery::FolderDots dots) {
  TrialRun trial(evaluator, observer, received, dots);
  for (const auto& source : sources) trial.evaluate(source);
  return trial.result();
}

}  // namespace Quarrow::Trial
