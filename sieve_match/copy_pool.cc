#include "sieve_match/copy_pool.h"

#include <algorithm>
#include <new>

namespace Quarrow::interpreter {

CopyPool::CopyPool(std::size_t count) : in_use_(count) {}

std::size_t CopyPool::take(std::size_t wanted) {
  std::unique_lock<std::mutex> lock(mutex_);
  changed_.wait(lock, [this] { return is_one_free() && waiting_forks_ == 0; });
  std::size_t copy = wanted;
  if (in_use_[copy])
    copy = static_cast<std::size_t>(std::find(in_use_.begin(), in_use_.end(), false) -
                                    in_use_.begin());
  in_use_[copy] = true;
  ++in_use_count_;
  return copy;
}

void CopyPool::give_back(std::size_t copy) {
  bool a_fork_waits = false;
  {
    const std::lock_guard<std::mutex> lock(mutex_);
    in_use_[copy] = false;
    --in_use_count_;
    a_fork_waits = waiting_forks_ != 0;
  }
  a_fork_waits ? changed_.notify_all() : changed_.notify_one();
}

// Returns with the mutex locked, so that nothing is halfway done when the process is copied.
void CopyPool::before_fork() {
  std::unique_lock<std::mutex> lock(mutex_);
  ++waiting_forks_;
  changed_.wait(lock, [this] { return in_use_count_ == 0; });
  --waiting_forks_;
  lock.release();
}

void CopyPool::after_fork_in_parent() {
  mutex_.unlock();
  changed_.notify_all();
}

// Whoever waited in the parent is absent here, but still counted in the condition variable: it is
// made anew, and not destroyed, which would wait for them.
void CopyPool::after_fork_in_child() {
  new (&changed_) std::condition_variable;
  waiting_forks_ = 0;
  mutex_.unlock();
}

}  // namespace Quarrow::interpreter
