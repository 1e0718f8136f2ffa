// Counters in shared memory, and their text.
#include "server/metrics.h"

#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <new>
#include <sstream>

namespace Quarrow::Server {
namespace {

struct Row {
  Counter counter;
  const char* name;
  const char* label;  // with braces, or empty
  const char* help;   // with the first row of a name
};

// Rows with the same name stand together, as the format wants it.
const Row rows[] = {
    {Counter::delivered_inbox, "quarrow_delivered_total", "{folder=\"inbox\"}",
     "Copies of messages that were stored."},
    {Counter::delivered_other, "quarrow_delivered_total", "{folder=\"other\"}", ""},
    {Counter::rejected, "quarrow_rejected_total", "", "Messages that a rule refused."},
    {Counter::discarded, "quarrow_discarded_total", "", "Messages that a rule threw away."},
    {Counter::looped, "quarrow_loops_total", "", "Messages refused because they came back."},
    {Counter::kept_without_rule, "quarrow_kept_total", "{reason=\"no_rule\"}",
     "Messages in the inbox that no rule put there."},
    {Counter::kept_after_failure, "quarrow_kept_total", "{reason=\"failure\"}", ""},
    {Counter::temporary_failure, "quarrow_temporary_failures_total", "",
     "Deliveries that the client was asked to try again."},
    {Counter::unknown_recipient, "quarrow_unknown_recipients_total", "",
     "Recipients without a mailbox."},
    {Counter::workers_replaced, "quarrow_workers_replaced_total", "",
     "Worker processes that ended unasked."}};

// Upper bounds of the histogram's buckets; the last bucket has none.
struct Bound {
  std::int64_t microseconds;
  const char* seconds;
};
const Bound bounds[] = {{500, "0.0005"}, {1000, "0.001"}, {2000, "0.002"}, {5000, "0.005"},
                        {10000, "0.01"}, {20000, "0.02"}, {50000, "0.05"}, {100000, "0.1"},
                        {1000000, "1"},  {10000000, "10"}};

constexpr auto counters = static_cast<std::size_t>(Counter::count);
using Number = std::atomic<std::uint64_t>;
static_assert(Number::is_always_lock_free, "processes share no lock");

std::string description(const char* name, const char* type, const char* help) {
  return std::string("# HELP ") + name + ' ' + help + "\n# TYPE " + name + ' ' + type + '\n';
}

}  // namespace

struct Metrics::Shared {
  Number values[counters];
  Number buckets[std::size(bounds) + 1];
  Number microseconds;
};

Metrics::Metrics()
    : shared_([] {
        void* const memory = mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE,
                                  MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) std::abort();
        return new (memory) Shared();
      }()) {}

Metrics::~Metrics() { (void)munmap(shared_, sizeof(Shared)); }

void Metrics::add(Counter counter) { ++shared_->values[static_cast<std::size_t>(counter)]; }

void Metrics::add_evaluation(std::chrono::microseconds took) {
  const auto bucket =
      std::find_if(std::begin(bounds), std::end(bounds),
                   [took](const Bound& bound) { return took.count() <= bound.microseconds; });
  ++shared_->buckets[bucket - std::begin(bounds)];
  shared_->microseconds += static_cast<std::uint64_t>(std::max<std::int64_t>(took.count(), 0));
}

std::string Metrics::text() const {
  std::ostringstream out;
  for (const Row& row : rows) {
    if (*row.help != '\0') out << description(row.name, "counter", row.help);
    out << row.name << row.label << ' ' << shared_->values[static_cast<std::size_t>(row.counter)]
        << '\n';
  }
  const char name[] = "quarrow_evaluation_seconds";
  out << description(name, "histogram", "Time that running a script over a message took.");
  std::uint64_t sum = 0;
  for (std::size_t i = 0; i <= std::size(bounds); ++i) {
    sum += shared_->buckets[i];
    const char* const bound = i < std::size(bounds) ? bounds[i].seconds : "+Inf";
    out << name << "_bucket{le=\"" << bound << "\"} " << sum << '\n';
  }
  const std::uint64_t total = shared_->microseconds;
  char seconds[40];  // by hand: a stream would round, or write an exponent
  (void)std::snprintf(seconds, sizeof seconds, "%llu.%06llu",
                      static_cast<unsigned long long>(total / 1000000),
                      static_cast<unsigned long long>(total % 1000000));
  out << name << "_sum " << seconds << '\n' << name << "_count " << sum << '\n';
  return out.str();
}

std::string Metrics::write(const std::string& path) const {
  const std::string aside = path + ".new";
  std::ofstream file(aside, std::ios::trunc);
  file << text();
  file.close();
  if (file && std::rename(aside.c_str(), path.c_str()) == 0) return "";
  const int error = errno;
  (void)std::remove(aside.c_str());  // it may not be there
  return path + ": " + std::strerror(error);
}

}  // namespace Quarrow::Server
