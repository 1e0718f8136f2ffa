// The evaluator of a run.
#include "trial/isolated_runs.h"

#include "delivery/header_end.h"

namespace Quarrow::Trial {
namespace {

const char no_memory[] = "not enough memory";

Delivery::Evaluation failure() {
  Delivery::Evaluation evaluation;
  evaluation.reason = no_memory;
  return evaluation;
}

Delivery::EvaluatorLimits limits_of_a_run() {
  Delivery::EvaluatorLimits limits;
  limits.messages = 100000;
  limits.made_ahead = false;
  return limits;
}

}  // namespace

IsolatedRuns::IsolatedRuns() : evaluator_(limits_of_a_run()) {}

Delivery::Evaluation IsolatedRuns::run_file(const FoundMessage& message, std::time_t received,
                                            const std::string& path) {
  const int file = file_of(message);
  return file < 0 ? failure() : evaluator_.evaluate(file, message.bytes.size(), received, path);
}

Delivery::Evaluation IsolatedRuns::run_text(const FoundMessage& message, std::time_t received,
                                            const std::string& text) {
  const int file = file_of(message);
  return file < 0 ? failure()
                  : evaluator_.evaluate_script(file, message.bytes.size(), received, text);
}

Delivery::HeaderValue IsolatedRuns::header_value(const FoundMessage& message, std::time_t received,
                                                 const std::string& name) {
  const int file = file_of(message);
  if (file < 0) return {false, std::nullopt, no_memory};
  return evaluator_.header_value(file, received, name);
}

// Rules see no more of a message than its header. Negative when memory is short.
int IsolatedRuns::file_of(const FoundMessage& message) const {
  if (message.file >= 0) return message.file;
  return headers_.write(std::string(Delivery::header_of(message.bytes))) ? headers_.fd() : -1;
}

bool has_failed(const Delivery::Evaluation& evaluation) {
  using Outcome = Delivery::Evaluation::Outcome;
  if (evaluation.outcome == Outcome::no_script) return false;
  return evaluation.outcome != Outcome::done || evaluation.result.error != SieveMatchResult::NONE;
}

}  // namespace Quarrow::Trial
