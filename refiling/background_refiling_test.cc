// Work that ends well, is stopped, killed, and done twice.
#include "refiling/background_refiling.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "refiling/journal.h"
#include "refiling/refiling_files.h"
#include "refiling/refiling_test_support.h"
#include "system/child_process_test_support.h"
#include "trial/run.h"

namespace Quarrow::Refiling {
namespace {

using Administration::Refusal;
using Administration::UserFolder;
using Delivery::Evaluation;
using Kind = Order::Kind;

// Has each message whose text begins with "k" stay, with "n" not evaluated, and files all others.
class FilingEvaluator : public Trial::MessageEvaluator {
 public:
  // `before` is called before each evaluation, with its number.
  explicit FilingEvaluator(std::function<void(int)> before) : before_(std::move(before)) {}

  Evaluation evaluate(const Trial::FoundMessage& message, std::time_t /*received*/) override {
    if (before_) before_(count_++);
    Evaluation evaluation;
    evaluation.outcome = Evaluation::Outcome::done;
    char first = 0;
    EXPECT_EQ(1, pread(message.file, &first, 1, 0));
    if (first == 'n') return failed();
    if (first == 'k') return evaluation;
    SieveAction action;
    action.type = SieveAction::FILEINTO;
    action.mailbox = "Work";
    evaluation.rule = "w";
    evaluation.result.actions.push_back(action);
    return evaluation;
  }

 private:
  static Evaluation failed() {
    Evaluation evaluation;
    evaluation.outcome = Evaluation::Outcome::failed;
    evaluation.reason = "no luck";
    return evaluation;
  }

  const std::function<void(int)> before_;
  int count_ = 0;
};

class BackgroundRefiling : public testing::Test {
 protected:
  BackgroundRefiling() { EXPECT_EQ("", said(folder_.open())); }

  void put(int count) const {
    for (int i = 0; i < count; ++i) maildir_.put("cur/m" + std::to_string(i) + ":2,S");
  }

  static Order order_of(Kind kind) {
    Order order;
    order.kind = kind;
    order.folder = "INBOX";
    order.revision = "0123456789ab";
    return order;
  }

  // How a process ended that did this; its status is the kind of a refusal.
  ProcessEnd end_of(const Order& order, const std::function<void(int)>& before = {}) const {
    const auto make = [&] { return std::make_unique<FilingEvaluator>(before); };
    return end_of_child(
        [&] { return static_cast<int>(refile(maildir_.path(), order, make, [] {}).kind); });
  }

  Refusal::Kind refusal_of(const Order& order) const {
    const ProcessEnd end = end_of(order);
    EXPECT_EQ(0, end.signal);
    return static_cast<Refusal::Kind>(end.status);
  }

  void expect_done(Kind kind) const { EXPECT_EQ(Refusal::Kind::none, refusal_of(order_of(kind))); }

  RefilingState state() const { return RefilingFiles(folder_).read(); }

  std::size_t messages_in(const std::string& folder) const {
    const auto entries = std::filesystem::directory_iterator(maildir_.folder(folder) + "/cur");
    return static_cast<std::size_t>(std::distance(entries, {}));
  }

