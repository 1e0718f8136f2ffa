// The plan, the moves and the undo of quarrow apply, with a state in a file in place of a terminal.
#include "refiling/background_refiling.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "administration/user_folder.h"
#include "message_filters/user_files.h"
#include "refiling/journal.h"
#include "refiling/mail_folder.h"
#include "refiling/refiler.h"
#include "refiling/refiling_files.h"
#include "refiling/refiling_thread.h"
#include "system/lasting_process.h"
#include "system/packet.h"
#include "trial/run.h"

namespace Quarrow::Refiling {
namespace {

using Administration::Refusal;
using Administration::UserFolder;
using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds between_states{250};

// Where the process works: the user's folder is its working folder.
const char own_folder[] = ".";

Stage first_stage(Order::Kind kind) {
  switch (kind) {
    case Order::Kind::plan:
      return Stage::planning;
    case Order::Kind::file:
      return Stage::filing;
    default:
      return Stage::undoing;
  }
}

Stage last_stage(Order::Kind kind) {
  switch (kind) {
    case Order::Kind::plan:
      return Stage::planned;
    case Order::Kind::file:
      return Stage::filed;
    default:
      return Stage::undone;
  }
}

// Keeps the state, and writes it now and then.
class StateKeeper {
 public:
  // Both outlive this object.
  StateKeeper(const RefilingFiles& files, const Order& order) : files_(files) {
    state_.stage = first_stage(order.kind);
    state_.folder = order.folder;
    state_.rule = order.wish.rule;
    state_.revision = order.revision;
    state_.key = order.key;
    state_.started = std::time(nullptr);
  }

  Refusal begin() {
    written_ = Clock::now();
    return files_.write(state_);
  }

  // Told at once: whoever looks after an end before the next state knows of how many.
  void expect(std::uint64_t total) {
    state_.total = total;
    tell();
  }

  void count(PlannedMessage message) {
    for (auto& folder : message.folders) folder = readable_folder(folder);
    count_in(state_.counts, message);
    if (message.fate == Fate::not_evaluated) fail(message.file, message.note);
  }

  void fail(const std::string& message, const std::string& reason) {
    ++state_.failures;
    if (state_.failure_examples.size() < most_failure_examples)
      state_.failure_examples.push_back(message + ": " + reason);
  }

  // A message that got another name meanwhile is looked at once more, and counts once.
  void advance(std::uint64_t count) {
    state_.done = std::min(state_.done + count, state_.total);
    if (Clock::now() - written_ >= between_states) tell();
  }

  void tell() {
    written_ = Clock::now();
    (void)files_.write(state_);  // a full disk may have room for the next one
  }

  // Where even this state can't be written, the work counts as interrupted.
  void end(Stage stage, const std::string& reason = "") {
    state_.stage = stage;
    state_.reason = reason;
    state_.ended = std::time(nullptr);
    (void)files_.write(state_);
  }

 private:
  const RefilingFiles& files_;
  RefilingState state_;
  Clock::time_point written_;
};

// Keeps what becomes of moves, or of the steps of an undo.
class KeptMoves : public RefilingObserver {
 public:
  KeptMoves(StateKeeper& state, Order::Kind kind)
      : state_(state), step_(kind == Order::Kind::undo) {}

  void on_done() override { state_.advance(step_); }
  void on_failure(const std::string& unique, const std::string& reason) override {
    state_.fail(unique, reason);
    state_.advance(step_);
  }

 private:
  StateKeeper& state_;
  const std::uint64_t step_;  // in a run, messages count when they are decided about
};

// One piece of work whose files are locked.
class Work {
 public:
  Work(const Order& order, RefilingFiles& files, Journal& journal, StateKeeper& state)
      : order_(order), files_(files), journal_(journal), state_(state), moves_(state, order.kind) {}

  void undo(const std::vector<Step>& steps) {
    state_.expect(steps.size());
    end(Refiler(own_folder, journal_, moves_).undo(steps));
  }

  void run(const Trial::MakeEvaluator& make) {
    const std::string maildir = in_folder(own_folder, maildir_name);
    std::optional<Trial::SourceFailure> failure;
    const auto sources = sources_for(maildir, order_.wish, failure);
    if (failure) return state_.end(Stage::failed, "the folder can't be read: " + failure->reason);
    const auto evaluator = make();
    if (!evaluator) return state_.end(Stage::failed, "the rules can't be run");
    state_.expect(sources.size());
    const auto evaluate = [&](const auto& round, Trial::Observer& planner) {
      evaluate_in_batches(round, *evaluator, planner);
    };
    if (order_.kind == Order::Kind::plan) {
      (void)plan_refiling(maildir, order_.wish, sources, evaluate,
                          [this](const PlannedMessage& message) { state_.count(message); });
      return end({});
    }
    RefilingThread refiling(own_folder, journal_, moves_);
    if (const Refusal refusal = refiling.begin(order_.wish.folder)) return end(refusal);
    (void)plan_refiling(maildir, order_.wish, sources, evaluate,
                        [&](const PlannedMessage& message) {
                          state_.count(message);
                          if (auto task = task_of(message)) refiling.add(std::move(*task));
                        });
    state_.tell();  // the last messages may take a while
    end(refiling.finish());
  }

