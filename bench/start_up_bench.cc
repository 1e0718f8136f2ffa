// The cost of one run of the command as a whole process.

#include <benchmark/benchmark.h>
#include <quarrow/user_stores.h>
#include <spawn.h>
#include <sys/wait.h>
#include <zvelluser.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "bench/mixed_rules.h"

namespace {

// Runs a command with its output thrown away; whether it succeeded.
bool run(const std::vector<std::string>& command) {
  std::vector<char*> arguments;
  for (const std::string& word : command) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", 1, 0);
  pid_t child = 0;
  const int failed =
      posix_spawn(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  return failed == 0 && waitpid(child, &status, 0) == child && status == 0;
}

void StartTrue(benchmark::State& state) {
  for (auto _ : state)
    if (!run({"/bin/true"})) state.SkipWithError("it failed");
}
BENCHMARK(StartTrue)->UseRealTime()->Unit(benchmark::kMillisecond);

void StartMatch(benchmark::State& state) {
  std::string root = (std::filesystem::temp_directory_path() / "quarrow-XXXXXX").string();
  if (mkdtemp(root.data()) == nullptr) return state.SkipWithError("no temporary folder");
  mailuser_set_root(root);
  const EmailAddress user("bench@example.org");
  std::filesystem::create_directories(ZvMailUserId(MAILBOX_USER, user.address()).prefpath());
  auto rules = Quarrow::MessageFilters::UserMessageFilters__::Create(user);
  rules->filters = mixed_rules(20, 1);
  rules->persist();
  const std::string message = root + "/message";
  std::ofstream(message) << "From: a@example.org\nTo: list@example.org\nSubject: hello\n\nbody\n";
  for (auto _ : state)
    if (!run({QUARROW_COMMAND, "--root", root, "match", user.address(), message}))
      state.SkipWithError("it failed");
  std::filesystem::remove_all(root);
}
BENCHMARK(StartMatch)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
