// One poll(2) over everybody; nothing here blocks.
#include "web_server/broker.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <stdexcept>
#include <utility>
#include <vector>

#include "http/problem.h"
#include "server/log.h"
#include "system/descriptor_passing.h"
#include "system/packet.h"
#include "web_server/replies.h"

namespace Quarrow::WebServer {
namespace {

using Kind = Call::Kind;
using State = PacketInlet::State;

// A child has nothing to do after its answer, and no time after its end.
void end(const Child& child) {
  // It may be gone.
  (void)syscall(SYS_pidfd_send_signal, child.process->get(), SIGKILL, nullptr, 0);
}

// What only the browser and the broker are to know.
bool is_secret(const std::pair<std::string, std::string>& header) {
  return header.first == "cookie" || header.first == "authorization" ||
         header.first == "x-quarrow-token";
}

bool needs_token(const Call& call) {
  if (call.kind != Kind::work) return call.kind != Kind::show_session;
  return call.request.method != "GET" && call.request.method != "HEAD";
}

std::optional<Verdict> verdict_in(const std::string& packet) {
  PacketReader reader(packet);
  const auto verdict =
      static_cast<Verdict>(reader.number(static_cast<std::uint64_t>(Verdict::unavailable)));
  if (!reader.at_end()) return std::nullopt;
  return verdict;
}

Http::Response entrance_refused() {
  return Http::problem(401, "The address or the password is wrong.");
}

Http::Response entrance_delayed(std::chrono::seconds wait) {
  return passing_problem(429, "Too many wrong passwords. Try again later.", wait);
}

Http::Response overloaded() {
  return passing_problem(503, "The server is busy. Try again in a moment.");
}

}  // namespace

Broker::Broker(int introductions, Admission& admission, const ChildMaker& children,
               const Limits& limits)
    : introductions_(introductions), admission_(admission), children_(children), limits_(limits) {}

void Broker::run() {
  while (!is_closing_ || !workers_.empty()) {
    wait();
    end_overdue();
    start_waiting();
  }
}

void Broker::wait() {
  std::vector<pollfd> polled = {{is_closing_ ? -1 : introductions_, POLLIN, 0}};
  std::vector<Number> numbers = {0};
  for (const auto& [number, worker] : workers_) {
    const int events = !worker.outlet.is_empty() ? POLLOUT : worker.is_served ? POLLRDHUP : POLLIN;
    polled.push_back({worker.socket->get(), static_cast<short>(events), 0});
    numbers.push_back(number);
  }
  const std::size_t workers_end = polled.size();
  for (const auto& [number, working] : working_) {
    const int events = working.outlet.is_empty() ? POLLIN : POLLIN | POLLOUT;
    polled.push_back({working.child.socket->get(), static_cast<short>(events), 0});
    numbers.push_back(number);
  }
  (void)poll(polled.data(), polled.size(), static_cast<int>(time_to_wait().count()));
  // Children first: what a worker does can end one.
  for (std::size_t at = polled.size(); at-- > workers_end;)
    if (polled[at].revents != 0) serve_child(numbers[at]);
  for (std::size_t at = 1; at < workers_end; ++at)
    if (polled[at].revents != 0) serve_worker(numbers[at]);
  if (polled[0].revents != 0) take_introduction();
}

std::chrono::milliseconds Broker::time_to_wait() const {
  Time end = Server::Clock::now() + std::chrono::minutes(1);
  for (const Waiting& waiting : waiting_) end = std::min(end, waiting.job.end);
  for (const auto& [number, working] : working_) end = std::min(end, working.job.end);
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Server::Clock::now());
  return std::max(left, std::chrono::milliseconds(0));
}

void Broker::take_introduction() {
  std::int64_t number = -1;
  auto socket = std::make_unique<Descriptor>(receive_descriptor(introductions_, number));
  if (number < 0) is_closing_ = true;
  if (socket->get() < 0) return;
  workers_.emplace(++last_number_, Worker{std::move(socket), PacketInlet(limits_.call), {}, false});
}

