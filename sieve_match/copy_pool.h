// Which of several equal things are in use: here, the copies of libsieve.
#ifndef QUARROW_SIEVE_MATCH_COPY_POOL_H_
#define QUARROW_SIEVE_MATCH_COPY_POOL_H_

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <vector>

namespace Quarrow::interpreter {

// Safe to be used by many threads at once. Copies are known by their numbers, from 0.
class CopyPool {
 public:
  explicit CopyPool(std::size_t count);
  CopyPool(const CopyPool&) = delete;
  CopyPool& operator=(const CopyPool&) = delete;

  // Takes the copy `wanted` if it is free, or else the first that is. Waits while none is.
  std::size_t take(std::size_t wanted);

  // Gives back a copy that was taken.
  void give_back(std::size_t copy);

  // For pthread_atfork. A child has none of the threads that used a copy when it was forked, and
  // they would hold it for ever. So a fork waits until no copy is in use, and those who want one
  // wait for the fork.
  void before_fork();
  void after_fork_in_parent();
  void after_fork_in_child();

 private:
  bool is_one_free() const { return in_use_count_ < in_use_.size(); }

  std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<bool> in_use_;
  std::size_t in_use_count_ = 0;
  std::size_t waiting_forks_ = 0;
};

}  // namespace Quarrow::interpreter

#endif  // QUARROW_SIEVE_MATCH_COPY_POOL_H_
