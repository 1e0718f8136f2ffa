// Evaluations and nothing else, in one process, to have their instructions counted from outside.
//
//   match_rounds bare|stored|form RULES ROUNDS [--messages=FOLDER]
//
// Runs mixed rules over each message, ROUNDS times: as they are stored through the bare interpreter
// or Match, or in their execution form through Match. Printed is the number of messages.

#include <cstdio>
#include <string>

#include "bench/match_subjects.h"
#include "bench/message_set.h"

namespace {

void run_bare(int rules, int rounds) {
  const std::string script = compile(rules).script;
  auto messages = bare_messages();
  for (int round = 0; round < rounds; ++round)
    for (BareMessage& message : messages) (void)bare_match(script, message);
}

void run_match(Quarrow::SieveMatch& matcher, int rounds) {
  for (int round = 0; round < rounds; ++round)
    for (const BenchMessage& message : bench_messages())
      (void)matcher.Match(message.part.get(), message.size, 0);
}

}  // namespace

int main(int argc, char** argv) {
  read_messages_option(argc, argv);
  if (argc != 4) {
    std::fputs("usage: match_rounds bare|stored|form RULES ROUNDS [--messages=FOLDER]\n", stderr);
    return 64;
  }
  const std::string what = argv[1];
  const int rules = std::stoi(argv[2]);
  const int rounds = std::stoi(argv[3]);
  if (what == "bare") run_bare(rules, rounds);
  if (what == "stored") run_match(*compile(rules).matcher, rounds);
  if (what == "form") run_match(*compile_execution_form(rules).matcher, rounds);
  std::printf("%zu\n", bench_messages().size());
}