  const TemporaryMaildir maildir_;
  UserFolder folder_{maildir_.path()};
};

TEST_F(BackgroundRefiling, CountsAsThePlanDoes) {
  for (const char* const path : {"new/a", "cur/b:2,S", "cur/k1", "cur/n1:2,", "new/k2"})
    maildir_.put(path);
  const Lines before = maildir_.messages();
  expect_done(Kind::plan);
  EXPECT_EQ(before, maildir_.messages());
  FilingEvaluator evaluator({});
  std::optional<Trial::SourceFailure> failure;
  const std::string maildir = maildir_.folder("");
  const auto plan = plan_refiling(
      maildir_.file("Maildir"), {}, sources_for(maildir_.file("Maildir"), {}, failure),
      [&](const auto& round, Trial::Observer& planner) {
        (void)Trial::run(round, evaluator, planner);
      },
      [](const PlannedMessage&) {});
  PlanSummary wanted;
  for (const auto& [key, count] : plan.summary()) {
    const auto& [rule, fate, folder] = key;
    wanted[{rule, fate, folder.empty() ? "" : readable_folder(folder)}] = count;
  }
  const RefilingState state = this->state();
  EXPECT_EQ(Stage::planned, state.stage);
  EXPECT_EQ(wanted, state.counts);
  EXPECT_EQ(2U, state.counts.at({"w", Fate::move, "Work"}));
  EXPECT_EQ(5U, state.total);
  EXPECT_EQ(5U, state.done);
  EXPECT_EQ("INBOX", state.folder);
  EXPECT_EQ("0123456789ab", state.revision);
  EXPECT_TRUE(state.ended);
  EXPECT_EQ(1U, state.failures);
  EXPECT_EQ(Lines{"cur/n1:2,: no luck"}, state.failure_examples);
}

TEST_F(BackgroundRefiling, FilesAndUndoes) {
  put(3);
  maildir_.put("new/k");
  const Lines before = maildir_.messages();
  expect_done(Kind::file);
  EXPECT_EQ(Lines({".Work/cur/m0:2,S", ".Work/cur/m1:2,S", ".Work/cur/m2:2,S", "/new/k"}),
            maildir_.messages());
  EXPECT_EQ(Stage::filed, state().stage);
  EXPECT_TRUE(has_run_to_undo(folder_.fd()));
  expect_done(Kind::undo);
  EXPECT_EQ(before, maildir_.messages());
  EXPECT_EQ(Stage::undone, state().stage);
  EXPECT_EQ(3U, state().done);
  EXPECT_EQ(3U, state().total);
  EXPECT_FALSE(has_run_to_undo(folder_.fd()));
  EXPECT_EQ(Refusal::Kind::nothing_to_undo, refusal_of(order_of(Kind::undo)));
  EXPECT_EQ(Stage::undone, state().stage);
}

TEST_F(BackgroundRefiling, TellsWhatCanNotBeMoved) {
  put(2);
  maildir_.make(".Work");
  write_file(maildir_.folder(".Work/cur/m0:2,"), "another one");
  expect_done(Kind::file);
  EXPECT_EQ(Stage::filed, state().stage);
  EXPECT_EQ(1U, state().failures);
  EXPECT_EQ(Lines{"m0: another message of that name is in Work"}, state().failure_examples);
}

TEST_F(BackgroundRefiling, AsksOnlyForTheWish) {
  put(1);
  maildir_.make(".Old");
  maildir_.put(".Old/cur/a");
  Order order = order_of(Kind::file);
  order.wish.folder = ".Old";
  order.wish.rule = "other";
  EXPECT_EQ(Refusal::Kind::none, refusal_of(order));
  EXPECT_EQ("other", state().rule);
  EXPECT_EQ(1U, state().total);
  EXPECT_EQ(PlanSummary(), state().counts);
  order.wish.rule.reset();
  EXPECT_EQ(Refusal::Kind::none, refusal_of(order));
  EXPECT_EQ(Lines({".Work/cur/a", "/cur/m0:2,S"}), maildir_.messages());
}

// Both batches that were decided about are filed, and the third one is left alone.
TEST_F(BackgroundRefiling, StopsBehindABatch) {
  put(130);
  const ProcessEnd end = end_of(order_of(Kind::file), [this](int number) {
    if (number != 60) return;
    EXPECT_EQ("", said(RefilingFiles(folder_).ask_to_stop()));
  });
  EXPECT_EQ(0, end.status);
  EXPECT_EQ(Stage::stopped, state().stage);
  EXPECT_EQ(2 * stop_batch, state().done);
  EXPECT_EQ(130U, state().total);
  EXPECT_EQ(2 * stop_batch, messages_in(".Work"));
  EXPECT_EQ(30U, messages_in(""));
  expect_done(Kind::undo);
  EXPECT_EQ(130U, messages_in(""));
}

TEST_F(BackgroundRefiling, StopsAPlan) {
  put(60);
  (void)end_of(order_of(Kind::plan),
               [this](int) { EXPECT_EQ("", said(RefilingFiles(folder_).ask_to_stop())); });
  EXPECT_EQ(Stage::stopped, state().stage);
  EXPECT_EQ(stop_batch, state().done);
}

TEST_F(BackgroundRefiling, IsNotStoppedByAnEarlierWish) {
  put(1);
  EXPECT_EQ("", said(RefilingFiles(folder_).ask_to_stop()));
  expect_done(Kind::file);
  EXPECT_EQ(Stage::filed, state().stage);
}

// While the first batch is being moved.
TEST_F(BackgroundRefiling, CanBeUndoneAfterItWasKilled) {
  put(static_cast<int>(refiling_batch) + 2);
  const ProcessEnd end = end_of(order_of(Kind::file), [this](int number) {
    if (number <= static_cast<int>(refiling_batch)) return;
    while (!std::filesystem::exists(maildir_.folder(".Work/cur")) || messages_in(".Work") == 0)
      std::this_thread::yield();
    (void)raise(SIGKILL);
  });
  EXPECT_EQ(SIGKILL, end.signal);
  EXPECT_EQ(Stage::interrupted, state().stage);
  EXPECT_LT(0U, messages_in(".Work"));
  EXPECT_TRUE(has_run_to_undo(folder_.fd()));
  expect_done(Kind::undo);
  EXPECT_EQ(Stage::undone, state().stage);
  EXPECT_EQ(0U, messages_in(".Work"));
  EXPECT_EQ(refiling_batch + 2, messages_in(""));
}

TEST_F(BackgroundRefiling, IsDoneOnceAtATime) {
  put(1);
  {
    RefilingFiles files(folder_);
    EXPECT_EQ("", said(files.lock()));
    for (const Kind kind : {Kind::plan, Kind::file, Kind::undo})
      EXPECT_EQ(Refusal::Kind::try_again, refusal_of(order_of(kind)));
  }
  {
    Journal journal;  // as quarrow apply has it
    EXPECT_EQ("", said(journal.open(maildir_.path())));
    for (const Kind kind : {Kind::file, Kind::undo})
      EXPECT_EQ(Refusal::Kind::try_again, refusal_of(order_of(kind)));
    EXPECT_EQ(Refusal::Kind::none, refusal_of(order_of(Kind::plan)));
  }
  EXPECT_EQ(Stage::planned, state().stage);
  EXPECT_EQ(Lines{"/cur/m0:2,S"}, maildir_.messages());
}

TEST_F(BackgroundRefiling, FailsForAReason) {
  put(1);
  const auto no_rules = [] { return std::unique_ptr<Trial::MessageEvaluator>(); };
  EXPECT_EQ(0, end_of_child([&] {
                 return refile(maildir_.path(), order_of(Kind::file), no_rules, [] {}) ? 1 : 0;
               }).status);
  EXPECT_EQ(Stage::failed, state().stage);
  EXPECT_EQ("the rules can't be run", state().reason);
  Order order = order_of(Kind::plan);
  order.wish.folder = ".None";
  EXPECT_EQ(Refusal::Kind::none, refusal_of(order));
  EXPECT_EQ(Stage::failed, state().stage);
  EXPECT_EQ(0U, state().reason.find("the folder can't be read: "));
}

TEST_F(BackgroundRefiling, NeedsTheUsersFolder) {
  const auto none = [] { return std::unique_ptr<Trial::MessageEvaluator>(); };
  EXPECT_EQ(Refusal::Kind::no_such_user,
            refile(maildir_.file("none"), order_of(Kind::plan), none, [] {}).kind);
}

TEST_F(BackgroundRefiling, GoesOnByItself) {
  put(3);
  const std::string script =
      "require \"fileinto\";\nif not exists \"x-none\" { fileinto \"Work\"; }\n";
  const auto make = [&] { return Trial::isolated_text_evaluator(script); };
  const ProcessEnd starter = end_of_child([&] {
    return static_cast<int>(start_refiling(maildir_.path(), order_of(Kind::file), make).kind);
  });
  EXPECT_EQ(0, starter.status);
  // has the lock when the work has ended
  const Descriptor lock(open(maildir_.file(work_lock_name).c_str(), O_RDWR | O_CLOEXEC));
  struct flock whole {};
  whole.l_type = F_WRLCK;
  EXPECT_EQ(0, fcntl(lock.get(), F_OFD_SETLKW, &whole));
  EXPECT_EQ(Stage::filed, state().stage);
  EXPECT_EQ(3U, messages_in(".Work"));
  EXPECT_EQ(Refusal::Kind::try_again,
            start_refiling(maildir_.path(), order_of(Kind::undo), make).kind);
}

}  // namespace
}  // namespace Quarrow::Refiling
