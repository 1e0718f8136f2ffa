// The rules document of 100 filters with 10 tests each: loading it beside ezXML's own parsing, and
// committing it.

#include <base.h>
#include <benchmark/benchmark.h>
#include <ezxml.h>
#include <quarrow/user_stores.h>
#include <zvelluser.h>

#include <cstdlib>
#include <filesystem>

#include "bench/mixed_rules.h"

namespace {

using namespace Quarrow::MessageFilters;

void LoadFilters(benchmark::State& state) {
  const TempFile file("");
  mixed_rules(100, 10)->SaveToXML(file.name());
  for (auto _ : state) benchmark::DoNotOptimize(FilterList__::LoadFromXML(file.name()));
}
BENCHMARK(LoadFilters)->Unit(benchmark::kMicrosecond);

void BareParse(benchmark::State& state) {
  const TempFile file("");
  mixed_rules(100, 10)->SaveToXML(file.name());
  for (auto _ : state) {
    ezxml_t tree = ezxml_parse_file(file.name().c_str());
    benchmark::DoNotOptimize(tree);
    ezxml_free(tree);
  }
}
BENCHMARK(BareParse)->Unit(benchmark::kMicrosecond);

// A user's folder that goes when the benchmark ends.
class UserFolder {
 public:
  UserFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "quarrow-XXXXXX").string();
    root_ = mkdtemp(name.data());
    mailuser_set_root(root_);
    std::filesystem::create_directories(ZvMailUserId(MAILBOX_USER, address.address()).prefpath());
  }
  ~UserFolder() { std::filesystem::remove_all(root_); }
  UserFolder(const UserFolder&) = delete;
  UserFolder& operator=(const UserFolder&) = delete;

  const EmailAddress address{"bench@example.org"};

 private:
  std::string root_;
};

// A list of 100 filters: its script is as long as the delivery side reads.
void Persist(benchmark::State& state) {
  const UserFolder folder;
  auto user = UserMessageFilters__::Create(folder.address);
  user->filters = mixed_rules(100, 1);
  for (auto _ : state)
    if (user->persist() != 0) state.SkipWithError("persist failed");
}
BENCHMARK(Persist)->Unit(benchmark::kMicrosecond);

}  // namespace
