// Refiling beside the work that finds out which messages are to be refiled.
#ifndef QUARROW_REFILING_REFILING_THREAD_H_
#define QUARROW_REFILING_REFILING_THREAD_H_

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "administration/refusal.h"
#include "refiling/refiler.h"

namespace Quarrow::Refiling {

// Calls from a thread, kept for an observer that belongs to another one.
class KeptCalls : public RefilingObserver {
 public:
  void on_done() override;
  void on_failure(const std::string& unique, const std::string& reason) override;

  // Tells `observer` of the calls since the last time.
  void tell(RefilingObserver& observer);

 private:
  std::mutex mutex_;
  std::size_t done_ = 0;
  std::vector<std::pair<std::string, std::string>> failures_;
};

// One run of a Refiler, in a thread that begins with the first message. Others wait neither for the
// disk nor for the folders, and the observer is only called by those who call this object.
class RefilingThread {
 public:
  // All of these outlive this object.
  RefilingThread(const std::string& folder, Journal& journal, RefilingObserver& observer);
  ~RefilingThread();
  RefilingThread(const RefilingThread&) = delete;
  RefilingThread& operator=(const RefilingThread&) = delete;

  // These are the Refiler's, but that add() waits for no disk while few messages are to be moved,
  // and that finish() tells of its refusals. Where many are, waiting leaves the thread a processor:
  // else there would be most of them left when all is decided.
  Administration::Refusal begin(const std::string& from);
  void add(Refiled message);
  Administration::Refusal finish();

 private:
  void end();
  void work();

  RefilingObserver& observer_;
  KeptCalls calls_;
  Refiler refiler_;
  std::thread thread_;
  Administration::Refusal refusal_;  // the thread's own while it is there

  std::mutex mutex_;  // of what follows
  std::condition_variable has_news_;
  std::condition_variable has_room_;
  std::vector<Refiled> added_;
  bool is_last_ = false;
  bool is_over_ = false;
};

}  // namespace Quarrow::Refiling

#endif  // QUARROW_REFILING_REFILING_THREAD_H_
