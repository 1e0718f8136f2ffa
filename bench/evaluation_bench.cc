// The cost of evaluation in a helper process, and the savings of a script's execution form, for one
// message after the other.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <quarrow/evaluation.h>
#include <zvellparser.h>

#include <ctime>
#include <limits>
#include <memory>
#include <string>

#include "bench/message_set.h"
#include "bench/mixed_rules.h"
#include "delivery/execution_form.h"
#include "quarrow/delivery/evaluator.h"
#include "system/descriptor.h"
#include "system/memory_file.h"

namespace {

using Quarrow::Descriptor;
using Quarrow::MemoryFile;
using Quarrow::SieveMatch;
using Quarrow::Delivery::Evaluation;
using Quarrow::Delivery::Evaluator;
using Quarrow::Delivery::EvaluatorLimits;

std::unique_ptr<SieveMatch> matcher_of(const MemoryFile& script) {
  return std::unique_ptr<SieveMatch>(SieveMatch::Create(script.path(), nullptr));
}

int open_message(const BenchMessage& message) {
  return open(message.path.c_str(), O_RDONLY | O_CLOEXEC);
}

std::string whole(const Descriptor& file, std::size_t size) {
  std::string text(size, '\0');
  const ssize_t count = pread(file.get(), text.data(), size, 0);
  text.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
  return text;
}

// CPU time that a process has used, in seconds.
double cpu_time(pid_t process) {
  clockid_t clock = 0;
  std::timespec used = {};
  if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &used) != 0) return 0;
  return static_cast<double>(used.tv_sec) + static_cast<double>(used.tv_nsec) * 1e-9;
}

long items(const benchmark::State& state) {
  return static_cast<long>(state.iterations()) * static_cast<long>(bench_messages().size());
}

// Match of the execution form instead of the script as it is stored, all in this process.
void ExecutionForm(benchmark::State& state) {
  const MemoryFile file;
  mixed_rules(static_cast<int>(state.range(0)), 1)->SaveToSieve(file.path(), true);
  const auto form = Quarrow::Delivery::execution_form(file.read());
  if (form.branches.empty() || !file.write(form.script)) return state.SkipWithError("not derived");
  const auto matcher = matcher_of(file);
  for (auto _ : state) {
    for (const BenchMessage& message : bench_messages()) {
      auto result = matcher->Match(message.part.get(), message.size, 0);
      benchmark::DoNotOptimize(Quarrow::Delivery::complete(form, result));
    }
  }
  state.SetItemsProcessed(items(state));
}
BENCHMARK(ExecutionForm)->Arg(1)->Arg(20)->Arg(100)->Unit(benchmark::kMillisecond);

// From a message's file to its result, without isolation.
void ParseAndMatch(benchmark::State& state) {
  const MemoryFile script;
  mixed_rules(static_cast<int>(state.range(0)), 1)->SaveToSieve(script.path(), true);
  const auto matcher = matcher_of(script);
  for (auto _ : state) {
    for (const BenchMessage& message : bench_messages()) {
      const Descriptor file(open_message(message));
      const std::string text = whole(file, message.size);
      const auto part = MimePart::parse(text.data(), text.size());
      benchmark::DoNotOptimize(matcher->Match(part.get(), message.size, 0));
    }
  }
  state.SetItemsProcessed(items(state));
}
BENCHMARK(ParseAndMatch)->Arg(1)->Arg(20)->Arg(100)->UseRealTime()->Unit(benchmark::kMillisecond);

EvaluatorLimits of_one_helper() {
  EvaluatorLimits limits;
  limits.messages = std::numeric_limits<std::uint64_t>::max();
  limits.made_ahead = false;
  return limits;
}

// The same through the helper process; `helper_us` is the CPU time that one message takes there.
void Isolated(benchmark::State& state) {
  const TempFile script("");
  mixed_rules(static_cast<int>(state.range(0)), 1)->SaveToSieve(script.name(), true);
  Evaluator evaluator(of_one_helper());
  const pid_t helper = evaluator.helper();
  const double before = cpu_time(helper);
  for (auto _ : state) {
    for (const BenchMessage& message : bench_messages()) {
      const Descriptor file(open_message(message));
      const Evaluation evaluation = evaluator.evaluate(file.get(), message.size, 0, script.name());
      if (evaluation.outcome != Evaluation::Outcome::done)
        return state.SkipWithError(evaluation.reason.c_str());
    }
  }
  state.SetItemsProcessed(items(state));
  if (helper != evaluator.helper()) return;  // it was replaced, and its time with it
  const auto messages = static_cast<double>(items(state));
  state.counters["helper_us"] = (cpu_time(helper) - before) * 1e6 / messages;
}
BENCHMARK(Isolated)->Arg(1)->Arg(20)->Arg(100)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
