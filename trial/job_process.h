// A process that does numbered pieces of work for another one.
#ifndef QUARROW_TRIAL_JOB_PROCESS_H_
#define QUARROW_TRIAL_JOB_PROCESS_H_

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace Quarrow::Trial {

// Does a piece of work; gives its answer.
using Work = std::function<std::string(std::uint64_t number)>;

// A child process that does what it is given, in that order. It ends with this object, or with the
// process that started it.
class JobProcess {
 public:
  // Forks. The child calls `prepare` once, for the work that it does then; it ends when that gives
  // none. Where no process can be started, give() fails.
  explicit JobProcess(const std::function<Work()>& prepare);
  ~JobProcess();
  JobProcess(const JobProcess&) = delete;
  JobProcess& operator=(const JobProcess&) = delete;

  // Has the piece of work `number` done. False when the process is gone. Does not block as long as
  // few answers are outstanding.
  bool give(std::uint64_t number) const;

  // Readable when an answer comes, or the process is gone.
  int socket() const { return socket_; }

  // Waits for the next answer. Nothing when the process is gone.
  std::optional<std::string> take() const;

  // -1 when it could not be started.
  pid_t process() const { return process_; }

 private:
  int socket_ = -1;
  pid_t process_ = -1;
};

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_JOB_PROCESS_H_
