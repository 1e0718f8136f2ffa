// Evaluation in a helper process, as the delivery does it.
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "delivery/header_end.h"
#include "quarrow/delivery/evaluator.h"
#include "system/memory_file.h"
#include "trial/message_evaluator.h"

namespace Quarrow::Trial {
namespace {

using Delivery::Evaluation;
using Delivery::Evaluator;
using Outcome = Evaluation::Outcome;

Evaluation failure(const char* reason) {
  Evaluation evaluation;
  evaluation.reason = reason;
  return evaluation;
}

// All messages are one user's, and each evaluation is only told, not acted upon.
Delivery::EvaluatorLimits limits_of_a_run() {
  Delivery::EvaluatorLimits limits;
  limits.messages = 100000;
  limits.made_ahead = false;
  return limits;
}

class IsolatedEvaluator : public MessageEvaluator {
 public:
  explicit IsolatedEvaluator(std::string script)
      : script_(std::move(script)), evaluator_(limits_of_a_run()) {}

  Evaluation evaluate(const FoundMessage& message, std::time_t received) override {
    const std::uint64_t size = message.bytes.size();
    if (message.file >= 0) return evaluator_.evaluate(message.file, size, received, script_);
    // rules see no more of a message
    const std::string header(Delivery::header_of(message.bytes));
    if (!headers_.write(header)) return failure("not enough memory");
    return evaluator_.evaluate(headers_.fd(), size, received, script_);
  }

  // Whether there is a script that compiles. A helper that failed says nothing about that.
  bool has_script() {
    const Outcome outcome = evaluate({}, 0).outcome;
    return outcome == Outcome::done || outcome == Outcome::failed;
  }

 private:
  const std::string script_;
  Evaluator evaluator_;
  const MemoryFile headers_;  // of a message that is not a file
};

}  // namespace

std::unique_ptr<MessageEvaluator> isolated_evaluator(const std::string& path) {
  auto evaluator = std::make_unique<IsolatedEvaluator>(path);
  if (!evaluator->has_script()) return nullptr;
  return evaluator;
}

}  // namespace Quarrow::Trial
