// Users to whichever process is free, and their findings in order.
#include "doctor/examination_run.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <deque>
#include <map>
#include <memory>
#include <optional>

#include "administration/guarded_process.h"
#include "administration/rules_transaction.h"
#include "administration/users.h"
#include "system/owner_rights.h"
#include "trial/job_process.h"

namespace Quarrow::Doctor {
namespace {

using Administration::GuardedOutcome;
using Trial::JobProcess;

// What a process has to do: one user in work, and the next ones.
constexpr std::size_t users_given = 4;

// How many users, for each process, may be ahead of the one that is told.
constexpr std::size_t users_ahead = 64;

struct Owner {
  uid_t user = 0;
  gid_t group = 0;

  bool operator==(const Owner& other) const { return user == other.user && group == other.group; }
};

// A process, and those whose rights it has.
struct Job {
  Owner owner;
  std::unique_ptr<JobProcess> process;
  std::deque<std::size_t> given;  // users that are not answered yet
};

// A damaged document ends this process, which is no surprise.
void expect_to_be_ended() {
  const rlimit no_core = {0, 0};
  (void)setrlimit(RLIMIT_CORE, &no_core);
  (void)std::signal(SIGABRT, SIG_DFL);
  const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
  if (null >= 0) (void)dup2(null, STDERR_FILENO);  // a failed assertion would write to it
}

class ExaminationRun {
 public:
  ExaminationRun(const std::vector<EmailAddress>& users, const Examination& examination,
                 const Tell& tell)
      : users_(users), examination_(examination), tell_(tell) {}

  void run(std::size_t jobs) {
    jobs_.resize(std::max<std::size_t>(1, std::min(jobs, users_.size())));
    for (std::size_t told = 0; told < users_.size(); ++told) {
      for (give_out(told); answers_.count(told) == 0; give_out(told)) receive();
      tell_(told, answers_.extract(told).mapped());
    }
  }

 private:
  void give_out(std::size_t told) {
    while (next_ < users_.size() && next_ < told + users_ahead * jobs_.size()) {
      const Owner owner = owner_of(next_);
      Job* const job = job_for(owner);
      if (!job) return;
      if (!job->process) start(*job, owner);
      if (job->process->give(next_))
        job->given.push_back(next_++);
      else if (job->given.empty())
        look_alone(next_++), job->process.reset();
      else
        return;  // it is gone, and what it had to do comes first
    }
  }

  Owner owner_of(std::size_t user) const {
    struct stat status {};
    if (geteuid() != 0 || stat(Administration::user_folder(users_[user]).c_str(), &status) != 0)
      return {};
    return {status.st_uid, status.st_gid};
  }

  // The process with the least to do that has the rights of `owner`, or can be replaced by one
  // that has; null when all have enough to do.
  Job* job_for(const Owner& owner) {
    Job* best = nullptr;
    for (Job& job : jobs_) {
      const bool fits = !job.process || job.owner == owner || job.given.empty();
      if (!fits || job.given.size() >= users_given) continue;
      if (!best || job.given.size() < best->given.size()) best = &job;
    }
    if (best && best->process && !(best->owner == owner)) best->process.reset();
    return best;
  }

  void start(Job& job, const Owner& owner) {
    job.owner = owner;
    job.process = std::make_unique<JobProcess>([this, owner]() -> Trial::Work {
      expect_to_be_ended();
      if (geteuid() == 0 && owner.user != 0 && !take_on_rights(owner.user, owner.group))
        return nullptr;
      return [this](std::uint64_t user) {
        return packet_of(examine_user(users_[user], examination_));
      };
    });
  }

  void receive() {
    std::vector<pollfd> sockets;
    std::vector<Job*> waiting;
    for (Job& job : jobs_) {
      if (job.given.empty()) continue;
      sockets.push_back({job.process->socket(), POLLIN, 0});
      waiting.push_back(&job);
    }
    if (poll(sockets.data(), sockets.size(), -1) < 0) return;  // a signal
    for (std::size_t i = 0; i < waiting.size(); ++i)
      if (sockets[i].revents != 0) receive(*waiting[i]);
  }

  void receive(Job& job) {
    const auto packet = job.process->take();
    auto findings = packet ? findings_in(*packet) : std::nullopt;
    if (!findings) return lose(job);
    answers_[job.given.front()] = std::move(*findings);
    job.given.pop_front();
  }

  // The first user ended the process, which has done nothing yet for the others.
  void lose(Job& job) {
    const std::deque<std::size_t> given = std::move(job.given);
    const Owner owner = job.owner;
    job = {};
    look_alone(given.front());
    for (std::size_t i = 1; i < given.size(); ++i) {
      if (!job.process) start(job, owner);
      if (job.process->give(given[i]))
        job.given.push_back(given[i]);
      else
        look_alone(given[i]);
    }
  }

  // Looks at the user in a process that tells how it ended, and leaves the rules out if it did.
  void look_alone(std::size_t user) {
    const auto look = [&](const auto& examine) {
      return Administration::run_guarded(
          Administration::rules_document(users_[user].address()), [&]() -> GuardedOutcome {
            expect_to_be_ended();
            return {{}, packet_of(examine(users_[user], examination_))};
          });
    };
    const GuardedOutcome outcome = look(examine_user);
    if (!outcome.refusal) {
      answers_[user] = findings_in(outcome.answer).value_or(Findings());
      return;
    }
    const GuardedOutcome rest = look(examine_user_without_rules);
    Findings findings = findings_in(rest.answer).value_or(Findings());
    findings.push_back(finding_of(outcome.refusal));
    answers_[user] = std::move(findings);
  }

  static Finding finding_of(const Administration::Refusal& refusal) {
    const bool is_damaged = refusal.kind == Administration::Refusal::Kind::damaged_document;
    const std::size_t advice = is_damaged ? refusal.reason.rfind("; ") : std::string::npos;
    if (advice == std::string::npos)
      return {Severity::error, is_damaged ? Code::damaged_document : Code::crashed, refusal.object,
              refusal.reason, "look at the files in the folder"};
    return {Severity::error, Code::damaged_document, refusal.object,
            refusal.reason.substr(0, advice), refusal.reason.substr(advice + 2)};
  }

  const std::vector<EmailAddress>& users_;
  const Examination& examination_;
  const Tell& tell_;
  std::vector<Job> jobs_;
  std::size_t next_ = 0;                     // the first user that is not given out
  std::map<std::size_t, Findings> answers_;  // by user, of those that are not told yet
};

}  // namespace

void examine_users(const std::vector<EmailAddress>& users, const Examination& examination,
                   std::size_t jobs, const Tell& tell) {
  ExaminationRun(users, examination, tell).run(jobs);
}

}  // namespace Quarrow::Doctor