void Broker::serve_worker(Number number) {
  const auto found = workers_.find(number);
  if (found == workers_.end()) return;
  Worker& worker = found->second;
  if (worker.outlet.is_empty()) return worker.is_served ? lose(number) : take_call(number);
  if (!worker.outlet.send(worker.socket->get())) return lose(number);
  worker.is_served = !worker.outlet.is_empty();
}

void Broker::take_call(Number number) {
  Worker& worker = workers_.at(number);
  const State state = worker.inlet.take(worker.socket->get());
  if (state == State::incomplete) return;
  if (state == State::broken) return lose(number);
  std::optional<Call> call = decode_call(worker.inlet.packet());
  if (!call) {
    Server::log_error("a worker sent what is no call; it is not listened to any more");
    return lose(number);
  }
  worker.is_served = true;
  receive(number, std::move(*call));
}

void Broker::answer(Number number, const Http::Response& response) {
  Worker& worker = workers_.at(number);
  worker.outlet.put(encode(response));
  serve_worker(number);
}

void Broker::lose(Number number) {
  if (auto working = working_.extract(number)) {
    end(working.mapped().child);
    give_up(working.mapped().job);
  }
  const auto waiting = std::find_if(waiting_.begin(), waiting_.end(),
                                    [&](const Waiting& each) { return each.worker == number; });
  if (waiting != waiting_.end()) {
    give_up(waiting->job);
    waiting_.erase(waiting);
  }
  workers_.erase(number);
}

void Broker::receive(Number number, Call call) {
  if (call.kind == Kind::sign_in) return receive_sign_in(number, std::move(call));
  const auto visitor = call.proxy_user.empty() ? admission_.visitor(call.session)
                                               : admission_.visitor_of_proxy(call.proxy_user);
  if (!visitor) return answer(number, Http::problem(401, "Sign in first."));
  if (needs_token(call) && !admission_.is_token_of(*visitor, call.token))
    return answer(number, Http::problem(403, "The header X-Quarrow-Token is missing or wrong."));
  receive_from(*visitor, number, std::move(call));
}

void Broker::receive_sign_in(Number number, Call call) {
  Attempt attempt;
  const Entrance entrance = admission_.begin(call.user, call.client, attempt);
  switch (entrance.kind) {
    case Entrance::Kind::go_on:
      break;
    case Entrance::Kind::wait:
      return answer(number, entrance_delayed(entrance.wait));
    default:
      return answer(number, entrance_refused());
  }
  call.user = attempt.user;
  enqueue(number, {std::move(call), std::move(attempt), "", {}});
}

void Broker::receive_from(const Visitor& visitor, Number number, Call call) {
  switch (call.kind) {
    case Kind::show_session:
      return answer(number, session_shown(visitor));
    case Kind::sign_out:
      admission_.end_session(call.session);
      return answer(number, session_ended());
    case Kind::sign_out_everywhere:
      admission_.end_all_sessions(visitor.user);
      return answer(number, session_ended());
    default:
      call.user = visitor.user;
      return enqueue(number, {std::move(call), std::nullopt, visitor.user, {}});
  }
}

void Broker::enqueue(Number number, Job job) {
  const bool is_too_much = waiting_of(job.user) + working_of(job.user) >= limits_.calls_per_user;
  if (is_too_much || waiting_.size() >= limits_.waiting) {
    give_up(job);
    return answer(
        number, is_too_much ? passing_problem(429, "Too many requests at a time.") : overloaded());
  }
  job.end = Server::Clock::now() + limits_.time;
  waiting_.push_back({number, std::move(job)});
}

std::size_t Broker::waiting_of(const std::string& user) const {
  return static_cast<std::size_t>(std::count_if(
      waiting_.begin(), waiting_.end(),
      [&](const Waiting& each) { return each.job.user == user; }));
}

