// Workers that behave and others, with children that do what the test says.
#include "web_server/broker.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <fstream>
#include <functional>
#include <set>

#include "system/child_process_test_support.h"
#include "system/descriptor_passing.h"
#include "system/file_io.h"
#include "tests/support/temporary_folder_test_support.h"
#include "web_server/caller.h"

namespace Quarrow::WebServer {
namespace {

const char session_of_alice[] = "session-of-alice";
const char session_of_bob[] = "session-of-bob";

// Knows two sessions, and writes down how each sign-in ended.
class FakeAdmission : public Admission {
 public:
  explicit FakeAdmission(std::string notes) : notes_(std::move(notes)) {}

  std::optional<Visitor> visitor(const std::string& session) override {
    if (ended_.count(session) > 0) return std::nullopt;
    if (session == session_of_alice) return Visitor{"alice@example.org", "alice's token"};
    if (session == session_of_bob) return Visitor{"bob@example.org", "bob's token"};
    return std::nullopt;
  }

  std::optional<Visitor> visitor_of_proxy(const std::string& name) override {
    if (name != "carol@example.org") return std::nullopt;
    return Visitor{name, "carol's token"};
  }

  bool is_token_of(const Visitor& visitor, const std::string& token) override {
    return visitor.token == token;
  }

  Entrance begin(const std::string& user, const std::string& client, Attempt& attempt) override {
    if (client == "192.0.2.66") return {Entrance::Kind::wait, "", {}, std::chrono::seconds(42)};
    if (user.empty()) return {Entrance::Kind::refused};
    attempt = {"folded " + user, client, false};
    return {Entrance::Kind::go_on};
  }

  Entrance finish(const Attempt& attempt, Verdict verdict) override {
    static const char* const words[] = {"right", "wrong", "unavailable"};
    std::ofstream(notes_, std::ios::app)
        << attempt.user << ' ' << words[static_cast<int>(verdict)] << '\n';
    if (verdict == Verdict::right)
      return {Entrance::Kind::signed_in, session_of_alice, *visitor(session_of_alice)};
    return {verdict == Verdict::wrong ? Entrance::Kind::refused : Entrance::Kind::unavailable};
  }

  void end_session(const std::string& session) override { ended_.insert(session); }
  void end_all_sessions(const std::string& user) override {
    ended_.insert(user[0] == 'a' ? session_of_alice : session_of_bob);
  }

 private:
  const std::string notes_;
  std::set<std::string> ended_;
};

[[noreturn]] void hang() {
  for (;;) (void)pause();
}

// What was prepared in the process that made this one.
std::string prepared = "nothing";

Preparation preparation_for(const std::string& target) {
  return {[target](const Call& call) { return call.request.target == target; },
          [target] { prepared = target; }};
}

// The socket of a child, as it has it.
constexpr int child_socket = 3;

Http::Response work(const std::string& user, const Http::Request& request) {
  const std::string& deed = request.target;
  if (deed == "/hang") hang();
  if (deed == "/crash") _exit(0);
  if (deed.find("/prepared") == 0) return {200, {}, prepared};
  if (deed == "/throw") throw std::runtime_error("out of the child");
  if (deed == "/nonsense") {
    (void)send_packet(child_socket, "nonsense", Server::Clock::time_point::max());
    hang();
  }
  if (deed == "/lie") return {200, {{"x", "1\r\nset-cookie: a=b"}}, ""};
  if (deed == "/long") return {200, {}, std::string(5000000, 'x')};
  if (deed == "/too-long") return {200, {}, std::string(std::size_t{17} << 20U, 'x')};
  std::string seen = user + ' ' + request.method + ' ' + deed;
  for (const auto& [name, value] : request.headers) seen.append("; " + name + ": " + value);
  return {200, {}, seen + "; " + request.body};
}

Verdict check_password(const std::string& user, const std::string& password) {
  if (password == "hang") hang();
  if (password == "crash") _exit(0);
  return user == "folded alice" && password == "secret" ? Verdict::right : Verdict::wrong;
}

class WebBroker : public testing::Test {
 protected:
  void start(const Limits& limits) {
    limits_ = limits;
    int ends[2] = {-1, -1};
    ASSERT_EQ(0, socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends));
    introductions_.emplace(ends[0]);
    broker_ = start_child([&] {
      const Descriptor others(ends[1]);
      introductions_.reset();
      const Jobs jobs = {
          check_password, work, {preparation_for("/prepared/a"), preparation_for("/prepared/b")}};
      const ChildMaker children(jobs, limits_.time);
      FakeAdmission admission(notes());
      Broker(others.get(), admission, children, limits_).run();
      return 0;
    });
    (void)close(ends[1]);
  }

