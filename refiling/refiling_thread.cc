// A thread that takes all messages that were added since it looked last.
#include "refiling/refiling_thread.h"

namespace Quarrow::Refiling {

using Administration::Refusal;
using Lock = std::unique_lock<std::mutex>;

// Messages that were added and not looked at.
constexpr std::size_t most_waiting = 2 * refiling_batch;

void KeptCalls::on_done() {
  const Lock lock(mutex_);
  ++done_;
}

void KeptCalls::on_failure(const std::string& unique, const std::string& reason) {
  const Lock lock(mutex_);
  failures_.emplace_back(unique, reason);
}

void KeptCalls::tell(RefilingObserver& observer) {
  Lock lock(mutex_);
  const auto failures = std::exchange(failures_, {});
  std::size_t done = std::exchange(done_, 0);
  lock.unlock();
  for (; done > 0; --done) observer.on_done();
  for (const auto& [unique, reason] : failures) observer.on_failure(unique, reason);
}

RefilingThread::RefilingThread(const std::string& folder, Journal& journal,
                               RefilingObserver& observer)
    : observer_(observer), refiler_(folder, journal, calls_) {}

RefilingThread::~RefilingThread() { end(); }

Refusal RefilingThread::begin(const std::string& from) { return refiler_.begin(from); }

// The thread begins late, so that processes that are started before the first message have no part
// in it.
void RefilingThread::add(Refiled message) {
  if (!thread_.joinable()) thread_ = std::thread([this] { work(); });
  {
    Lock lock(mutex_);
    has_room_.wait(lock, [this] { return is_over_ || added_.size() < most_waiting; });
    added_.push_back(std::move(message));
    if (added_.size() >= refiling_batch) has_news_.notify_one();
  }
  calls_.tell(observer_);
}

Refusal RefilingThread::finish() {
  end();
  if (!refusal_) refusal_ = refiler_.finish();
  calls_.tell(observer_);
  return refusal_;
}

void RefilingThread::end() {
  if (!thread_.joinable()) return;
  {
    const Lock lock(mutex_);
    is_last_ = true;
  }
  has_news_.notify_one();
  thread_.join();
}

void RefilingThread::work() {
  for (bool is_last = false; !is_last && !refusal_;) {
    Lock lock(mutex_);
    has_news_.wait(lock, [this] { return is_last_ || added_.size() >= refiling_batch; });
    is_last = is_last_;
    std::vector<Refiled> messages = std::exchange(added_, {});
    lock.unlock();
    has_room_.notify_one();
    for (Refiled& message : messages)
      if (!refusal_) refusal_ = refiler_.add(std::move(message));
  }
  const Lock lock(mutex_);
  is_over_ = true;
  has_room_.notify_one();
}

}  // namespace Quarrow::Refiling
