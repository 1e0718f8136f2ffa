// A run that several processes share.
#ifndef QUARROW_TRIAL_PARALLEL_RUN_H_
#define QUARROW_TRIAL_PARALLEL_RUN_H_

#include <cstddef>
#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "trial/run.h"

namespace Quarrow::Trial {

// Whether the messages of `sources` are so many that sharing them among processes saves more than
// it costs to start them: 1000 files, or files of 8 MiB together.
bool is_long_work(const std::vector<MailSource>& sources);

// Makes the evaluator of another process; null when there can't be one.
using MakeEvaluator = std::function<std::unique_ptr<MessageEvaluator>()>;

// Does the same as run(), and tells `observer` the same in the same order, but has `jobs` processes
// read and evaluate the messages, each with an evaluator from `make` and on a processor of its own
// as long as there are enough. A stream is read by this process, with `evaluator`; so is all that
// a process had to do that ended before it answered, and all when no process can be started. The
// processes are some batches ahead of the observer at most.
RunResult run_in_parallel(const std::vector<MailSource>& sources, MessageEvaluator& evaluator,
                          const MakeEvaluator& make, std::size_t jobs, Observer& observer,
                          const RunSettings& settings = {});

}  // namespace Quarrow::Trial

#endif  // QUARROW_TRIAL_PARALLEL_RUN_H_
