// Compiling scripts, and running them over messages.
#include "delivery/script_runner.h"

#include <zvellparser.h>

#include <algorithm>

#include "delivery/unread_header.h"

namespace Quarrow::Delivery {
namespace {

Evaluation not_done(Evaluation::Outcome outcome, const char* reason) {
  Evaluation evaluation;
  evaluation.outcome = outcome;
  evaluation.reason = reason;
  return evaluation;
}

}  // namespace

ScriptRunner::ScriptRunner(const MemoryFile& file, std::size_t cached_scripts)
    : file_(file), cached_scripts_(std::max<std::size_t>(cached_scripts, 1)) {}

Evaluation ScriptRunner::run(const std::string& script, const std::string& header,
                             std::uint64_t size, std::int64_t received) {
  Compiled& user = compiled(script);
  if (!user.matcher)
    return not_done(Evaluation::Outcome::bad_script, "the script is empty or does not compile");
  const auto message = MimePart::parse(header.data(), header.size());
  Evaluation evaluation;
  evaluation.outcome = Evaluation::Outcome::done;
  evaluation.result = user.matcher->Match(message.get(), size, received);
  if (is_cut_short(user.form, evaluation.result))
    return not_done(Evaluation::Outcome::failed, "the interpreter ran out of memory");
  evaluation.rule = complete(user.form, evaluation.result);
  if (evaluation.result.error != SieveMatchResult::NONE) evaluation.rule.clear();
  if (evaluation.result.error == SieveMatchResult::PARSE_ADDRESS)
    evaluation.reason = unread_header(script, *message, file_);
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
  if (file_.write(made.form.script)) made.matcher.reset(SieveMatch::Create(file_.path(), nullptr));
  return made;
}

}  // namespace Quarrow::Delivery
