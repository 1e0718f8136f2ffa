// The process that stands between the workers, which read what strangers send, and the users'
// folders.
#ifndef QUARROW_WEB_SERVER_BROKER_H_
#define QUARROW_WEB_SERVER_BROKER_H_

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>

#include "http/message.h"
#include "server/deadline.h"
#include "system/descriptor.h"
#include "web_server/admission.h"
#include "web_server/broker_call.h"
#include "web_server/child_maker.h"
#include "web_server/limits.h"
#include "web_server/packet_stream.h"

namespace Quarrow::WebServer {

// Takes calls from workers, each over a connection of its own and one at a time, looks whether they
// may be made, and has a child work on each. It neither parses what strangers wrote nor waits for a
// worker or a child. A worker that dies or lies costs only its own call, and so does a child.
class Broker {
 public:
  // Workers make themselves known over `introductions` (see Caller). `admission` and `children`
  // outlive this object.
  Broker(int introductions, Admission& admission, const ChildMaker& children, const Limits& limits);
  Broker(const Broker&) = delete;
  Broker& operator=(const Broker&) = delete;

  // Serves until nobody can introduce workers any more, and the last one is gone. Throws
  // std::runtime_error when no children can be made any more.
  void run();

 private:
  using Number = std::uint64_t;  // of a worker; never used again
  using Time = Server::Clock::time_point;

  struct Worker {
    std::unique_ptr<Descriptor> socket;
    PacketInlet inlet;
    PacketOutlet outlet;
    bool is_served;  // its call is under way, and it is not listened to
  };
  // A call that may be made.
  struct Job {
    Call call;
    std::optional<Attempt> attempt;  // with a password to be checked
    std::string user;                // whose limits count; empty for a sign-in
    Time end;
  };
  struct Waiting {
    Number worker;
    Job job;
  };
  struct Working {
    Job job;
    Child child;
    PacketInlet inlet;
    PacketOutlet outlet;
  };

  void wait();
  std::chrono::milliseconds time_to_wait() const;
  void take_introduction();
  void serve_worker(Number number);
  void take_call(Number number);
  void answer(Number number, const Http::Response& response);
  void lose(Number number);

  void receive(Number number, Call call);
  void receive_sign_in(Number number, Call call);
  void receive_from(const Visitor& visitor, Number number, Call call);
  void enqueue(Number number, Job job);
  std::size_t waiting_of(const std::string& user) const;
  std::size_t working_of(const std::string& user) const;

  void start_waiting();
  void start(Number number, Job job);
  void serve_child(Number number);
  void finish(Number number, const std::optional<std::string>& packet);
  Http::Response response_of(const Job& job, const std::optional<std::string>& packet);
  Http::Response entrance_of(const Attempt& attempt, Verdict verdict);
  void give_up(const Job& job);
  void end_overdue();

  const int introductions_;
  Admission& admission_;
  const ChildMaker& children_;
  const Limits limits_;
  bool is_closing_ = false;  // nobody introduces workers any more
  Number last_number_ = 0;
  std::map<Number, Worker> workers_;
  std::deque<Waiting> waiting_;
  std::map<Number, Working> working_;  // by the workers that wait for them
};

}  // namespace Quarrow::WebServer

#endif  // QUARROW_WEB_SERVER_BROKER_H_
