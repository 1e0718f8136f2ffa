// A protocol that only notes down its calls, over a pair of sockets.
#include "server/connection.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

#include "system/child_process_test_support.h"
#include "system/file_io.h"
#include "system/memory_file.h"

namespace Quarrow::Server {
namespace {

using std::chrono::seconds;

// Sends "hello" as its greeting and "thanks" for each block, more than a socket holds for "much". A
// block with an exclamation mark ends the conversation, and so does a second stop, which must not
// come.
class Notes : public Protocol {
 public:
  Notes(int journal, Output output) : journal_(journal), output_(std::move(output)) {}

  void greet() override {
    note("greet");
    say("hello");
  }
  void take(const char* data, std::size_t size) override {
    const std::string text(data, size);
    note("take " + text);
    say(text == "much" ? std::string(10000000, '.') : "thanks");
    over_ = over_ || text.find('!') != std::string::npos;
  }
  void stop() override {
    note("stop");
    over_ = std::exchange(stopped_, true);
  }
  void time_out() override {
    note("time out");
    over_ = true;
  }
  void give_way() override {
    note("give way");
    over_ = true;
  }
  void abandon() override {
    note("abandon");
    over_ = true;
  }
  bool is_over() const override { return over_; }
  std::size_t steps() const override { return 0; }

 private:
  void note(const std::string& event) { (void)write_all(journal_, event + '\n'); }

  void say(const std::string& text) {
    if (output_(text)) return;
    note("can't say " + text.substr(0, 5));
    over_ = true;
  }

  const int journal_;
  const Output output_;
  bool over_ = false;
  bool stopped_ = false;
};

// A client, and a server in a process of its own, which changes what signals do.
class ConnectionTest : public ::testing::Test {
 protected:
  ConnectionTest() { (void)socketpair(AF_UNIX, SOCK_STREAM, 0, sockets_.data()); }
  ~ConnectionTest() override {
    leave();
    close(sockets_[1]);
  }

  void say(const std::string& text) const { ASSERT_TRUE(write_all(client(), text)); }
  void leave() { close(std::exchange(sockets_[0], -1)); }

  // Serves a client that sends no more than it said up to now, in a server that was told to stop
  // before if `stopped`. Gives the calls of the protocol, a line each.
  std::string served(bool stopped = false) const {
    (void)shutdown(client(), SHUT_WR);
    return served_with({}, stopped);
  }

  // The same for a client that could send more, with this patience.
  std::string served_with(const Courtesy& courtesy, bool stopped = false) const {
    const MemoryFile journal;
    const ProcessEnd end = end_of_child([&] {
      if (client() >= 0) close(client());
      const StopSignal stop;
      if (stopped) (void)raise(SIGTERM);
      const auto new_notes = [&journal](Output output, const OthersWait&) {
        return std::make_unique<Notes>(journal.fd(), std::move(output));
      };
      converse(sockets_[1], new_notes, stop, courtesy);
      return 0;
    });
    EXPECT_EQ(0, end.signal);
    EXPECT_EQ(0, end.status);
    return journal.read();
  }

  // Turns the client away, and gives the errno at which its answer ends: 0 for the usual end.
  int end_of_turned_away() {
    EXPECT_EQ(0, end_of_child([this] {
                   const StopSignal stop;
                   const auto new_notes = [](Output output, const OthersWait&) {
                     return std::make_unique<Notes>(-1, std::move(output));
                   };
                   turn_away(sockets_[1], new_notes, stop, {});
                   return 0;
                 }).status);
    close(std::exchange(sockets_[1], -1));
    char byte = 0;
    return recv(client(), &byte, 1, 0) < 0 ? errno : 0;
  }

  // All that the server sent.
  std::string heard() const {
    shutdown(sockets_[1], SHUT_WR);
    std::string text;
    while (append_from(client(), text) > 0) continue;
    return text;
  }

 private:
  int client() const { return sockets_[0]; }

  std::array<int, 2> sockets_;
};

TEST_F(ConnectionTest, CarriesBytesBothWaysUntilTheConversationIsOver) {
  say("good morning!");
  EXPECT_EQ("greet\ntake good morning!\n", served());
  EXPECT_EQ("hellothanks", heard());
}

TEST_F(ConnectionTest, CarriesEveryByte) {
  const std::string morning = std::string("good\0morning", 12) + std::string(70000, '.') + '!';
  say(morning);
  std::string taken = served();
  for (std::size_t at = 0; (at = taken.find("\ntake ", at)) != std::string::npos;)
    taken.erase(at, 6);
  EXPECT_EQ("greet" + morning + '\n', taken);
}

TEST_F(ConnectionTest, EndsWhenTheClientIsGone) {
  say("good morning");
  EXPECT_EQ("greet\ntake good morning\nabandon\n", served());
}

TEST_F(ConnectionTest, TellsThatTheClientTakesNoMoreBytes) {
  leave();
  EXPECT_EQ("greet\ncan't say hello\n", served());
}

TEST_F(ConnectionTest, StopsOnceAndFinishesWhatIsUnderWay) {
  say("good morning!");
  EXPECT_EQ("greet\nstop\ntake good morning!\n", served(/*stopped=*/true));
}

// Patience that is used up at once.
Courtesy without_silence() { return {{seconds(0), seconds(60), seconds(60)}, {}}; }
Courtesy without_long_transactions() { return {{seconds(60), seconds(0), seconds(60)}, {}}; }
Courtesy when_busy(bool others_wait) {
  return {{seconds(60), seconds(60), seconds(0)}, [others_wait] { return others_wait; }};
}

TEST_F(ConnectionTest, EndsAfterSilence) {
  EXPECT_EQ("greet\ntime out\n", served_with(without_silence()));
}

TEST_F(ConnectionTest, EndsATransactionThatTakesTooLongThoughMoreBytesAreThere) {
  say("good morning");
  EXPECT_EQ("greet\ntime out\n", served_with(without_long_transactions()));
}

TEST_F(ConnectionTest, EndsWhenTheClientTakesNoAnswers) {
  say("much");
  EXPECT_EQ("greet\ntake much\ncan't say .....\n",
            served_with({{seconds(1), seconds(60), seconds(60)}, {}}));
}

TEST_F(ConnectionTest, EndsAtOnceWhenTheClientTakesNoAnswersAndOthersWait) {
  say("much");
  const auto all_but_the_first_time = [looks = 0]() mutable { return ++looks > 1; };
  EXPECT_EQ("greet\ntake much\ncan't say .....\n",
            served_with({{seconds(60), seconds(60), seconds(0)}, all_but_the_first_time}));
}

TEST_F(ConnectionTest, LetsASlowClientGiveWayWhenOthersWait) {
  EXPECT_EQ("greet\ngive way\n", served_with(when_busy(true)));
}

TEST_F(ConnectionTest, LetsAClientReadItsAnswerThatIsTurnedAway) {
  EXPECT_EQ(0, end_of_turned_away());
}

TEST_F(ConnectionTest, LetsAClientReadItsAnswerThatIsTurnedAwayInTheMiddleOfARequest) {
  say(std::string(100000, '.'));
  EXPECT_EQ(0, end_of_turned_away());
}

TEST_F(ConnectionTest, KeepsASlowClientWhenNobodyWaits) {
  say("good morning!");
  EXPECT_EQ("greet\ntake good morning!\n", served_with(when_busy(false)));
}

}  // namespace
}  // namespace Quarrow::Server