  // It ends by itself once there are no workers.
  void TearDown() override {
    introductions_.reset();
    if (broker_ < 0) return;
    const ProcessEnd end = wait_for(broker_);
    EXPECT_EQ(0, end.signal);
    EXPECT_EQ(0, end.status);
  }

  std::string notes() const { return folder_.file("notes"); }

  // A worker's connection on which a test says what it likes.
  std::unique_ptr<Descriptor> connect() const {
    int ends[2] = {-1, -1};
    EXPECT_EQ(0, socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends));
    EXPECT_TRUE(send_descriptor(introductions_->get(), 0, ends[1]));
    (void)close(ends[1]);
    return std::make_unique<Descriptor>(ends[0]);
  }

  // Has a worker begin a call that goes on until somebody ends it.
  std::unique_ptr<Descriptor> begin(const Call& call) const {
    auto socket = connect();
    EXPECT_TRUE(send_packet(socket->get(), encode(call), later()));
    return socket;
  }

  Http::Response answer_on(const std::unique_ptr<Descriptor>& socket) const {
    const auto packet = receive_packet(socket->get(), limits_.answer, later());
    const auto response = packet ? decode_response(*packet) : std::nullopt;
    return response.value_or(Http::Response{0, {}, "no answer"});
  }

  Http::Response ask(const Call& call) const {
    return Caller(introductions_->get(), limits_).ask(call);
  }

  static Server::Clock::time_point later() {
    return Server::Clock::now() + std::chrono::minutes(1);
  }

  TemporaryFolder folder_;
  Limits limits_;
  std::optional<Descriptor> introductions_;
  pid_t broker_ = -1;
};

Call call_for(const std::string& target, const std::string& session = session_of_alice) {
  Call call;
  call.session = session;
  call.request = {"GET", target, {}, ""};
  return call;
}

Call sign_in(const std::string& user, const std::string& password) {
  Call call;
  call.kind = Call::Kind::sign_in;
  call.client = "192.0.2.1";
  call.user = user;
  call.password = password;
  return call;
}

std::string header(const Http::Response& response, const std::string& name) {
  const std::string* const value = Http::header_of(response.headers, name);
  return value != nullptr ? *value : "(none)";
}

Limits with_time(std::chrono::milliseconds time) {
  Limits limits;
  limits.time = time;
  return limits;
}

TEST_F(WebBroker, HasAChildAnswerForTheUser) {
  start({});
  Call call = call_for("/rules?x=1");
  call.request.body = "body";
  const Http::Response response = ask(call);
  EXPECT_EQ(200, response.status);
  EXPECT_EQ("alice@example.org GET /rules?x=1; body", response.body);
}

TEST_F(WebBroker, HasAChildThatIsPreparedForTheCall) {
  start({});
  EXPECT_EQ("/prepared/a", ask(call_for("/prepared/a")).body);
  EXPECT_EQ("/prepared/b", ask(call_for("/prepared/b")).body);
  EXPECT_EQ("nothing", ask(call_for("/prepared/otherwise")).body);
}

TEST_F(WebBroker, TakesCallsOfOneWorkerOneAfterTheOther) {
  start({});
  Caller caller(introductions_->get(), limits_);
  EXPECT_EQ("alice@example.org GET /1; ", caller.ask(call_for("/1")).body);
  EXPECT_EQ("bob@example.org GET /2; ", caller.ask(call_for("/2", session_of_bob)).body);
  EXPECT_EQ(5000000U, caller.ask(call_for("/long")).body.size());
}

TEST_F(WebBroker, KeepsSecretsFromTheChild) {
  start({});
  Call call = call_for("/rules");
  call.request.headers = {
      {"cookie", "c"}, {"if-match", "1"}, {"x-quarrow-token", "t"}, {"authorization", "a"}};
  EXPECT_EQ("alice@example.org GET /rules; if-match: 1; ", ask(call).body);
}

TEST_F(WebBroker, TurnsStrangersAway) {
  start({});
  for (const auto kind : {Call::Kind::work, Call::Kind::show_session, Call::Kind::sign_out,
                          Call::Kind::sign_out_everywhere}) {
    for (const char* const session : {"", "guessed"}) {
      Call call = call_for("/rules", session);
      call.kind = kind;
      call.user = "alice@example.org";
      const Http::Response response = ask(call);
      EXPECT_EQ(401, response.status);
      EXPECT_EQ("application/problem+json", header(response, "content-type"));
    }
  }
}

