#include "delivery/script_runner.h"

#include <zvellparser.h>

#include <algorithm>
#include <optional>

#include "delivery/read_at.h"

namespace Quarrow {
namespace Delivery {
namespace {

bool has_empty_line(const std::string& text, std::size_t from) {
  return text.find("\n\n", from) != std::string::npos ||
         text.find("\n\r\n", from) != std::string::npos;
}

// The beginning of a message, with its whole header block: nothing behind that is looked at.
std::optional<std::string> read_headers(int fd) {
  constexpr std::size_t overlap = 2;  // an empty line may lie across two blocks
  std::string text;
  for (;;) {
    const std::size_t start = text.size();
    const ssize_t count = append_next(fd, text);
    if (count < 0) return std::nullopt;
    if (count == 0 || has_empty_line(text, start - std::min(start, overlap))) return text;
  }
}

Evaluation not_done(Evaluation::Outcome outcome, const char* reason) {
  Evaluation evaluation;
  evaluation.outcome = outcome;
  evaluation.reason = reason;
  return evaluation;
}

}  // namespace

ScriptRunner::ScriptRunner(const MemoryFile& file, std::size_t cached_scripts)
    : file_(file), cached_scripts_(std::max<std::size_t>(cached_scripts, 1)) {}

Evaluation ScriptRunner::run(const std::string& script, int message_fd, std::uint64_t size,
                             std::int64_t received) {
  Compiled& user = compiled(script);
  if (!user.matcher) {
    return not_done(Evaluation::Outcome::bad_script, "the script is empty or does not compile");
  }
  const std::optional<std::string> headers = read_headers(message_fd);
  if (!headers) return not_done(Evaluation::Outcome::failed, "the message can't be read");
  const auto message = MimePart::parse(headers->data(), headers->size());
  Evaluation evaluation;
  evaluation.outcome = Evaluation::Outcome::done;
  evaluation.result = user.matcher->Match(message.get(), size, received);
  if (is_cut_short(user.form, evaluation.result)) {
    return not_done(Evaluation::Outcome::failed, "the interpreter ran out of memory");
  }
  evaluation.rule = complete(user.form, evaluation.result);
  if (evaluation.result.error != SieveMatchResult::NONE) evaluation.rule.clear();
  return evaluation;
}

ScriptRunner::Compiled& ScriptRunner::compiled(const std::string& script) {
  const auto known =
      std::find_if(latest_first_.begin(), latest_first_.end(),
                   [&script](const Compiled& each) { return each.script == script; });
  if (known != latest_first_.end()) {
    latest_first_.splice(latest_first_.begin(), latest_first_, known);
  } else {
    if (latest_first_.size() >= cached_scripts_) latest_first_.pop_back();
    latest_first_.push_front(compile(script));
  }
  return latest_first_.front();
}

ScriptRunner::Compiled ScriptRunner::compile(const std::string& script) const {
  Compiled made{script, execution_form(script), nullptr};
  if (file_.write(made.form.script)) {
    made.matcher.reset(SieveMatch::Create(file_.path(), nullptr));
  }
  return made;
}

}  // namespace Delivery
}  // namespace Quarrow
