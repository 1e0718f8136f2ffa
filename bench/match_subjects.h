// The scripts and messages that Match and the bare interpreter are measured with.
#ifndef QUARROW_BENCH_MATCH_SUBJECTS_H_
#define QUARROW_BENCH_MATCH_SUBJECTS_H_

#include <quarrow/evaluation.h>

#include <memory>
#include <string>
#include <vector>

#include "bench/bare_interpreter.h"

struct Compiled {
  std::unique_ptr<Quarrow::SieveMatch> matcher;
  std::string script;
};

// A number of mixed rules: the script as it is stored.
Compiled compile(int rules);

// The same in the form in which the helper process runs it. The matcher is null on failure.
Compiled compile_execution_form(int rules);

// The benchmarks' messages, as the bare interpreter is given them.
std::vector<BareMessage> bare_messages();

#endif  // QUARROW_BENCH_MATCH_SUBJECTS_H_