TEST_F(WebBroker, TakesTheProxysWordBeforeASession) {
  start({});
  Call call = call_for("/rules");
  call.proxy_user = "carol@example.org";
  EXPECT_EQ("carol@example.org GET /rules; ", ask(call).body);
  call.proxy_user = "nobody@example.org";
  EXPECT_EQ(401, ask(call).status);
}

TEST_F(WebBroker, WantsTheTokenForChanges) {
  start({});
  for (const char* const method : {"POST", "PUT", "PATCH", "DELETE", "BREW", ""}) {
    Call call = call_for("/rules");
    call.request.method = method;
    EXPECT_EQ(403, ask(call).status) << method;
    call.token = "bob's token";
    EXPECT_EQ(403, ask(call).status) << method;
    call.token = "alice's token";
    EXPECT_EQ(200, ask(call).status) << method;
  }
}

TEST_F(WebBroker, ShowsASessionWithItsToken) {
  start({});
  Call call = call_for("", session_of_bob);
  call.kind = Call::Kind::show_session;
  const Http::Response response = ask(call);
  EXPECT_EQ(200, response.status);
  EXPECT_EQ("application/json", header(response, "content-type"));
  EXPECT_EQ(R"({"user":"bob@example.org","token":"bob's token"})"
            "\n",
            response.body);
}

TEST_F(WebBroker, EndsASessionOrAllOfAUser) {
  start({});
  for (const auto kind : {Call::Kind::sign_out, Call::Kind::sign_out_everywhere}) {
    const bool is_alice = kind == Call::Kind::sign_out;
    Call call = call_for("", is_alice ? session_of_alice : session_of_bob);
    call.kind = kind;
    EXPECT_EQ(403, ask(call).status);
    call.token = is_alice ? "alice's token" : "bob's token";
    const Http::Response response = ask(call);
    EXPECT_EQ(204, response.status);
    EXPECT_NE(std::string::npos, header(response, "set-cookie").find("Max-Age=0"));
    EXPECT_EQ(401, ask(call).status);
  }
}

TEST_F(WebBroker, SignsInByTheChecksVerdict) {
  start({});
  const Http::Response response = ask(sign_in("alice", "secret"));
  EXPECT_EQ(200, response.status);
  EXPECT_EQ(R"({"user":"alice@example.org","token":"alice's token"})"
            "\n",
            response.body);
  const std::string cookie = header(response, "set-cookie");
  for (const char* const part : {"__Host-quarrow=session-of-alice;", "; Path=/", "; Secure",
                                 "; HttpOnly", "; SameSite=Strict"})
    EXPECT_NE(std::string::npos, (cookie + ';').find(part)) << part << " in " << cookie;
  EXPECT_EQ("folded alice right\n", content_of(notes()));
}

TEST_F(WebBroker, AnswersWrongPasswordsAndUnknownUsersAlike) {
  start({});
  const Http::Response wrong = ask(sign_in("alice", "guess"));
  EXPECT_EQ(401, wrong.status);
  EXPECT_EQ("(none)", header(wrong, "set-cookie"));
  for (const char* const user : {"mallory", ""}) {
    const Http::Response unknown = ask(sign_in(user, "secret"));
    EXPECT_EQ(wrong.status, unknown.status);
    EXPECT_EQ(wrong.headers, unknown.headers);
    EXPECT_EQ(wrong.body, unknown.body);
  }
}

TEST_F(WebBroker, SlowsSignInsDown) {
  start({});
  Call call = sign_in("alice", "secret");
  call.client = "192.0.2.66";
  const Http::Response response = ask(call);
  EXPECT_EQ(429, response.status);
  EXPECT_EQ("42", header(response, "retry-after"));
}

TEST_F(WebBroker, CountsACheckThatFailedAsUnavailable) {
  start({});
  const Http::Response response = ask(sign_in("alice", "crash"));
  EXPECT_EQ(503, response.status);
  EXPECT_NE(std::string::npos, response.body.find("urn:quarrow:problem:no-sign-in"));
  EXPECT_EQ("folded alice unavailable\n", content_of(notes()));
}

TEST_F(WebBroker, EndsAHungChildInTime) {
  start(with_time(std::chrono::milliseconds(50)));
  EXPECT_EQ(504, ask(call_for("/hang")).status);
  EXPECT_EQ(504, ask(sign_in("alice", "hang")).status);
  EXPECT_EQ("folded alice unavailable\n", content_of(notes()));
}

TEST_F(WebBroker, TakesNoNonsenseFromAChild) {
  start({});
  for (const char* const deed : {"/crash", "/throw", "/nonsense", "/lie", "/too-long"}) {
    const Http::Response response = ask(call_for(deed));
    EXPECT_EQ(500, response.status) << deed;
    EXPECT_EQ("application/problem+json", header(response, "content-type"));
  }
  EXPECT_EQ(200, ask(call_for("/rules")).status);
}

