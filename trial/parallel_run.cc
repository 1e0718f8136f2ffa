// Batches to whichever process is free, and their results in order.
#include "trial/parallel_run.h"

#include <poll.h>

#include <algorithm>
#include <deque>
#include <map>
#include <string>
#include <utility>

#include "system/processors.h"
#include "trial/batch.h"
#include "trial/batch_evaluation.h"
#include "trial/counting_observer.h"
#include "trial/job_process.h"
#include "trial/recorded_calls.h"

namespace Quarrow::Trial {
namespace {

// What a process has to do: one batch in work, and the next one.
constexpr std::size_t batches_given = 2;

// How many batches, for each process, may be ahead of the one that is told.
constexpr std::size_t batches_ahead = 8;

struct Job {
  explicit Job(const std::function<Work()>& prepare) : process(prepare) {}

  const JobProcess process;
  std::deque<std::size_t> given;  // batches that are not answered yet
};

// What one process needs to evaluate batches.
struct Evaluating {
  Evaluating(const std::vector<MailSource>& sources, std::unique_ptr<MessageEvaluator> made,
             std::optional<std::time_t> received)
      : evaluator(std::move(made)), evaluation(sources, *evaluator, recorder, received) {}

  const std::unique_ptr<MessageEvaluator> evaluator;
  CallRecorder recorder;
  BatchEvaluation evaluation;
};

class ParallelRun {
 public:
  ParallelRun(const std::vector<MailSource>& sources, MessageEvaluator& evaluator,
              Observer& observer, const RunSettings& settings)
      : sources_(sources),
        received_(settings.received),
        batches_(batches_of(sources)),
        observer_(observer, settings.dots),
        here_(sources, evaluator, observer_, received_) {}

  RunResult run(const MakeEvaluator& make, std::size_t jobs) {
    start(make, std::min(jobs, batches_.size()));
    for (told_ = 0; told_ < batches_.size(); ++told_) {
      for (give_out(); records_.count(told_) == 0; give_out()) receive();
      tell(batches_[told_]);
    }
    return observer_.result();
  }

 private:
  using Jobs = std::vector<std::unique_ptr<Job>>;

  void start(const MakeEvaluator& make, std::size_t jobs) {
    const std::vector<int> processors = usable_processors();
    while (jobs_.size() < jobs) {
      const int processor = processors.empty() ? -1 : processors[jobs_.size() % processors.size()];
      jobs_.push_back(std::make_unique<Job>([&] {
        stay_on_processor(processor);
        return work(make());
      }));
    }
    ahead_ = batches_ahead * jobs;
  }

  // What a process does with the batches that it is given; nothing without an evaluator.
  Work work(std::unique_ptr<MessageEvaluator> evaluator) const {
    if (!evaluator) return nullptr;
    const auto job = std::make_shared<Evaluating>(sources_, std::move(evaluator), received_);
    return [this, job](std::uint64_t number) -> std::string {
      const Batch& batch = batches_[number];
      job->evaluation.evaluate(batch);
      const bool failed = job->recorder.has_failure();
      std::string record = job->recorder.finish();
      // the other parts may have been read: see evaluate_here()
      return failed && batch.is_part() ? "" : record;
    };
  }

  // Gives batches to the processes that have little to do. Without any, all are left to this one.
  void give_out() {
    while (next_ < batches_.size() && next_ <= told_ + ahead_) {
      if (batches_[next_].is_stream || jobs_.empty()) {
        records_[next_++];
        continue;
      }
      const auto job = std::min_element(
          jobs_.begin(), jobs_.end(),
          [](const auto& a, const auto& b) { return a->given.size() < b->given.size(); });
      if ((*job)->given.size() >= batches_given) return;
      if ((*job)->process.give(next_))
        (*job)->given.push_back(next_++);
      else
        lose(job);
    }
  }

  // Waits for answers.
  void receive() {
    std::vector<pollfd> sockets;
    for (const auto& job : jobs_) sockets.push_back({job->process.socket(), POLLIN, 0});
    if (poll(sockets.data(), sockets.size(), -1) < 0) return;  // a signal
    for (std::size_t i = jobs_.size(); i-- > 0;)
      if (sockets[i].revents != 0) receive(jobs_.begin() + static_cast<std::ptrdiff_t>(i));
  }

  void receive(Jobs::iterator job) {
    auto record = (*job)->process.take();
    if (!record || (*job)->given.empty()) return lose(job);
    records_[(*job)->given.front()] = std::move(*record);
    (*job)->given.pop_front();
  }

  // The process is gone; what it had to do is left to this one.
  void lose(Jobs::iterator job) {
    for (const std::size_t batch : (*job)->given) records_[batch];
    jobs_.erase(job);
  }

  void tell(const Batch& batch) {
    const auto record = records_.extract(told_);
    if (!replay(record.mapped(), observer_)) evaluate_here(batch);
  }

  // A source that can't be read is told once, whatever the number of its parts.
  void evaluate_here(const Batch& batch) {
    if (batch.is_part() && failed_ == batch.source) return;
    const std::uint64_t failures = observer_.result().failed_sources;
    here_.evaluate(batch);
    if (observer_.result().failed_sources > failures) failed_ = batch.source;
  }

  const std::vector<MailSource>& sources_;
  const std::optional<std::time_t> received_;
  const std::vector<Batch> batches_;
  CountingObserver observer_;
  BatchEvaluation here_;
  Jobs jobs_;
  std::size_t ahead_ = 0;  // batches
  std::size_t next_ = 0;   // the first batch that is not given out
  std::size_t told_ = 0;   // the batch that the observer is told of now
  // By batch, of those that are done and not told. Empty: the batch is left to this process.
  std::map<std::size_t, std::string> records_;
  std::optional<std::size_t> failed_;  // the latest source that this process could not read
};

}  // namespace

bool is_long_work(const std::vector<MailSource>& sources) {
  return sources.size() >= 1000 || total_size(sources) >= std::uint64_t{8} << 20;
}

RunResult run_in_parallel(const std::vector<MailSource>& sources, MessageEvaluator& evaluator,
                          const MakeEvaluator& make, std::size_t jobs, Observer& observer,
                          const RunSettings& settings) {
  return ParallelRun(sources, evaluator, observer, settings).run(make, jobs);
}

}  // namespace Quarrow::Trial
