// One message after the other.
#include "trial/batch_evaluation.h"

#include <algorithm>

namespace Quarrow::Trial {

using Delivery::Evaluation;

BatchEvaluation::BatchEvaluation(const std::vector<MailSource>& sources,
                                 MessageEvaluator& evaluator, Observer& observer,
                                 std::optional<std::time_t> received)
    : sources_(sources), evaluator_(evaluator), observer_(observer), received_(received) {}

void BatchEvaluation::evaluate(const Batch& batch) {
  for (std::size_t source = batch.source; source < batch.source + batch.count; ++source) {
    if (!open(source)) continue;
    evaluate_open(batch.begin, batch.end);
    if (batch.end == UINT64_MAX) open_.reset();
  }
}

bool BatchEvaluation::open(std::size_t source) {
  if (open_ && open_->index == source) return true;
  open_.emplace().index = source;
  if (const auto failure = open_->contents.open(sources_[source])) {
    open_.reset();
    observer_.on_failure(*failure);
    return false;
  }
  open_->messages = messages_of(sources_[source], open_->contents);
  return true;
}

void BatchEvaluation::evaluate_open(std::uint64_t begin, std::uint64_t end) {
  const char* const start = open_->contents.bytes().data();
  const auto offset = [start](const FoundMessage& message) {
    return static_cast<std::uint64_t>(message.bytes.data() - start);
  };
  const auto first =
      std::partition_point(open_->messages.begin(), open_->messages.end(),
                           [&](const FoundMessage& message) { return offset(message) < begin; });
  for (auto message = first; message != open_->messages.end() && offset(*message) < end; ++message)
    evaluate(*message, received_.value_or(open_->contents.time()));
}

void BatchEvaluation::evaluate(const FoundMessage& message, std::time_t received) {
  const Evaluation evaluation = evaluator_.evaluate(message, received);
  if (evaluation.outcome == Evaluation::Outcome::done)
    observer_.on_result(message.name, evaluation);
  else
    observer_.on_not_evaluated(message.name, evaluation.reason);
  observer_.on_progress(message.bytes.size());
}

}  // namespace Quarrow::Trial