TEST_F(WebBroker, OutlivesWorkersThatLie) {
  start({});
  const auto hung = begin(call_for("/hang", session_of_bob));
  for (const std::string& lie :
       {std::string("x"), std::string(8, '\xff'), std::string(8, '\0'),
        std::string("\x01\0\0\0\0\0\0\0x", 9), encode(call_for("/rules")).substr(0, 40)}) {
    const auto socket = connect();
    ASSERT_TRUE(write_all(socket->get(), lie));
    (void)shutdown(socket->get(), SHUT_WR);
    EXPECT_EQ(0, answer_on(socket).status);
  }
  EXPECT_EQ(200, ask(call_for("/rules")).status);
}

// What it says meanwhile is not lost, and not taken for two calls at a time.
TEST_F(WebBroker, ListensToAWorkerOnceItHasItsAnswer) {
  start({});
  const auto socket = begin(call_for("/1"));
  ASSERT_TRUE(send_packet(socket->get(), encode(call_for("/2")), later()));
  EXPECT_EQ("alice@example.org GET /1; ", answer_on(socket).body);
  EXPECT_EQ("alice@example.org GET /2; ", answer_on(socket).body);
}

TEST_F(WebBroker, EndsTheChildOfAWorkerThatDied) {
  Limits limits;
  limits.children = 1;
  start(limits);
  begin(call_for("/hang")).reset();
  EXPECT_EQ(200, ask(call_for("/rules")).status);
  begin(sign_in("alice", "hang")).reset();
  EXPECT_EQ(200, ask(call_for("/rules")).status);
  EXPECT_EQ("folded alice unavailable\n", content_of(notes()));
}

TEST_F(WebBroker, ForgetsTheWaitingCallOfAWorkerThatDied) {
  Limits limits;
  limits.children = 1;
  limits.waiting = 1;
  start(limits);
  auto hung = begin(call_for("/hang"));
  begin(sign_in("alice", "secret")).reset();
  EXPECT_EQ(401, ask(call_for("/", "guessed")).status);  // the broker saw all of the above
  const auto waiting = begin(call_for("/rules"));
  hung.reset();
  EXPECT_EQ(200, answer_on(waiting).status);
  EXPECT_EQ("folded alice unavailable\n", content_of(notes()));
}

TEST_F(WebBroker, WorksOnSoManyCallsAtATime) {
  Limits limits;
  limits.children = 2;
  limits.waiting = 1;
  start(limits);
  auto first = begin(call_for("/hang"));
  const auto second = begin(call_for("/hang", session_of_bob));
  const auto waiting = begin(call_for("/rules"));
  const Http::Response response = ask(call_for("/rules"));
  EXPECT_EQ(503, response.status);
  EXPECT_EQ("1", header(response, "retry-after"));
  first.reset();
  EXPECT_EQ(200, answer_on(waiting).status);
}

TEST_F(WebBroker, LeavesChildrenForOtherUsers) {
  Limits limits;
  limits.children = 2;
  limits.children_per_user = 1;
  limits.calls_per_user = 2;
  start(limits);
  const auto hung = begin(call_for("/hang"));
  const auto waiting = begin(call_for("/rules"));
  EXPECT_EQ(429, ask(call_for("/rules")).status);
  EXPECT_EQ(200, ask(call_for("/rules", session_of_bob)).status);
}

TEST_F(WebBroker, LeavesChildrenToThoseWhoAreSignedIn) {
  Limits limits;
  limits.children = 2;
  limits.children_per_user = 1;
  start(limits);
  const auto first = begin(sign_in("alice", "hang"));
  const auto second = begin(sign_in("alice", "hang"));
  EXPECT_EQ(200, ask(call_for("/rules")).status);
}

TEST_F(WebBroker, TellsAWorkerThatItIsGone) {
  start({});
  Caller caller(introductions_->get(), limits_);
  EXPECT_EQ(200, caller.ask(call_for("/rules")).status);
  (void)kill(broker_, SIGKILL);
  EXPECT_EQ(SIGKILL, wait_for(broker_).signal);
  broker_ = -1;
  EXPECT_EQ(503, caller.ask(call_for("/rules")).status);
  EXPECT_EQ(503, ask(call_for("/rules")).status);
}

TEST_F(WebBroker, ServesItsWorkersToTheirEnd) {
  start({});
  Caller caller(introductions_->get(), limits_);
  introductions_.reset();
  EXPECT_EQ(200, caller.ask(call_for("/rules")).status);
}

}  // namespace
}  // namespace Quarrow::WebServer
