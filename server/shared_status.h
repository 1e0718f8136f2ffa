// What the supervisor tells of the server to processes that it starts.
#ifndef QUARROW_SERVER_SHARED_STATUS_H_
#define QUARROW_SERVER_SHARED_STATUS_H_

#include <atomic>
#include <cstddef>

namespace Quarrow::Server {

// In memory that is shared with the processes forked later. Nobody waits for it.
class SharedStatus {
 public:
  // No workers, and no stop. Without memory the process ends: it has hardly started.
  SharedStatus();
  ~SharedStatus();
  SharedStatus(const SharedStatus&) = delete;
  SharedStatus& operator=(const SharedStatus&) = delete;

  // How many workers are alive and not told to stop.
  void set_workers(std::size_t count) { told_->workers = count; }
  std::size_t workers() const { return told_->workers; }

  // That the server was told to stop: it takes no more clients.
  void set_stopping() { told_->is_stopping = true; }
  bool is_stopping() const { return told_->is_stopping; }

 private:
  struct Told {
    std::atomic<std::size_t> workers{0};
    std::atomic<bool> is_stopping{false};
  };

  Told* const told_;
};

}  // namespace Quarrow::Server

#endif  // QUARROW_SERVER_SHARED_STATUS_H_
