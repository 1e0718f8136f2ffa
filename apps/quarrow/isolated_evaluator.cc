// Evaluation in a helper process, as the delivery does it.
#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "apps/quarrow/message_evaluator.h"
#include "delivery/evaluator.h"
#include "delivery/memory_file.h"

namespace command {
namespace {

using Quarrow::Delivery::Evaluation;
using Quarrow::Delivery::Evaluator;
using Quarrow::Delivery::MemoryFile;
using Outcome = Evaluation::Outcome;

Evaluation failure(const char* reason) {
  Evaluation evaluation;
  evaluation.reason = reason;
  return evaluation;
}

// The beginning of a message, up to the empty line behind its headers: rules see no more of it.
std::string header_block(std::string_view message) {
  const std::size_t end = std::min(message.find("\n\n"), message.find("\n\r\n"));
  constexpr std::size_t longest_end = 3;
  return std::string(message.substr(0, end == message.npos ? end : end + longest_end));
}

class IsolatedEvaluator : public MessageEvaluator {
 public:
  explicit IsolatedEvaluator(std::string script) : script_(std::move(script)) {}

  Evaluation evaluate(const Message& message, std::time_t received) override {
    const std::uint64_t size = message.bytes.size();
    if (message.file >= 0) return evaluator_.evaluate(message.file, size, received, script_);
    if (!headers_.write(header_block(message.bytes))) return failure("not enough memory");
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

}  // namespace command
