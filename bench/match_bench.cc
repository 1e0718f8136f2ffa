// Match beside the bare interpreter: CPU time for one message after the other, with 1, 20 and 100
// rules. And Match in as many threads as there are processors.

#include <benchmark/benchmark.h>
#include <quarrow/evaluation.h>

#include <thread>
#include <vector>

#include "bench/match_subjects.h"
#include "bench/message_set.h"

namespace {

// Both must give the same actions before their times are compared.
bool agree(const Compiled& compiled, std::vector<BareMessage>& bare) {
  for (std::size_t i = 0; i < bare.size(); ++i) {
    const BenchMessage& message = bench_messages()[i];
    const auto result = compiled.matcher->Match(message.part.get(), message.size, 0);
    if (static_cast<int>(result.actions.size()) != bare_match(compiled.script, bare[i]))
      return false;
  }
  return true;
}

void Match(benchmark::State& state) {
  const Compiled compiled = compile(static_cast<int>(state.range(0)));
  auto bare = bare_messages();
  if (!agree(compiled, bare)) state.SkipWithError("the bare interpreter gives other actions");
  for (auto _ : state)
    for (const BenchMessage& message : bench_messages())
      benchmark::DoNotOptimize(compiled.matcher->Match(message.part.get(), message.size, 0));
  state.SetItemsProcessed(state.iterations() * static_cast<long>(bare.size()));
}
BENCHMARK(Match)->Arg(1)->Arg(20)->Arg(100)->Unit(benchmark::kMillisecond);

// Each thread has a matcher and messages of its own, as a mail server's have.
void ParallelMatch(benchmark::State& state) {
  const Compiled compiled = compile(static_cast<int>(state.range(0)));
  const std::vector<BenchMessage> messages = read_messages();
  for (auto _ : state)
    for (const BenchMessage& message : messages)
      benchmark::DoNotOptimize(compiled.matcher->Match(message.part.get(), message.size, 0));
  state.SetItemsProcessed(state.iterations() * static_cast<long>(messages.size()));
}
BENCHMARK(ParallelMatch)
    ->Arg(20)
    ->ThreadRange(1, static_cast<int>(std::thread::hardware_concurrency()))
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

void BareInterpreter(benchmark::State& state) {
  const std::string script = compile(static_cast<int>(state.range(0))).script;
  auto bare = bare_messages();
  for (auto _ : state)
    for (BareMessage& message : bare) benchmark::DoNotOptimize(bare_match(script, message));
  state.SetItemsProcessed(state.iterations() * static_cast<long>(bare.size()));
}
BENCHMARK(BareInterpreter)->Arg(1)->Arg(20)->Arg(100)->Unit(benchmark::kMillisecond);

}  // namespace
