// Counters in shared memory, and their text.
#include "server/counters.h"

#include <sys/mman.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <new>
#include <sstream>
#include <utility>

namespace Quarrow::Server {
namespace {

using Number = std::atomic<std::uint64_t>;
static_assert(Number::is_always_lock_free, "processes share no lock");

Number* shared_numbers(std::size_t count) {
  void* const memory = mmap(nullptr, count * sizeof(Number), PROT_READ | PROT_WRITE,
                            MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) std::abort();
  return new (memory) Number[count]();
}

std::string description(const char* name, const char* type, const char* help) {
  return std::string("# HELP ") + name + ' ' + help + "\n# TYPE " + name + ' ' + type + '\n';
}

// Written by hand: a stream would round, or write an exponent.
std::string seconds(std::uint64_t microseconds) {
  char text[40];
  (void)std::snprintf(text, sizeof text, "%llu.%06llu",
                      static_cast<unsigned long long>(microseconds / 1000000),
                      static_cast<unsigned long long>(microseconds % 1000000));
  return text;
}

// The bound in seconds, as short as it can be: 0.0005, 1.
std::string label_of(std::chrono::microseconds bound) {
  std::string text = seconds(static_cast<std::uint64_t>(bound.count()));
  text.erase(text.find_last_not_of('0') + 1);
  if (text.back() == '.') text.pop_back();
  return text;
}

}  // namespace

Counters::Counters(std::vector<CounterRow> rows, std::optional<Histogram> durations)
    : rows_(std::move(rows)),
      durations_(std::move(durations)),
      numbers_(shared_numbers(size())),
      buckets_(numbers_ + rows_.size()),
      total_time_(numbers_ + size() - 1) {}

Counters::~Counters() { (void)munmap(numbers_, size() * sizeof(Number)); }

// How many numbers there are: each row's, each bound's, those beyond and the total time.
std::size_t Counters::size() const {
  return rows_.size() + (durations_ ? durations_->bounds.size() : 0) + 2;
}

void Counters::add(std::size_t row) { ++numbers_[row]; }

void Counters::add_duration(std::chrono::microseconds took) {
  const auto& bounds = durations_->bounds;
  const auto bound = std::lower_bound(bounds.begin(), bounds.end(), took);
  ++buckets_[bound - bounds.begin()];
  *total_time_ += static_cast<std::uint64_t>(std::max<std::int64_t>(took.count(), 0));
}

std::string Counters::text() const {
  std::ostringstream out;
  for (std::size_t i = 0; i < rows_.size(); ++i) {
    const CounterRow& row = rows_[i];
    if (*row.help != '\0') out << description(row.name, "counter", row.help);
    out << row.name << row.label << ' ' << numbers_[i] << '\n';
  }
  if (durations_) out << histogram_text();
  return out.str();
}

std::string Counters::histogram_text() const {
  const auto& [name, help, bounds] = *durations_;
  std::ostringstream out;
  out << description(name, "histogram", help);
  std::uint64_t sum = 0;
  for (std::size_t i = 0; i <= bounds.size(); ++i) {
    sum += buckets_[i];
    const std::string label = i < bounds.size() ? label_of(bounds[i]) : "+Inf";
    out << name << "_bucket{le=\"" << label << "\"} " << sum << '\n';
  }
  out << name << "_sum " << seconds(*total_time_) << '\n' << name << "_count " << sum << '\n';
  return out.str();
}

std::string Counters::write(const std::string& path) const {
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
