// Evaluation in this process, with the interpreter's log as complaints.
#include "apps/quarrow/logged_evaluator.h"

#include <fcntl.h>
#include <quarrow/evaluation.h>
#include <sysexits.h>
#include <zvellparser.h>

#include <cstdarg>
#include <cstdio>
#include <string>
#include <utility>

#include "apps/quarrow/complaint.h"
#include "system/descriptor.h"
#include "system/regular_file.h"

namespace Quarrow::Command {
namespace {

using Delivery::Evaluation;

// The evaluation's log on standard error, a line for each entry.
class ErrorStreamLog : public SieveLog {
 public:
  void Error(const char* format, ...) override __attribute__((format(printf, 2, 3))) {
    va_list arguments;
    va_start(arguments, format);
    write("error", format, arguments);
    va_end(arguments);
  }
  void Warning(const char* format, ...) override __attribute__((format(printf, 2, 3))) {
    va_list arguments;
    va_start(arguments, format);
    write("warning", format, arguments);
    va_end(arguments);
  }
  void SetComponent(const char* name) override { component_ = name; }
  void Debug(const char* format, ...) override __attribute__((format(printf, 2, 3))) {
    va_list arguments;
    va_start(arguments, format);
    write("debug", format, arguments);
    va_end(arguments);
  }

 private:
  void write(const char* level, const char* format, va_list arguments) {
    char text[4096];  // longer entries are cut
    (void)std::vsnprintf(text, sizeof text, format, arguments);
    complain(component_, std::string(level) + ": " + text, EX_OK);
  }

  std::string component_;
};

class LoggedEvaluator : public Trial::MessageEvaluator {
 public:
  explicit LoggedEvaluator(std::unique_ptr<SieveMatch> matcher) : matcher_(std::move(matcher)) {}

  Evaluation evaluate(const Trial::FoundMessage& message, std::time_t received) override {
    const auto parsed = MimePart::parse(message.bytes.data(), message.bytes.size());
    Evaluation evaluation;
    evaluation.outcome = Evaluation::Outcome::done;
    evaluation.result = matcher_->Match(parsed.get(), message.bytes.size(), received);
    return evaluation;
  }

 private:
  const std::unique_ptr<SieveMatch> matcher_;
};

}  // namespace

std::unique_ptr<Trial::MessageEvaluator> logged_evaluator(const std::string& path) {
  if (Descriptor(open_regular(path, O_RDONLY)).get() < 0) return nullptr;  // a link, say
  SieveLog* const log = new ErrorStreamLog;  // the matcher's from here on
  std::unique_ptr<SieveMatch> matcher(SieveMatch::Create(path, log));
  if (!matcher) return nullptr;
  return std::make_unique<LoggedEvaluator>(std::move(matcher));
}

}  // namespace Quarrow::Command
