// Answers as packets, whole and damaged.
#include "delivery/wire.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>
#include <csignal>
#include <random>

#include "system/descriptor.h"
#include "tests/support/evaluation_test_support.h"

namespace Quarrow::Delivery {
namespace {

using Outcome = Evaluation::Outcome;

SieveAction action(SieveAction::Type type, const std::string& mailbox, const std::string& text) {
  SieveAction made;
  made.type = type;
  made.mailbox = mailbox;
  made.message = text;
  return made;
}

Answer full_answer() {
  Answer answer;
  answer.sequence = 7;
  answer.evaluation.outcome = Outcome::done;
  answer.evaluation.rule = "Rule";
  answer.evaluation.reason = "none";
  answer.evaluation.result.error = SieveMatchResult::PARSE_ADDRESS;
  answer.evaluation.result.actions = {action(SieveAction::REJECT, "", "no"),
                                      action(SieveAction::FILEINTO, "inbox/A", "")};
  return answer;
}

TEST(Wire, AnAnswerComesBackAsItWas) {
  const auto answer = decode(encode(full_answer()));
  ASSERT_TRUE(answer);
  EXPECT_EQ(7U, answer->sequence);
  EXPECT_EQ(Outcome::done, answer->evaluation.outcome);
  EXPECT_EQ("Rule", answer->evaluation.rule);
  EXPECT_EQ("none", answer->evaluation.reason);
  EXPECT_EQ(SieveMatchResult::PARSE_ADDRESS, answer->evaluation.result.error);
  ASSERT_EQ(2U, answer->evaluation.result.actions.size());
  EXPECT_EQ("no", answer->evaluation.result.actions[0].message);
  EXPECT_EQ("inbox/A", answer->evaluation.result.actions[1].mailbox);
}

TEST(Wire, AnEmptyValueIsAnotherAnswerThanNone) {
  Answer answer = full_answer();
  for (const std::optional<std::string>& value :
       {std::optional<std::string>(), std::optional<std::string>(""),
        std::optional<std::string>("x")}) {
    answer.value = value;
    const auto got = decode(encode(answer));
    ASSERT_TRUE(got);
    EXPECT_EQ(value, got->value);
  }
}

TEST(Wire, APacketThatIsCutOrTooLongIsNoAnswer) {
  const std::string packet = encode(full_answer());
  for (std::size_t length = 0; length < packet.size(); ++length)
    EXPECT_FALSE(decode(packet.substr(0, length))) << length;
  EXPECT_FALSE(decode(packet + "x"));
  EXPECT_FALSE(decode(std::string(answer_limit + 1, '\0')));
}

TEST(Wire, ValuesThatDoNotExistAreNoAnswer) {
  Answer answer = full_answer();
  answer.evaluation.outcome = static_cast<Outcome>(4);
  EXPECT_FALSE(decode(encode(answer)));
  answer = full_answer();
  answer.evaluation.result.error = 6;
  EXPECT_FALSE(decode(encode(answer)));
  answer = full_answer();
  answer.evaluation.result.error = -1;
  EXPECT_FALSE(decode(encode(answer)));
  answer = full_answer();
  answer.evaluation.result.actions[0].type = 7;
  EXPECT_FALSE(decode(encode(answer)));
}

TEST(Wire, AnyBytesAreReadWithinTheirBounds) {
  const std::string packet = encode(full_answer());
  std::mt19937 random(3);
  std::size_t read = 0;
  for (int i = 0; i < 20000; ++i) {
    std::string changed = packet;
    for (int left = 3; left > 0; --left)
      changed[random() % changed.size()] = static_cast<char>(random());
    const auto answer = decode(changed);
    if (!answer) continue;
    ++read;
    EXPECT_EQ(2U, answer->evaluation.result.actions.size());
  }
  EXPECT_GT(read, 0U);
}

// Two ends of a connection of packets.
struct Connection {
  Connection() : Connection(made()) {}
  explicit Connection(std::pair<int, int> ends) : near(ends.first), far(ends.second) {}

  static std::pair<int, int> made() {
    int ends[2] = {-1, -1};
    EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends));
    return {ends[0], ends[1]};
  }

  const Descriptor near;
  const Descriptor far;
};

std::chrono::steady_clock::time_point soon() {
  return std::chrono::steady_clock::now() + std::chrono::seconds(10);
}

TEST(Wire, ARequestComesInAsManyPacketsAsItTakes) {
  const Connection connection;
  const std::string sent = std::string(65536, 'a') + "b";
  ASSERT_EQ(Sending::done, send_request(connection.near.get(), {}, "keep;", sent, soon()));
  Request request = {};
  std::string script;
  std::string header;
  ASSERT_TRUE(receive_request(connection.far.get(), request, script, header));
  EXPECT_EQ("keep;", script);
  EXPECT_TRUE(sent == header);  // too long to be shown
}

TEST(Wire, ARequestThatEndsEarlyIsNone) {
  const Connection whole;
  ASSERT_EQ(Sending::done, send_request(whole.near.get(), {}, "", std::string(70000, 'a'), soon()));
  std::string packet(70000, '\0');
  const ssize_t size = recv(whole.far.get(), packet.data(), packet.size(), 0);
  const Connection cut;
  ASSERT_EQ(size, send(cut.near.get(), packet.data(), static_cast<std::size_t>(size), 0));
  ASSERT_EQ(0, shutdown(cut.near.get(), SHUT_WR));
  Request request = {};
  std::string script;
  std::string header;
  errno = EINTR;  // of an earlier call
  EXPECT_FALSE(receive_request(cut.far.get(), request, script, header));
  EXPECT_FALSE(receive_request(-1, request, script, header));
}

int sending_end = -1;
std::string packet_to_send;

extern "C" void send_packet_now(int) {
  (void)send(sending_end, packet_to_send.data(), packet_to_send.size(), MSG_DONTWAIT);
}

TEST(Wire, ASignalDoesNotEndTheWaitForARequest) {
  const Connection model;
  ASSERT_EQ(Sending::done, send_request(model.near.get(), {}, "keep;", "A: b\n", soon()));
  packet_to_send.resize(1000);
  const ssize_t size = recv(model.far.get(), packet_to_send.data(), packet_to_send.size(), 0);
  ASSERT_GT(size, 0);
  packet_to_send.resize(static_cast<std::size_t>(size));
  const Connection connection;
  sending_end = connection.near.get();
  struct sigaction action = {};  // without SA_RESTART
  action.sa_handler = send_packet_now;
  struct sigaction before = {};
  ASSERT_EQ(0, sigaction(SIGALRM, &action, &before));
  const itimerval once = {{0, 0}, {0, 10000}};
  ASSERT_EQ(0, setitimer(ITIMER_REAL, &once, nullptr));
  Request request = {};
  std::string script;
  std::string header;
  EXPECT_TRUE(receive_request(connection.far.get(), request, script, header));
  EXPECT_EQ("keep;", script);
  EXPECT_EQ("A: b\n", header);
  EXPECT_EQ(0, sigaction(SIGALRM, &before, nullptr));
}

TEST(Wire, AResultThatIsTooLongBecomesAFailure) {
  Answer answer = full_answer();
  answer.evaluation.rule = std::string(answer_limit, 'x');
  const auto read = decode(encode(answer));
  ASSERT_TRUE(read);
  EXPECT_EQ(7U, read->sequence);
  EXPECT_EQ(Outcome::failed, read->evaluation.outcome);
  EXPECT_EQ("the result is too long", read->evaluation.reason);
}

}  // namespace
}  // namespace Quarrow::Delivery
