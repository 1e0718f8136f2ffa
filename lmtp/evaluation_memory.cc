// A short list of scripts with their evaluations.
#include "lmtp/evaluation_memory.h"

#include <algorithm>
#include <chrono>

#include "delivery/script_file.h"

namespace Quarrow::Lmtp {
namespace {

using Delivery::Evaluation;

constexpr std::size_t most_known = 20;
constexpr std::size_t most_failures = 2;  // one may be the script's own fault

}  // namespace

void EvaluationMemory::begin_message() {
  latest_first_.clear();
  failures_ = 0;
}

Evaluation EvaluationMemory::evaluate(const Delivery::Evaluate& evaluate, int message_fd,
                                      std::uint64_t size, std::time_t received,
                                      const std::string& script_path) {
  const auto script = Delivery::read_script(script_path, std::chrono::milliseconds(0), received);
  if (!script.found) return evaluate(message_fd, size, received, script_path);
  if (const Evaluation* const before = known(script.text)) return *before;
  if (failures_ >= most_failures) return failure_;
  Evaluation evaluation = evaluate(message_fd, size, received, script_path);
  remember(script.text, evaluation);
  return evaluation;
}

const Evaluation* EvaluationMemory::known(const std::string& script) const {
  const auto found = std::find_if(latest_first_.begin(), latest_first_.end(),
                                  [&script](const Known& each) { return each.script == script; });
  return found == latest_first_.end() ? nullptr : &found->evaluation;
}

void EvaluationMemory::remember(const std::string& script, const Evaluation& evaluation) {
  if (latest_first_.size() >= most_known) latest_first_.pop_back();
  latest_first_.push_front({script, evaluation});
  if (evaluation.outcome != Evaluation::Outcome::failed) return;
  ++failures_;
  failure_ = evaluation;
}

}  // namespace Quarrow::Lmtp
