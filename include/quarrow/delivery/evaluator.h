// Evaluation of messages in a process that can do nothing else.
//
// Parsing a stranger's message and running the interpreter over it happen in a helper process
// without network, files to write or further processes, within limits on memory and time. Whatever
// a message or a script does to the helper, the caller gets an answer in time.
#ifndef QUARROW_DELIVERY_EVALUATOR_H_
#define QUARROW_DELIVERY_EVALUATOR_H_

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>

#include "quarrow/delivery/evaluation_outcome.h"

namespace Quarrow::Delivery {

// What a helper process may take, and how long one serves.
struct EvaluatorLimits {
  // Bytes of address space beyond what the process starts with. The interpreter may map 128 MiB of
  // them; the rest is for the header block, which is in memory a few times over.
  std::uint64_t memory = std::uint64_t{512} << 20;
  // For one message; the helper is killed then. Hostile headers take below a second.
  std::chrono::milliseconds time{10000};
  // A helper is replaced once it has served so many messages, so that nothing lives for ever.
  std::uint64_t messages = 100000;
  // Bytes of memory in use, beyond what the process starts with, above which it is replaced after a
  // message.
  std::uint64_t growth = std::uint64_t{64} << 20;
  // Scripts that stay compiled: those of the users who got mail last. One takes some 70 KiB.
  std::size_t cached_scripts = 64;
  // How long a script that is missing is waited for, when rules that it is made from are there: a
  // commit of changed rules takes the old script away just before it puts the new one in place.
  std::chrono::milliseconds script_wait{200};
};

// Evaluates messages through one helper process, which is started ahead and replaced when it dies,
// hangs, answers nonsense, has served its messages or has grown. A helper is forked from the
// process that owns the evaluator: one without further threads, now and whenever it evaluates. Used
// by one thread. The helper goes with the evaluator.
class Evaluator {
 public:
  // Starts the helper. A start that fails is tried again with each message.
  explicit Evaluator(const EvaluatorLimits& limits = EvaluatorLimits());
  ~Evaluator();
  Evaluator(const Evaluator&) = delete;
  Evaluator& operator=(const Evaluator&) = delete;

  // Runs the script at `script_path` over the message in the file `message_fd`, which is read from
  // its start wherever its position is, and left open. `size`, in bytes, is what the script's size
  // tests see; `received` is when the message arrived. Returns within limits().time, the wait for a
  // missing script and the start of a helper. Every outcome of Evaluation occurs; never throws for
  // what a message or a script holds.
  Evaluation evaluate(int message_fd, std::uint64_t size, std::time_t received,
                      const std::string& script_path);

  // Ends the helper without waiting until it is gone, for who has no more messages for it but other
  // things to do. A message that comes all the same gets a new one.
  void dismiss();

  // The helper's process id, for who watches over processes; -1 when none could be started.
  pid_t helper() const { return helper_; }

 private:
  void start();
  std::string stop();     // how the helper ended
  std::string replace();  // how the old one did
  Evaluation receive();
  // Replaces the helper; without a reason the old one's end is the reason.
  Evaluation failure(const std::string& reason);

  const EvaluatorLimits limits_;
  pid_t helper_ = -1;
  int socket_ = -1;             // to the helper
  std::uint64_t served_ = 0;    // messages by this helper
  std::uint64_t sequence_ = 0;  // number of the latest request
  // Room for an answer. Left as it comes: an answer is short, and filling all would take longer
  // than an evaluation.
  const std::unique_ptr<char[]> packet_;
};

}  // namespace Quarrow::Delivery

#endif  // QUARROW_DELIVERY_EVALUATOR_H_
