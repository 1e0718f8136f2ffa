// Evaluating the messages of batches, one after the other.
#ifndef QUARROW_TRIAL_BATCH_EVALUATION_H_
#define QUARROW_TRIAL_BATCH_EVALUATION_H_

#include <cstddef>
#include <ctime>
#include <optional>
#include <vector>

#include "trial/batch.h"
#include "trial/mail_contents.h"
#include "trial/mail_sources.h"
#include "trial/message_evaluator.h"
#include "trial/observer.h"

namespace Quarrow::Trial {

// Reads sources, has the messages in them evaluated, and tells an observer about each.
class BatchEvaluation {
 public:
  // All of these outlive this object. Each message was received at `received`, where that is given,
  // and otherwise at its source's time.
  BatchEvaluation(const std::vector<MailSource>& sources, MessageEvaluator& evaluator,
                  Observer& observer, std::optional<std::time_t> received);

  // A source that can't be read is told for each batch that holds a part of it.
  void evaluate(const Batch& batch);

 private:
  struct OpenSource {
    std::size_t index;
    MailContents contents;
    std::vector<FoundMessage> messages;
  };

  bool open(std::size_t source);
  void evaluate_open(std::uint64_t begin, std::uint64_t end);
  void evaluate(const FoundMessage& message, std::time_t received);

  const std::vector<MailSource>& sources_;
  MessageEvaluator& evaluator_;
  Observer& observer_;
  const std::optional<std::time_t> received_;
  std::optional<OpenSource> open_;  // stays open for its next part
};

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_BATCH_EVALUATION_H_