 private:
  // One process does it, so that the machine has processors left.
  void evaluate_in_batches(const std::vector<Trial::MailSource>& round,
                           Trial::MessageEvaluator& evaluator, Trial::Observer& planner) {
    for (std::size_t done = 0; done < round.size(); done += stop_batch) {
      is_stopped_ = is_stopped_ || files_.is_asked_to_stop();
      if (is_stopped_) return;
      const auto begin = round.begin() + static_cast<std::ptrdiff_t>(done);
      const std::size_t count = std::min(stop_batch, round.size() - done);
      (void)Trial::run({begin, begin + static_cast<std::ptrdiff_t>(count)}, evaluator, planner,
                       {std::nullopt, order_.wish.dots});
      state_.advance(count);
    }
  }

  void end(const Refusal& refusal) {
    if (refusal) return state_.end(Stage::failed, refusal.reason);
    state_.end(is_stopped_ ? Stage::stopped : last_stage(order_.kind));
  }

  const Order& order_;
  RefilingFiles& files_;
  Journal& journal_;
  StateKeeper& state_;
  KeptMoves moves_;
  bool is_stopped_ = false;
};

// Opens the journal, and for an undo reads what is to be undone.
Refusal open_journal(const Order& order, Journal& journal, std::vector<Step>& steps) {
  if (order.kind == Order::Kind::plan) return {};
  if (const Refusal refusal = journal.open(own_folder)) return refusal;
  if (order.kind != Order::Kind::undo) return {};
  std::optional<std::vector<Step>> last;
  if (const Refusal refusal = journal.read_last_run(last)) return refusal;
  if (!last) return {Refusal::Kind::nothing_to_undo, journal_name, "there is nothing to undo"};
  steps = std::move(*last);
  return {};
}

std::string packet_of(const Refusal& refusal) {
  PacketWriter writer;
  writer.number(static_cast<std::uint64_t>(refusal.kind));
  writer.text(refusal.object);
  writer.text(refusal.reason);
  return writer.packet();
}

// The sender is this program.
Refusal refusal_in(const std::string& packet) {
  PacketReader reader(packet);
  const auto kind = static_cast<Refusal::Kind>(reader.number());
  const std::string object = reader.text();
  return {kind, object, reader.text()};
}

}  // namespace

Refusal refile(const std::string& user_folder, const Order& order, const Trial::MakeEvaluator& make,
               const std::function<void()>& on_begun) {
  UserFolder folder(user_folder);
  if (const Refusal refusal = folder.open()) return refusal;
  if (!folder.is_open()) return {Refusal::Kind::no_such_user, user_folder, "there is no such user"};
  if (fchdir(folder.fd()) != 0)
    return Administration::system_refusal(user_folder, "can't be entered", errno);
  RefilingFiles files(folder);
  if (const Refusal refusal = files.lock()) return refusal;
  Journal journal;
  std::vector<Step> steps;
  if (const Refusal refusal = open_journal(order, journal, steps)) return refusal;
  files.forget_stop();
  StateKeeper state(files, order);
  if (const Refusal refusal = state.begin()) return refusal;
  on_begun();
  Work work(order, files, journal, state);
  if (order.kind == Order::Kind::undo)
    work.undo(steps);
  else
    work.run(make);
  return {};
}

Refusal start_refiling(const std::string& user_folder, const Order& order,
                       const Trial::MakeEvaluator& make) {
  const auto report = start_lasting_process([&](const Report& tell) {
    (void)prctl(PR_SET_NAME, "quarrow-refile");  // for a list of processes
    const Refusal refusal =
        refile(user_folder, order, make, [&tell] { tell(packet_of(Refusal())); });
    if (refusal) tell(packet_of(refusal));
  });
  if (report) return refusal_in(*report);
  return {Refusal::Kind::unavailable, user_folder,
          "no process can do the work: " +
              std::string(errno == 0 ? "it ended too soon" : std::strerror(errno))};
}

}  // namespace Quarrow::Refiling
