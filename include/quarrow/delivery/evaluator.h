// Evaluation of messages in a process that can do nothing else.
//
// A helper process parses a stranger's message and runs the interpreter over it. The helper has no
// network, writes no files, makes no processes, and has limits on memory and time. Whatever a
// message or a script does to the helper, the caller gets an answer in time.
#ifndef QUARROW_DELIVERY_EVALUATOR_H_
#define QUARROW_DELIVERY_EVALUATOR_H_

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>

#include "quarrow/delivery/evaluation_outcome.h"

namespace Quarrow::Delivery {

// How much memory and time a helper process may take, and how long it serves.
struct EvaluatorLimits {
  // Bytes of address space, beyond those at the start of the process. The interpreter may map 128
  // MiB of them; the rest is for the header block, of which there are several copies in memory.
  std::uint64_t memory = std::uint64_t{512} << 20;
  // The time for one message, after which the helper is killed. Hostile headers take less than a
  // second, and the rules of nearly all users less than a millisecond.
  std::chrono::milliseconds time{2000};
  // A helper is replaced after this number of messages. A message that takes its helper over can
  // read, and decide about, only those that come after it to the same helper.
  std::uint64_t messages = 64;
  // Whether helpers are made by a process that was forked when the evaluator was made, so that they
  // hold nothing of later messages, and the next one is made while the caller stores a message.
  // Otherwise the caller is forked when a helper is needed, which suits few messages or those of
  // one user.
  bool made_ahead = true;
  // A helper is replaced when, after a message, it uses this number of bytes of memory more than at
  // its start, or that can't be told.
  std::uint64_t growth = std::uint64_t{64} << 20;
  // The number of scripts that stay compiled: the scripts of the users who got mail last. A
  // compiled script takes about 70 KiB.
  std::size_t cached_scripts = 64;
  // How long the evaluator waits for a missing script, when the rules that the script is made from
  // were changed in the last ten seconds: a commit of changed rules removes the old script just
  // before it puts the new script in place.
  std::chrono::milliseconds script_wait{200};
};

struct Answer;
class HelperSupply;
class MemoryWatch;
struct Request;

// Evaluates messages through one helper process. The helper is started before the first message,
// and replaced when it dies, hangs, answers nonsense, has served its messages or has grown. It is
// forked from the process that owns the evaluator; that process must have no other threads, now and
// whenever it evaluates. One thread uses the evaluator. The helper ends with the evaluator.
class Evaluator {
 public:
  // Starts the helper. After a start that failed, each message tries again.
  explicit Evaluator(const EvaluatorLimits& limits = EvaluatorLimits());
  ~Evaluator();
  Evaluator(const Evaluator&) = delete;
  Evaluator& operator=(const Evaluator&) = delete;

  // Runs the script at `script_path` over the message in the file `message_fd`. The file is read
  // from its start, whatever its position is, and stays open. `size`, in bytes, is the size that
  // the script tests; `received` is the time when the message arrived. Returns after at most the
  // limit on time, the wait for a missing script, and the start of a helper. Any outcome of
  // Evaluation is possible; no message and no script makes this function throw.
  Evaluation evaluate(int message_fd, std::uint64_t size, std::time_t received,
                      const std::string& script_path);

  // The same for a script by its text, of which the first 32768 bytes count.
  Evaluation evaluate_script(int message_fd, std::uint64_t size, std::time_t received,
                             const std::string& script);

  // The value that a test of the header `name` would compare, such as "subject", or
  // "zvx-received-date" for the day of `received`. Neither this function nor the caller parses the
  // message: the helper does.
  HeaderValue header_value(int message_fd, std::time_t received, const std::string& name);

  // Ends the helper without waiting until it is gone, for a caller that has other work to do but no
  // more messages. If a message comes nevertheless, it gets a new helper.
  void dismiss();

  // The process id of the helper that the next message goes to, for a caller that watches its
  // processes; -1 when there is none yet.
  pid_t helper() const { return socket_ >= 0 ? helper_ : -1; }

 private:
  using Clock = std::chrono::steady_clock;

  // Has the helper answer `request`, for which `text` is the script or the header's name.
  Answer ask(int message_fd, Request request, std::string_view text);
  void start();
  std::string stop();  // gives how the helper ended, for a log
  Answer receive(Clock::time_point deadline);
  Answer too_slow();
  // Ends the helper. Where `reason` is empty, its end is the reason.
  Answer failure(const std::string& reason);

  const EvaluatorLimits limits_;
  std::unique_ptr<HelperSupply> supply_;
  pid_t helper_ = -1;
  int socket_ = -1;                      // to the helper
  std::unique_ptr<MemoryWatch> memory_;  // of a helper that serves more than one message
  std::uint64_t served_ = 0;             // messages by this helper
  std::uint64_t sequence_ = 0;           // number of the latest request
  // Room for an answer. It is not initialized: an answer is short, and filling the whole room would
  // take longer than an evaluation.
  const std::unique_ptr<char[]> packet_;
};

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_EVALUATOR_H_
