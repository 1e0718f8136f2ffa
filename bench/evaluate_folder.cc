// The isolated evaluation and nothing else, for measuring it from outside: runs a script over each
// message in a folder.
//
//   evaluate_folder SCRIPT FOLDER
//
// Each file below FOLDER is a message. Printed are how many there were and how many of them the
// script does something with; the exit status is 1 when a message was not evaluated.

#include <fcntl.h>
#include <sys/stat.h>

#include <cstdio>
#include <filesystem>

#include "delivery/one_processor.h"
#include "quarrow/delivery/evaluator.h"
#include "system/descriptor.h"

namespace {

using Quarrow::Delivery::Evaluation;
using Quarrow::Delivery::Evaluator;
using Quarrow::Delivery::EvaluatorLimits;

Evaluation evaluate(Evaluator& evaluator, const std::string& script, const std::string& message) {
  const Quarrow::Descriptor file(open(message.c_str(), O_RDONLY | O_CLOEXEC));
  struct stat found = {};
  if (fstat(file.get(), &found) != 0) return {};
  return evaluator.evaluate(file.get(), static_cast<std::uint64_t>(found.st_size), found.st_mtime,
                            script);
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return std::fputs("usage: evaluate_folder SCRIPT FOLDER\n", stderr), 2;
  Quarrow::Delivery::stay_on_one_processor();  // as quarrow match does
  EvaluatorLimits limits;
  limits.messages = 100000;
  limits.made_ahead = false;
  Evaluator evaluator(limits);
  int messages = 0;
  int with_actions = 0;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(argv[2])) {
    if (!entry.is_regular_file()) continue;
    const Evaluation evaluation = evaluate(evaluator, argv[1], entry.path());
    if (evaluation.outcome != Evaluation::Outcome::done) {
      std::fprintf(stderr, "%s: not evaluated: %s\n", entry.path().c_str(),
                   evaluation.reason.c_str());
      return 1;
    }
    ++messages;
    if (!evaluation.result.actions.empty()) ++with_actions;
  }
  std::printf("%d messages, %d with actions\n", messages, with_actions);
}
