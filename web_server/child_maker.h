// Processes that each work on one call.
#ifndef QUARROW_WEB_SERVER_CHILD_MAKER_H_
#define QUARROW_WEB_SERVER_CHILD_MAKER_H_

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "http/message.h"
#include "system/descriptor.h"
#include "web_server/admission.h"
#include "web_server/broker_call.h"

namespace Quarrow::WebServer {

// What the children for calls of one kind would do first, whoever calls: it is done once, before
// they are made. It may take memory that slows down the making of children for other calls.
struct Preparation {
  std::function<bool(const Call& call)> suits;
  std::function<void()> prepare;
};

// The work of children. A child begins with the rights with which the program was started: each of
// these first gives up those that it does not need.
struct Jobs {
  std::function<Verdict(const std::string& user, const std::string& password)> check_password;
  std::function<Http::Response(const std::string& user, const Http::Request& request)> work;
  std::vector<Preparation> preparations = {};  // of which the first that suits a call is taken
};

// A process that takes one call from `socket`, as a packet, and answers it there.
struct Child {
  std::unique_ptr<Descriptor> socket;   // does not block
  std::unique_ptr<Descriptor> process;  // pidfd_open(2)
};

// Makes children in processes of its own, one for each preparation and one for calls that none
// suits. They were forked when there was no session yet and see no call. So a child that is taken
// over finds nothing in its memory but its own call.
class ChildMaker {
 public:
  // Starts the processes. A child ends by itself after `time`, should nobody end it sooner. Throws
  // std::system_error when there is no process to be had. A process whose preparation throws logs
  // why, and ends.
  ChildMaker(const Jobs& jobs, std::chrono::milliseconds time);
  ChildMaker(const ChildMaker&) = delete;
  ChildMaker& operator=(const ChildMaker&) = delete;

  // A child for that call, which it does not get here. Nothing when none can be made now.
  std::optional<Child> make(const Call& call) const;

  // Whether a process that makes children is there no longer.
  bool is_gone() const;

 private:
  // A process, and which calls it makes children for.
  struct Maker {
    std::function<bool(const Call& call)> suits;
    std::unique_ptr<Descriptor> control;
  };

  std::vector<Maker> makers_;
};

}  // namespace Quarrow::WebServer

#endif  // QUARROW_WEB_SERVER_CHILD_MAKER_H_