std::size_t Broker::working_of(const std::string& user) const {
  return static_cast<std::size_t>(std::count_if(
      working_.begin(), working_.end(),
      [&](const auto& each) { return each.second.job.user == user; }));
}

void Broker::start_waiting() {
  for (std::size_t at = 0; at < waiting_.size() && working_.size() < limits_.children;) {
    if (working_of(waiting_[at].job.user) >= limits_.children_per_user) {
      ++at;
      continue;
    }
    Waiting next = std::move(waiting_[at]);
    waiting_.erase(waiting_.begin() + static_cast<std::ptrdiff_t>(at));
    start(next.worker, std::move(next.job));
  }
}

void Broker::start(Number number, Job job) {
  std::optional<Child> child = children_.make(job.call);
  if (!child) {
    if (children_.is_gone()) throw std::runtime_error("a maker of children is gone");
    Server::log_error("no process can be made for a call");
    give_up(job);
    return answer(number, overloaded());
  }
  Call& call = job.call;
  Http::Headers& headers = call.request.headers;
  headers.erase(std::remove_if(headers.begin(), headers.end(), is_secret), headers.end());
  call.session.clear();
  call.token.clear();
  Working working = {std::move(job), std::move(*child), PacketInlet(limits_.answer), {}};
  working.outlet.put(encode(working.job.call));
  working_.emplace(number, std::move(working));
}

void Broker::serve_child(Number number) {
  const auto found = working_.find(number);
  if (found == working_.end()) return;
  Working& working = found->second;
  const int socket = working.child.socket->get();
  const bool is_listening = working.outlet.send(socket);
  const State state = working.inlet.take(socket);
  if (state == State::complete) return finish(number, working.inlet.packet());
  if (state == State::broken || !is_listening) finish(number, std::nullopt);
}

void Broker::finish(Number number, const std::optional<std::string>& packet) {
  const auto working = working_.extract(number);
  end(working.mapped().child);
  answer(number, response_of(working.mapped().job, packet));
}

Http::Response Broker::response_of(const Job& job, const std::optional<std::string>& packet) {
  if (job.attempt) {
    const auto verdict = packet ? verdict_in(*packet) : std::nullopt;
    return entrance_of(*job.attempt, verdict.value_or(Verdict::unavailable));
  }
  if (packet)
    if (auto response = decode_response(*packet)) return *std::move(response);
  Server::log_error(job.user + ": a call ended without an answer");
  return Http::problem(500, "The server failed at this request. Nothing is known of its end.");
}

Http::Response Broker::entrance_of(const Attempt& attempt, Verdict verdict) {
  const Entrance entrance = admission_.finish(attempt, verdict);
  switch (entrance.kind) {
    case Entrance::Kind::signed_in:
      return session_begun(entrance.visitor, entrance.session);
    case Entrance::Kind::refused:
      return entrance_refused();
    case Entrance::Kind::wait:
      return entrance_delayed(entrance.wait);
    default:
      return passing_problem(503, "Nobody can sign in at the moment. Try again later.",
                             std::chrono::seconds(1), "no-sign-in");
  }
}

// Each attempt to sign in has its end.
void Broker::give_up(const Job& job) {
  if (job.attempt) (void)admission_.finish(*job.attempt, Verdict::unavailable);
}

void Broker::end_overdue() {
  const Time now = Server::Clock::now();
  std::vector<Number> overdue;
  for (const auto& [number, working] : working_)
    if (working.job.end <= now) overdue.push_back(number);
  for (const Number number : overdue) {
    const auto working = working_.extract(number);
    end(working.mapped().child);
    give_up(working.mapped().job);
    answer(number, Http::problem(504, "This took too long, and was ended."));
  }
  while (!waiting_.empty() && waiting_.front().job.end <= now) {  // they came in this order
    const Waiting late = std::move(waiting_.front());
    waiting_.pop_front();
    give_up(late.job);
    answer(late.worker, overloaded());
  }
}

}  // namespace Quarrow::WebServer
