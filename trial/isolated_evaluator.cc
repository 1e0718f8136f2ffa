// Evaluation in a helper process, as the delivery does it.
#include <string>
#include <utility>

#include "trial/isolated_runs.h"
#include "trial/message_evaluator.h"

namespace Quarrow::Trial {
namespace {

using Delivery::Evaluation;
using Outcome = Evaluation::Outcome;

class FileEvaluator : public MessageEvaluator {
 public:
  explicit FileEvaluator(std::string script) : script_(std::move(script)) {}

  Evaluation evaluate(const FoundMessage& message, std::time_t received) override {
    return runs_.run_file(message, received, script_);
  }

  // Whether there is a script that compiles. A helper that failed says nothing about that.
  bool has_script() {
    const Outcome outcome = evaluate({}, 0).outcome;
    return outcome == Outcome::done || outcome == Outcome::failed;
  }

 private:
  const std::string script_;
  IsolatedRuns runs_;
};

class TextEvaluator : public MessageEvaluator {
 public:
  explicit TextEvaluator(std::string script) : script_(std::move(script)) {}

  Evaluation evaluate(const FoundMessage& message, std::time_t received) override {
    return runs_.run_text(message, received, script_);
  }

 private:
  const std::string script_;
  IsolatedRuns runs_;
};

}  // namespace

std::unique_ptr<MessageEvaluator> isolated_evaluator(const std::string& path) {
  auto evaluator = std::make_unique<FileEvaluator>(path);
  if (!evaluator->has_script()) return nullptr;
  return evaluator;
}

std::unique_ptr<MessageEvaluator> isolated_text_evaluator(const std::string& text) {
  return std::make_unique<TextEvaluator>(text);
}

}  // namespace Quarrow::Trial
